#include "EcrComm/LinkTestSupport.h"

#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <unistd.h>

#include "EcrComm/CommChannels/Compatibility/TcFrame_v1.h"
#include "EcrComm/CommChannels/Compatibility/TcFrame_v2.h"
#include "EcrComm/CommChannels/TcFrame.h"
#include "Tools.h"

namespace linktest {

namespace {
long long NowMs() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}
} // namespace

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
        text += Format(" %02X", value);
    }
    return text.empty() ? text : text.substr(1);
}

Bytes BuildFrame(int version, const Bytes& payload, byte seqNo) {
    byte frame[2100];
    const uint16 size = static_cast<uint16>(payload.size());
    const uint16 length =
        version == 1   ? TcFrame_v1::Build(payload.data(), size, frame, sizeof(frame))
        : version == 2 ? TcFrame_v2::Build(payload.data(), size, seqNo, frame, sizeof(frame))
                       : TcFrame::Build(payload.data(), size, seqNo, frame, sizeof(frame));
    return Bytes(frame, frame + length);
}

std::string ErrorOf(const std::function<void()>& action, std::string* logMessage) {
    try {
        action();
    } catch (Exception* thrown) {
        const std::unique_ptr<Exception> e(thrown);
        if (logMessage != nullptr) {
            *logMessage = e->GetLogMessage();
        }
        return std::to_string(e->GetReturnCode()) + ": " + e->GetDisplayMessage();
    }
    return "nothing thrown";
}

long long MeasureMs(const std::function<void()>& action) {
    const long long start = NowMs();
    action();
    return NowMs() - start;
}

PseudoTerminal::PseudoTerminal(int timeLimitMs) : m_master(posix_openpt(O_RDWR | O_NOCTTY)) {
    if (Master() < 0 || grantpt(Master()) != 0 || unlockpt(Master()) != 0 ||
        ptsname(Master()) == nullptr) {
        throw std::runtime_error("cannot create a pseudo-terminal");
    }
    m_ttyName = std::string(ptsname(Master())).substr(std::string("/dev/").size());
    m_watchdog = std::thread([this, timeLimitMs] {
        std::unique_lock<std::mutex> lock(m_mutex);
        if (!m_stop.wait_for(lock, std::chrono::milliseconds(timeLimitMs),
                             [this] { return m_stopped; })) {
            CloseMaster();
        }
    });
}

PseudoTerminal::~PseudoTerminal() {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stopped = true;
    }
    m_stop.notify_all();
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

Bytes PseudoTerminal::Collect(int timeoutMs, bool restartTimerPerByte,
                              const std::function<bool(const Bytes&)>& done) {
    Bytes bytes;
    long long deadline = NowMs() + timeoutMs;
    while (!done(bytes)) {
        pollfd watched = {Master(), POLLIN, 0};
        const long long left = deadline - NowMs();
        byte value = 0;
        if (watched.fd < 0 || left < 0 || poll(&watched, 1, static_cast<int>(left)) != 1 ||
            read(watched.fd, &value, 1) != 1) {
            break;
        }
        bytes.push_back(value);
        if (restartTimerPerByte) {
            deadline = NowMs() + timeoutMs;
        }
    }
    return bytes;
}

Bytes PseudoTerminal::Read(size_t count, int timeoutMs) {
    return Collect(timeoutMs, false, [count](const Bytes& b) { return b.size() == count; });
}

Bytes PseudoTerminal::ReadThrough(byte endByte, int timeoutMs) {
    return Collect(timeoutMs, false,
                   [endByte](const Bytes& b) { return !b.empty() && b.back() == endByte; });
}

Bytes PseudoTerminal::ReadUntilQuiet(int quietMs) {
    return Collect(quietMs, true, [](const Bytes&) { return false; });
}

} // namespace linktest
