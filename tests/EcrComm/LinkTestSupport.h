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

// "02 20 41" -> {0x02, 0x20, 0x41}
Bytes HexBytes(const std::string& hex);
std::string ToHex(const Bytes& bytes);
Bytes Concat(const Bytes& first, const Bytes& second);

class PseudoTerminal {
public:
    PseudoTerminal();
    ~PseudoTerminal();
    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;

    // The slave's name below /dev, e.g. "pts/3".
    const std::string& TtyName() const { return m_ttyName; }
    int Master() const { return m_master.load(); }

    void Write(const Bytes& bytes);
    // Reads exactly count bytes; returns fewer when timeoutMs passes first.
    Bytes Read(size_t count, int timeoutMs);
    // Reads through the next endByte (a whole frame with ETX); returns what came when
    // timeoutMs passes first.
    Bytes ReadThrough(byte endByte, int timeoutMs);
    // Everything that arrives until the line has been quiet for quietMs.
    Bytes ReadUntilQuiet(int quietMs);
    // Hangs up the slave side: the device disappears for the program.
    void CloseMaster();

private:
    bool WaitReadable(int timeoutMs);

    std::atomic<int> m_master;
    std::string m_ttyName;
};

// Hangs up the pseudo-terminal when the test is still running timeLimitMs after the watchdog
// was set, so that no blocked read can hang the test; the test then fails on the outcome it
// expected.
class Watchdog {
public:
    Watchdog(PseudoTerminal& pty, int timeLimitMs);
    ~Watchdog();
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

private:
    std::thread m_thread;
    std::mutex m_mutex;
    std::condition_variable m_stop;
    bool m_stopped = false;
};

// Plays a script against the master side on its own thread, under a watchdog.
class Peer {
public:
    Peer(PseudoTerminal& pty, std::function<void(PseudoTerminal&)> script, int timeLimitMs = 10000);
    ~Peer();
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    // Waits for the script to end.
    void Join();

private:
    Watchdog m_watchdog;
    std::thread m_script;
};

// Runs action and returns the exception it throws (owned by the caller), or null.
std::unique_ptr<Exception> CatchException(const std::function<void()>& action);

// Milliseconds that action takes.
long long MeasureMs(const std::function<void()>& action);

// The TC frame with payload and sequence number in the given version (1, 2 or 3).
Bytes BuildFrame(int version, const Bytes& payload, byte seqNo);

} // namespace linktest
