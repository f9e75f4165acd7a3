#include "EcrComm/LinkTestSupport.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <unistd.h>

#include "EcrComm/CommChannels/Compatibility/TcFrame_v1.h"
#include "EcrComm/CommChannels/Compatibility/TcFrame_v2.h"
#include "EcrComm/CommChannels/TcFrame.h"

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
    size_t pos = 0;
    while (pos < hex.size()) {
        if (hex[pos] == ' ') {
            ++pos;
            continue;
        }
        bytes.push_back(static_cast<byte>(std::stoul(hex.substr(pos, 2), nullptr, 16)));
        pos += 2;
    }
    return bytes;
}

std::string ToHex(const Bytes& bytes) {
    std::string text;
    for (byte value : bytes) {
        char buf[4];
        std::snprintf(buf, sizeof(buf), text.empty() ? "%02X" : " %02X", value);
        text += buf;
    }
    return text;
}

Bytes Concat(const Bytes& first, const Bytes& second) {
    Bytes joined(first);
    joined.insert(joined.end(), second.begin(), second.end());
    return joined;
}

PseudoTerminal::PseudoTerminal() : m_master(-1) {
    const int master = posix_openpt(O_RDWR | O_NOCTTY);
    if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0) {
        throw std::runtime_error("cannot create a pseudo-terminal");
    }
    const char* slavePath = ptsname(master);
    if (slavePath == nullptr) {
        throw std::runtime_error("pseudo-terminal has no slave name");
    }
    m_ttyName = std::string(slavePath).substr(std::string("/dev/").size());
    m_master = master;
}

PseudoTerminal::~PseudoTerminal() {
    CloseMaster();
}

void PseudoTerminal::CloseMaster() {
    const int master = m_master.exchange(-1);
    if (master >= 0) {
        close(master);
    }
}

void PseudoTerminal::Write(const Bytes& bytes) {
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t written = write(Master(), bytes.data() + done, bytes.size() - done);
        if (written <= 0) {
            if (written < 0 && errno == EINTR) {
                continue;
            }
            return;
        }
        done += static_cast<size_t>(written);
    }
}

bool PseudoTerminal::WaitReadable(int timeoutMs) {
    pollfd watched = {Master(), POLLIN, 0};
    if (watched.fd < 0 || timeoutMs < 0) {
        return false;
    }
    return poll(&watched, 1, timeoutMs) == 1 && (watched.revents & POLLIN) != 0;
}

Bytes PseudoTerminal::Read(size_t count, int timeoutMs) {
    Bytes bytes;
    const long long deadline = NowMs() + timeoutMs;
    while (bytes.size() < count && WaitReadable(static_cast<int>(deadline - NowMs()))) {
        byte buf[1024];
        const size_t wanted = std::min(sizeof(buf), count - bytes.size());
        const ssize_t got = read(Master(), buf, wanted);
        if (got <= 0) {
            break;
        }
        bytes.insert(bytes.end(), buf, buf + got);
    }
    return bytes;
}

Bytes PseudoTerminal::ReadThrough(byte endByte, int timeoutMs) {
    Bytes bytes;
    const long long deadline = NowMs() + timeoutMs;
    while (WaitReadable(static_cast<int>(deadline - NowMs()))) {
        byte value = 0;
        if (read(Master(), &value, 1) != 1) {
            break;
        }
        bytes.push_back(value);
        if (value == endByte) {
            break;
        }
    }
    return bytes;
}

Bytes PseudoTerminal::ReadUntilQuiet(int quietMs) {
    Bytes bytes;
    while (WaitReadable(quietMs)) {
        byte buf[1024];
        const ssize_t got = read(Master(), buf, sizeof(buf));
        if (got <= 0) {
            break;
        }
        bytes.insert(bytes.end(), buf, buf + got);
    }
    return bytes;
}

Watchdog::Watchdog(PseudoTerminal& pty, int timeLimitMs) {
    m_thread = std::thread([this, &pty, timeLimitMs] {
        std::unique_lock<std::mutex> lock(m_mutex);
        if (!m_stop.wait_for(lock, std::chrono::milliseconds(timeLimitMs),
                             [this] { return m_stopped; })) {
            pty.CloseMaster();
        }
    });
}

Watchdog::~Watchdog() {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stopped = true;
    }
    m_stop.notify_all();
    m_thread.join();
}

Peer::Peer(PseudoTerminal& pty, std::function<void(PseudoTerminal&)> script, int timeLimitMs)
    : m_watchdog(pty, timeLimitMs), m_script([&pty, script] { script(pty); }) {}

void Peer::Join() {
    if (m_script.joinable()) {
        m_script.join();
    }
}

Peer::~Peer() {
    Join();
}

std::unique_ptr<Exception> CatchException(const std::function<void()>& action) {
    try {
        action();
    } catch (Exception* e) {
        return std::unique_ptr<Exception>(e);
    }
    return nullptr;
}

long long MeasureMs(const std::function<void()>& action) {
    const long long start = NowMs();
    action();
    return NowMs() - start;
}

Bytes BuildFrame(int version, const Bytes& payload, byte seqNo) {
    byte frame[2100];
    uint16 size = 0;
    const uint16 payloadSize = static_cast<uint16>(payload.size());
    switch (version) {
    case 1:
        size = TcFrame_v1::Build(payload.data(), payloadSize, frame, sizeof(frame));
        break;
    case 2:
        size = TcFrame_v2::Build(payload.data(), payloadSize, seqNo, frame, sizeof(frame));
        break;
    default:
        size = TcFrame::Build(payload.data(), payloadSize, seqNo, frame, sizeof(frame));
        break;
    }
    return Bytes(frame, frame + size);
}

} // namespace linktest
