#include "TestSupport.h"

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <poll.h>
#include <signal.h>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include "AppConfig.h"
#include "Exceptions.h"

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
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::string TempDir::File(const std::string& name) const {
    return m_path + "/" + name;
}

void WriteFile(const std::string& path, const std::string& content) {
    if (!(std::ofstream(path, std::ios::binary | std::ios::trunc) << content)) {
        throw std::runtime_error("cannot write " + path);
    }
}

std::string ReadFile(const std::string& path) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

bool FileExists(const std::string& path) {
    return access(path.c_str(), F_OK) == 0;
}

pid_t StartProcess(const std::string& executable, const std::vector<std::string>& args, int outFd,
                   int errFd, const std::string& directory) {
    const pid_t pid = fork();
    if (pid < 0) {
        throw std::runtime_error("fork failed");
    }
    if (pid == 0) {
        dup2(open("/dev/null", O_RDONLY), 0);
        dup2(outFd, 1);
        dup2(errFd, 2);
        if (!directory.empty() && chdir(directory.c_str()) != 0) {
            _exit(126);
        }
        std::vector<char*> argv = {const_cast<char*>(executable.c_str())};
        for (const std::string& arg : args) {
            argv.push_back(const_cast<char*>(arg.c_str()));
        }
        argv.push_back(nullptr);
        execv(executable.c_str(), argv.data());
        _exit(127);
    }
    close(outFd);
    close(errFd);
    return pid;
}

namespace {

// The pipe or raw pseudo-terminal that takes the child's standard output; [0] is the parent's.
void OpenOutput(bool terminal, int ends[2]) {
    if (!terminal) {
        if (pipe(ends) != 0) {
            throw std::runtime_error("pipe failed");
        }
        return;
    }
    ends[0] = posix_openpt(O_RDWR | O_NOCTTY);
    termios settings;
    if (ends[0] < 0 || grantpt(ends[0]) != 0 || unlockpt(ends[0]) != 0 ||
        (ends[1] = open(ptsname(ends[0]), O_RDWR | O_NOCTTY)) < 0 ||
        tcgetattr(ends[1], &settings) != 0) {
        throw std::runtime_error("no pseudo-terminal");
    }
    cfmakeraw(&settings); // the bytes as written: no "\r" added before "\n"
    tcsetattr(ends[1], TCSANOW, &settings);
}

// Appends what can be read; false at the end (a pseudo-terminal reports it as an error).
bool Drain(int fd, std::string& into) {
    char buffer[4096];
    const ssize_t got = read(fd, buffer, sizeof(buffer));
    if (got > 0) {
        into.append(buffer, static_cast<size_t>(got));
    }
    return got > 0 || (got < 0 && errno == EINTR);
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
    const pid_t pid = StartProcess(executable, args, out[1], err[1], options.directory);
    RunResult result;
    pollfd fds[2] = {{out[0], POLLIN, 0}, {err[0], POLLIN, 0}};
    const auto deadline =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(options.timeoutMs);
    bool timedOut = false;
    while (fds[0].fd >= 0 || fds[1].fd >= 0) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if ((timedOut = left.count() <= 0) ||
            (poll(fds, 2, static_cast<int>(left.count())) < 0 && errno != EINTR)) {
            break;
        }
        if (fds[0].revents != 0) {
            const size_t before = result.output.size();
            fds[0].fd = Drain(out[0], result.output) ? fds[0].fd : -1;
            if (options.onOutput && result.output.size() != before) {
                options.onOutput(pid, result.output);
            }
        }
        if (fds[1].revents != 0) {
            fds[1].fd = Drain(err[0], result.errors) ? fds[1].fd : -1;
        }
    }
    if (timedOut) {
        kill(pid, SIGKILL);
    }
    close(out[0]);
    close(err[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    result.exitStatus = !timedOut && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
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

std::string ThrownBy(const std::function<void()>& action) {
    try {
        action();
    } catch (Exception* thrown) {
        const std::unique_ptr<Exception> e(thrown);
        return std::to_string(e->GetReturnCode()) + ": " + e->GetDisplayMessage();
    }
    return "";
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
