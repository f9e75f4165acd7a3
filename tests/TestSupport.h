// Helpers shared by the tests: temporary directories, files, and running the tavo executable.
#pragma once

#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace testsupport {

// A fresh directory under /tmp, removed with everything in it when the object goes away.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& Path() const { return m_path; }
    // Path of a file inside the directory.
    std::string File(const std::string& name) const;

private:
    std::string m_path;
};

void WriteFile(const std::string& path, const std::string& content);
std::string ReadFile(const std::string& path);
bool FileExists(const std::string& path);
// Starts the executable with the arguments, standard input from /dev/null and the two output
// descriptors, which the caller gives up (they are closed here), in directory when one is
// given. Returns the process id.
pid_t StartProcess(const std::string& executable, const std::vector<std::string>& args, int outFd,
                   int errFd, const std::string& directory = "");

struct RunResult {
    int exitStatus = -1; // -1 when the process did not exit normally or timed out
    std::string output;  // standard output
    std::string errors;  // standard error
};

struct RunOptions {
    int timeoutMs = 20000; // the process is killed after this
    // Standard output on a raw pseudo-terminal, as when a person runs the tool; else a pipe.
    bool outputToTerminal = false;
    // Called with the process id and the standard output so far whenever more has arrived.
    std::function<void(pid_t, const std::string&)> onOutput;
    std::string directory; // the working directory; empty: the test's own
};

// Runs an executable with the arguments, standard input from /dev/null. Both output streams
// are captured.
RunResult RunProcess(const std::string& executable, const std::vector<std::string>& args,
                     const RunOptions& options);
RunResult RunProcess(const std::string& executable, const std::vector<std::string>& args,
                     int timeoutMs = 20000);

// Runs the built tavo executable.
RunResult RunTavo(const std::vector<std::string>& args, const RunOptions& options = {});

// What action throws, as "<return code>: <display message>"; "" when it throws no Exception.
// The exception is deleted here.
std::string ThrownBy(const std::function<void()>& action);

// Makes the next configuration lookups see only the given INI file and command-line values,
// as CollectParameters would after parsing them.
void LoadConfiguration(const std::string& iniPath,
                       const std::vector<std::pair<std::string, std::string>>& parameters = {});

} // namespace testsupport
