// Helpers for the serial link tests. A pseudo-terminal pair drives the link: the program opens
// the slave through the "TTY" setting exactly as it would a real port, and the test plays the
// ECR on the master side, on its own thread (std::async) where the program must wait for it.
#pragma once

#include <atomic>
#include <fcntl.h>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <poll.h>
#include <stdexcept>
#include <termios.h>
#include <thread>
#include <unistd.h>

#include "EcrComm/CommBase.h"
#include "EcrComm/CommChannels/Compatibility/TcFrame_v1.h"
#include "EcrComm/CommChannels/Compatibility/TcFrame_v2.h"
#include "EcrComm/CommChannels/TcFrame.h"
#include "Exceptions.h"
#include "TestSupport.h"
#include "Tools.h"

namespace linktest {

typedef std::vector<byte> Bytes;

// "02 20 41" -> {0x02, 0x20, 0x41}; spaces only group bytes ("02 2041" is the same).
inline Bytes HexBytes(const std::string& hex) {
    Bytes bytes;
    for (size_t pos = hex.find_first_not_of(' '); pos != std::string::npos;
         pos = hex.find_first_not_of(' ', pos + 2)) {
        bytes.push_back(static_cast<byte>(std::stoul(hex.substr(pos, 2), nullptr, 16)));
    }
    return bytes;
}

// {0x02, 0x20} -> "02 20".
inline std::string ToHex(const Bytes& bytes) {
    std::string text;
    for (byte value : bytes) {
        text += Format(text.empty() ? "%02X" : " %02X", value);
    }
    return text;
}

// The TC frame with payload and sequence number in the given version (1, 2 or 3); empty when
// the builder refuses, e.g. for a frame larger than bufSize.
inline Bytes BuildFrame(int version, const Bytes& payload, byte seqNo, uint16 bufSize = 2048) {
    Bytes frame(bufSize);
    const uint16 size = static_cast<uint16>(payload.size());
    frame.resize(version == 1 ? TcFrame_v1::Build(payload.data(), size, frame.data(), bufSize)
                 : version == 2
                     ? TcFrame_v2::Build(payload.data(), size, seqNo, frame.data(), bufSize)
                     : TcFrame::Build(payload.data(), size, seqNo, frame.data(), bufSize));
    return frame;
}

using testsupport::ThrownBy;

// Hangs itself up when the test still runs timeLimitMs after it was made, so that no blocked
// read can hang the test; the test then fails on the outcome it expected.
class PseudoTerminal {
public:
    explicit PseudoTerminal(int timeLimitMs = 20000) : m_master(posix_openpt(O_RDWR | O_NOCTTY)) {
        if (Master() < 0 || grantpt(Master()) != 0 || unlockpt(Master()) != 0 ||
            ptsname(Master()) == nullptr) {
            throw std::runtime_error("cannot create a pseudo-terminal");
        }
        m_ttyName = std::string(ptsname(Master())).substr(std::string("/dev/").size());
        m_watchdog = std::thread([this, timeLimitMs, stop = m_stop.get_future()] {
            if (stop.wait_for(std::chrono::milliseconds(timeLimitMs)) ==
                std::future_status::timeout) {
                CloseMaster();
            }
        });
    }
    ~PseudoTerminal() {
        m_stop.set_value();
        m_watchdog.join();
        CloseMaster();
    }

    // The slave's name below /dev, e.g. "pts/3".
    const std::string& TtyName() const { return m_ttyName; }
    int Master() const { return m_master.load(); }

    void Write(const Bytes& bytes) {
        if (write(Master(), bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
            throw std::runtime_error("pseudo-terminal write failed");
        }
    }
    // Exactly count bytes, or what came before the line was quiet for quietMs.
    Bytes Read(size_t count, int quietMs) {
        Bytes bytes;
        byte value = 0;
        while (bytes.size() < count) {
            pollfd watched = {Master(), POLLIN, 0};
            if (watched.fd < 0 || poll(&watched, 1, quietMs) != 1 ||
                read(watched.fd, &value, 1) != 1) {
                break;
            }
            bytes.push_back(value);
        }
        return bytes;
    }
    // Hangs up the slave side: the device disappears for the program.
    void CloseMaster() {
        const int master = m_master.exchange(-1);
        if (master >= 0) {
            close(master);
        }
    }

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
    void Configure(const std::string& ini) {
        testsupport::WriteFile(m_dir.File("TAVO.ini"), ini);
        testsupport::LoadConfiguration(m_dir.File("TAVO.ini"), {{"TTY", m_pty.TtyName()}});
    }
    // The terminal settings of the slave as the device holds them.
    termios Device() {
        termios settings;
        EXPECT_EQ(tcgetattr(m_pty.Master(), &settings), 0);
        return settings;
    }

    testsupport::TempDir m_dir;
    PseudoTerminal m_pty;
};

} // namespace linktest
