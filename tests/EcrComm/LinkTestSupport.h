// Helpers for the serial link tests. A pseudo-terminal pair drives the link: the program opens
// the slave through the "TTY" setting exactly as it would a real port, and the test plays the
// ECR on the master side, on its own thread (std::async) where the program must wait for it.
#pragma once

#include <atomic>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <termios.h>
#include <thread>

#include "EcrComm/CommBase.h"
#include "TestSupport.h"

namespace linktest {

typedef std::vector<byte> Bytes;

// "02 20 41" -> {0x02, 0x20, 0x41}; spaces only group bytes ("02 2041" is the same), and back.
Bytes HexBytes(const std::string& hex);
std::string ToHex(const Bytes& bytes);

// The TC frame with payload and sequence number in the given version (1, 2 or 3); empty when
// the builder refuses, e.g. for a frame larger than bufSize.
Bytes BuildFrame(int version, const Bytes& payload, byte seqNo, uint16 bufSize = 2048);

// What action throws as "<return code>: <display message>", or "nothing thrown".
std::string ErrorOf(const std::function<void()>& action);
long long MeasureMs(const std::function<void()>& action);

// Hangs itself up when the test still runs timeLimitMs after it was made, so that no blocked
// read can hang the test; the test then fails on the outcome it expected.
class PseudoTerminal {
public:
    explicit PseudoTerminal(int timeLimitMs = 20000);
    ~PseudoTerminal();

    // The slave's name below /dev, e.g. "pts/3".
    const std::string& TtyName() const { return m_ttyName; }
    int Master() const { return m_master.load(); }

    void Write(const Bytes& bytes);
    // Exactly count bytes, or what came before the line was quiet for quietMs.
    Bytes Read(size_t count, int quietMs);
    // Hangs up the slave side: the device disappears for the program.
    void CloseMaster();

private:
    std::atomic<int> m_master;
    std::string m_ttyName;
    std::promise<void> m_stop;
    std::thread m_watchdog; // last: it runs on the members above
};

// A link test's pseudo-terminal and private configuration.
class LinkTest : public ::testing::Test {
protected:
    // The configuration becomes the INI text (settings under "[Common]") with "TTY" naming the
    // pseudo-terminal.
    void Configure(const std::string& ini);
    // The terminal settings of the slave as the device holds them.
    termios Device();

    testsupport::TempDir m_dir;
    PseudoTerminal m_pty;
};

} // namespace linktest
