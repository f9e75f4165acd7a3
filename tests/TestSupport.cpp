#include "TestSupport.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <signal.h>
#include <sstream>
#include <stdexcept>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include "AppConfig.h"

// Under AddressSanitizer, an allocation beyond its limit fails as it does without it, so that
// "Not enough memory" can be tested.
extern "C" const char* __asan_default_options() {
    return "allocator_may_return_null=1";
}

namespace testsupport {

TempDir::TempDir() {
    char pattern[] = "/tmp/tavo-test-XXXXXX";
    if (mkdtemp(pattern) == nullptr) {
        throw std::runtime_error("mkdtemp failed");
    }
    m_path = pattern;
}

TempDir::~TempDir() {
    const std::string command = "rm -rf '" + m_path + "'";
    if (std::system(command.c_str()) != 0) {
        std::fprintf(stderr, "could not remove %s\n", m_path.c_str());
    }
}

std::string TempDir::File(const std::string& name) const {
    return m_path + "/" + name;
}

void WriteFile(const std::string& path, const std::string& content) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << content;
    if (!out) {
        throw std::runtime_error("cannot write " + path);
    }
}

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

bool FileExists(const std::string& path) {
    struct stat info;
    return stat(path.c_str(), &info) == 0;
}

namespace {

void Drain(int fd, std::string& into, bool& open) {
    char buffer[4096];
    const ssize_t got = read(fd, buffer, sizeof(buffer));
    if (got > 0) {
        into.append(buffer, static_cast<size_t>(got));
    } else if (got == 0 || (errno != EINTR && errno != EAGAIN)) {
        open = false;
    }
}

} // namespace

namespace {

// The pipe or pseudo-terminal that takes the child's standard output: [0] the parent's end.
void OpenOutput(bool terminal, int ends[2]) {
    if (!terminal) {
        if (pipe(ends) != 0) {
            throw std::runtime_error("pipe failed");
        }
        return;
    }
    ends[0] = posix_openpt(O_RDWR | O_NOCTTY);
    if (ends[0] < 0 || grantpt(ends[0]) != 0 || unlockpt(ends[0]) != 0) {
        throw std::runtime_error("no pseudo-terminal");
    }
    ends[1] = open(ptsname(ends[0]), O_RDWR | O_NOCTTY);
    termios settings;
    if (ends[1] < 0 || tcgetattr(ends[1], &settings) != 0) {
        throw std::runtime_error("cannot open the pseudo-terminal");
    }
    cfmakeraw(&settings); // the bytes as written: no "\r" added before "\n"
    tcsetattr(ends[1], TCSANOW, &settings);
}

pid_t Start(const std::string& executable, const std::vector<std::string>& args, int outFd,
            int errFd) {
    const pid_t pid = fork();
    if (pid < 0) {
        throw std::runtime_error("fork failed");
    }
    if (pid == 0) {
        const int nullFd = open("/dev/null", O_RDONLY);
        dup2(nullFd, 0);
        dup2(outFd, 1);
        dup2(errFd, 2);
        std::vector<char*> argv;
        argv.push_back(const_cast<char*>(executable.c_str()));
        for (const std::string& arg : args) {
            argv.push_back(const_cast<char*>(arg.c_str()));
        }
        argv.push_back(nullptr);
        execv(executable.c_str(), argv.data());
        _exit(127);
    }
    return pid;
}

} // namespace

RunResult RunProcess(const std::string& executable, const std::vector<std::string>& args,
                     const RunOptions& options) {
    int out[2];
    int err[2];
    OpenOutput(options.outputToTerminal, out);
    if (pipe(err) != 0) {
        throw std::runtime_error("pipe failed");
    }
    const pid_t pid = Start(executable, args, out[1], err[1]);
    close(out[1]);
    close(err[1]);
    RunResult result;
    bool outOpen = true;
    bool errOpen = true;
    const auto deadline =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(options.timeoutMs);
    bool timedOut = false;
    while (outOpen || errOpen) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                              deadline - std::chrono::steady_clock::now())
                              .count();
        if (left <= 0) {
            timedOut = true;
            break;
        }
        pollfd fds[2] = {{outOpen ? out[0] : -1, POLLIN, 0}, {errOpen ? err[0] : -1, POLLIN, 0}};
        if (poll(fds, 2, static_cast<int>(left)) < 0 && errno != EINTR) {
            break;
        }
        // A pseudo-terminal reports the end of the writer as an error (EIO).
        if (outOpen && (fds[0].revents & (POLLIN | POLLHUP | POLLERR)) != 0) {
            const size_t before = result.output.size();
            Drain(out[0], result.output, outOpen);
            if (options.onOutput && result.output.size() != before) {
                options.onOutput(pid, result.output);
            }
        }
        if (errOpen && (fds[1].revents & (POLLIN | POLLHUP | POLLERR)) != 0) {
            Drain(err[0], result.errors, errOpen);
        }
    }
    if (timedOut) {
        kill(pid, SIGKILL);
    }
    close(out[0]);
    close(err[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    if (!timedOut && WIFEXITED(status)) {
        result.exitStatus = WEXITSTATUS(status);
    }
    return result;
}

RunResult RunProcess(const std::string& executable, const std::vector<std::string>& args,
                     int timeoutMs) {
    RunOptions options;
    options.timeoutMs = timeoutMs;
    return RunProcess(executable, args, options);
}

RunResult RunTavo(const std::vector<std::string>& args, const RunOptions& options) {
    return RunProcess(TAVO_EXECUTABLE, args, options);
}

RunResult RunTavo(const std::vector<std::string>& args, int timeoutMs) {
    return RunProcess(TAVO_EXECUTABLE, args, timeoutMs);
}

void LoadConfiguration(const std::string& iniPath,
                       const std::vector<std::pair<std::string, std::string>>& parameters) {
    AppConfig::Clear();
    AppConfig::SetParameter("ConfigFilePath", iniPath, false);
    for (const auto& parameter : parameters) {
        AppConfig::SetParameter(parameter.first, parameter.second, false);
    }
    AppConfig::Initialize();
}

} // namespace testsupport
