#include "SimulatorSupport.h"

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace testsupport {

EcrSimulator::EcrSimulator(const std::vector<std::string>& options, const std::string& executable) {
    int out[2];
    if (pipe(out) != 0) {
        throw std::runtime_error("pipe failed");
    }
    const std::string errorLog = m_dir.File("traffic.log");
    m_pid = fork();
    if (m_pid == 0) {
        dup2(out[1], 1);
        const int err = open(errorLog.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        dup2(err, 2);
        close(out[0]);
        std::vector<std::string> args = {executable, "--data-dir", m_dir.Path()};
        args.insert(args.end(), options.begin(), options.end());
        std::vector<char*> argv;
        for (std::string& arg : args) {
            argv.push_back(&arg[0]);
        }
        argv.push_back(nullptr);
        execv(argv[0], argv.data());
        _exit(127);
    }
    close(out[1]);
    // The first line is the device name.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    std::string line;
    char c;
    while (line.find('\n') == std::string::npos && std::chrono::steady_clock::now() < deadline) {
        pollfd pfd = {out[0], POLLIN, 0};
        if (poll(&pfd, 1, 100) > 0) {
            if (read(out[0], &c, 1) != 1) {
                break;
            }
            line += c;
        }
    }
    close(out[0]);
    if (!line.empty() && line.back() == '\n') {
        m_tty = line.substr(0, line.size() - 1);
    }
}

EcrSimulator::~EcrSimulator() {
    if (m_pid <= 0) {
        return;
    }
    kill(m_pid, SIGTERM);
    for (int i = 0; i < 500; ++i) {
        if (waitpid(m_pid, nullptr, WNOHANG) == m_pid) {
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    kill(m_pid, SIGKILL);
    waitpid(m_pid, nullptr, 0);
}

std::string EcrSimulator::TrafficLog() const {
    return ReadFile(m_dir.File("traffic.log"));
}

RunResult RunTavoOn(const EcrSimulator& sim, const TempDir& work,
                    const std::vector<std::string>& command,
                    const std::vector<std::string>& parameters, const RunOptions& options) {
    std::vector<std::string> args(command);
    args.push_back("/TTY=" + sim.Tty());
    args.push_back("/ConfigFilePath=" + work.File("TAVO.ini"));
    args.push_back("/LogFilePath=" + work.File("logs"));
    args.insert(args.end(), parameters.begin(), parameters.end());
    return RunTavo(args, options);
}

RunResult RunTavoOn(const EcrSimulator& sim, const TempDir& work,
                    const std::vector<std::string>& command,
                    const std::vector<std::string>& parameters, int timeoutMs) {
    RunOptions options;
    options.timeoutMs = timeoutMs;
    return RunTavoOn(sim, work, command, parameters, options);
}

bool WaitFor(const std::function<bool()>& condition) {
    for (int i = 0; i < 200; ++i) {
        if (condition()) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return condition();
}

std::string FinalLines(const std::string& output) {
    std::string result;
    std::string line;
    for (const char c : output) {
        if (c == '\r') {
            line.clear();
        } else if (c == '\n') {
            result += line + "\n";
            line.clear();
        } else {
            line += c;
        }
    }
    return result + line;
}

} // namespace testsupport
