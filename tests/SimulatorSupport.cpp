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
    std::vector<std::string> args = {"--data-dir", m_dir.Path()};
    args.insert(args.end(), options.begin(), options.end());
    const int trafficLog =
        open(m_dir.File("traffic.log").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    m_pid = StartProcess(executable, args, out[1], trafficLog);
    // The first line is the device name.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    std::string line;
    char c = 0;
    while (c != '\n' && std::chrono::steady_clock::now() < deadline) {
        pollfd pfd = {out[0], POLLIN, 0};
        if (poll(&pfd, 1, 100) > 0 && read(out[0], &c, 1) == 1) {
            line += c;
        }
    }
    close(out[0]);
    if (c == '\n') {
        m_tty = line.substr(0, line.size() - 1);
    }
}

EcrSimulator::~EcrSimulator() {
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

bool WaitFor(const std::function<bool()>& condition) {
    for (int i = 0; i < 200 && !condition(); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return condition();
}

} // namespace testsupport
