// Helpers for the serial link tests. A pseudo-terminal pair drives the link: the program opens
// the slave through the "TTY" setting exactly as it would a real port, and the test plays the
// ECR on the master side.
#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "EcrComm/CommBase.h"
#include "Exceptions.h"

namespace linktest {

typedef std::vector<byte> Bytes;

// "02 20 41" -> {0x02, 0x20, 0x41}, and back.
Bytes HexBytes(const std::string& hex);
std::string ToHex(const Bytes& bytes);
inline Bytes Concat(Bytes first, const Bytes& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

// The TC frame with payload and sequence number in the given version (1, 2 or 3).
Bytes BuildFrame(int version, const Bytes& payload, byte seqNo);

// What action throws as "<return code>: <display message>", or "nothing thrown"; the log
// message goes to *logMessage when asked for.
std::string ErrorOf(const std::function<void()>& action, std::string* logMessage = nullptr);
const char* const internalError = "99: Internal error";
long long MeasureMs(const std::function<void()>& action);

// Hangs itself up when the test still runs timeLimitMs after it was made, so that no blocked
// read can hang the test; the test then fails on the outcome it expected.
class PseudoTerminal {
public:
    explicit PseudoTerminal(int timeLimitMs = 20000);
    ~PseudoTerminal();
    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;

    // The slave's name below /dev, e.g. "pts/3".
    const std::string& TtyName() const { return m_ttyName; }
    int Master() const { return m_master.load(); }

    void Write(const Bytes& bytes);
    // Exactly count bytes, or fewer when timeoutMs passes first.
    Bytes Read(size_t count, int timeoutMs);
    // Through the next endByte (a whole frame with its ETX), or what came within timeoutMs.
    Bytes ReadThrough(byte endByte, int timeoutMs);
    // Everything that arrives until the line has been quiet for quietMs.
    Bytes ReadUntilQuiet(int quietMs);
    // Hangs up the slave side: the device disappears for the program.
    void CloseMaster();

private:
    // Reads single bytes while done() is false, each within the time left.
    Bytes Collect(int timeoutMs, bool restartTimerPerByte,
                  const std::function<bool(const Bytes&)>& done);

    std::atomic<int> m_master;
    std::string m_ttyName;
    std::mutex m_mutex;
    std::condition_variable m_stop;
    bool m_stopped = false;
    std::thread m_watchdog; // last: it runs on the members above
};

// Plays a script against the master side on its own thread.
class Peer {
public:
    Peer(PseudoTerminal& pty, const std::function<void(PseudoTerminal&)>& script)
        : m_script([&pty, script] { script(pty); }) {}
    ~Peer() { Join(); }
    void Join() {
        if (m_script.joinable()) {
            m_script.join();
        }
    }

private:
    std::thread m_script;
};

} // namespace linktest
