// Runs the ECR simulator beside a test, and the tavo executable against it.
#pragma once

#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

#include "TestSupport.h"

namespace testsupport {

class EcrSimulator {
public:
    // Starts ecrsim with the options (its data directory is a fresh temporary one) and waits
    // at most 5 s for the name of its pseudo-terminal.
    explicit EcrSimulator(const std::vector<std::string>& options = {},
                          const std::string& executable = ECRSIM_EXECUTABLE);
    // Stops the simulator (SIGTERM, then SIGKILL after 5 s).
    ~EcrSimulator();
    EcrSimulator(const EcrSimulator&) = delete;
    EcrSimulator& operator=(const EcrSimulator&) = delete;

    // The device to pass as "TTY", for example pts/3; empty when the start failed.
    const std::string& Tty() const { return m_tty; }
    // The simulator's data directory and its traffic log so far.
    std::string DataDir() const { return m_dir.Path(); }
    std::string TrafficLog() const;

private:
    TempDir m_dir;
    pid_t m_pid = -1;
    std::string m_tty;
};

// Runs tavo with the command and its arguments, "TTY" of the simulator, private configuration
// and log locations inside work, and then the further /Name=Value parameters.
RunResult RunTavoOn(const EcrSimulator& sim, const TempDir& work,
                    const std::vector<std::string>& command,
                    const std::vector<std::string>& parameters = {},
                    const RunOptions& options = {});

// Polls the condition for at most 2 s; the simulator finishes some work after the run that
// caused it has ended.
bool WaitFor(const std::function<bool()>& condition);

} // namespace testsupport
