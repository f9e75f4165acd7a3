#include "EcrComm/LinkTestSupport.h"

#include <chrono>
#include <fcntl.h>
#include <memory>
#include <poll.h>
#include <stdexcept>
#include <unistd.h>

#include "EcrComm/CommChannels/Compatibility/TcFrame_v1.h"
#include "EcrComm/CommChannels/Compatibility/TcFrame_v2.h"
#include "EcrComm/CommChannels/TcFrame.h"
#include "Exceptions.h"
#include "Tools.h"

namespace linktest {

Bytes HexBytes(const std::string& hex) {
    Bytes bytes;
    for (size_t pos = hex.find_first_not_of(' '); pos != std::string::npos;
         pos = hex.find_first_not_of(' ', pos + 2)) {
        bytes.push_back(static_cast<byte>(std::stoul(hex.substr(pos, 2), nullptr, 16)));
    }
    return bytes;
}

std::string ToHex(const Bytes& bytes) {
    std::string text;
    for (byte value : bytes) {
        text += Format(text.empty() ? "%02X" : " %02X", value);
    }
    return text;
}

Bytes BuildFrame(int version, const Bytes& payload, byte seqNo, uint16 bufSize) {
    Bytes frame(bufSize);
    const uint16 size = static_cast<uint16>(payload.size());
    frame.resize(version == 1 ? TcFrame_v1::Build(payload.data(), size, frame.data(), bufSize)
                 : version == 2
                     ? TcFrame_v2::Build(payload.data(), size, seqNo, frame.data(), bufSize)
                     : TcFrame::Build(payload.data(), size, seqNo, frame.data(), bufSize));
    return frame;
}

std::string ErrorOf(const std::function<void()>& action) {
    try {
        action();
    } catch (Exception* thrown) {
        const std::unique_ptr<Exception> e(thrown);
        return std::to_string(e->GetReturnCode()) + ": " + e->GetDisplayMessage();
    }
    return "nothing thrown";
}

long long MeasureMs(const std::function<void()>& action) {
    const auto start = std::chrono::steady_clock::now();
    action();
    const auto elapsed = std::chrono::steady_clock::now() - start;
    return std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count();
}

PseudoTerminal::PseudoTerminal(int timeLimitMs) : m_master(posix_openpt(O_RDWR | O_NOCTTY)) {
    if (Master() < 0 || grantpt(Master()) != 0 || unlockpt(Master()) != 0 ||
        ptsname(Master()) == nullptr) {
        throw std::runtime_error("cannot create a pseudo-terminal");
    }
    m_ttyName = std::string(ptsname(Master())).substr(std::string("/dev/").size());
    m_watchdog = std::thread([this, timeLimitMs, stop = m_stop.get_future()] {
        if (stop.wait_for(std::chrono::milliseconds(timeLimitMs)) == std::future_status::timeout) {
            CloseMaster();
        }
    });
}

PseudoTerminal::~PseudoTerminal() {
    m_stop.set_value();
    m_watchdog.join();
    CloseMaster();
}

void PseudoTerminal::CloseMaster() {
    const int master = m_master.exchange(-1);
    if (master >= 0) {
        close(master);
    }
}

void PseudoTerminal::Write(const Bytes& bytes) {
    if (write(Master(), bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
        throw std::runtime_error("pseudo-terminal write failed");
    }
}

Bytes PseudoTerminal::Read(size_t count, int quietMs) {
    Bytes bytes;
    byte value = 0;
    while (bytes.size() < count) {
        pollfd watched = {Master(), POLLIN, 0};
        if (watched.fd < 0 || poll(&watched, 1, quietMs) != 1 || read(watched.fd, &value, 1) != 1) {
            break;
        }
        bytes.push_back(value);
    }
    return bytes;
}

void LinkTest::Configure(const std::string& ini) {
    testsupport::WriteFile(m_dir.File("TAVO.ini"), ini);
    testsupport::LoadConfiguration(m_dir.File("TAVO.ini"), {{"TTY", m_pty.TtyName()}});
}

termios LinkTest::Device() {
    termios settings;
    EXPECT_EQ(tcgetattr(m_pty.Master(), &settings), 0);
    return settings;
}

} // namespace linktest
