#include "SimLine.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace {

volatile std::sig_atomic_t stopRequested = 0;

// No wait is longer than this, so a stop that arrives just before a wait begins (and so does
// not interrupt it) is still seen soon.
const std::chrono::milliseconds longestWait(100);
// A line that takes no byte for this long has nobody reading it.
const std::chrono::seconds stuckLimit(2);
const long long nanosPerSecond = 1000000000LL;

[[noreturn]] void LineGone(const char* what) {
    std::fprintf(stderr, "ecrsim: %s: %s\n", what, std::strerror(errno));
    std::exit(1);
}

} // namespace

SimLine::SimLine(int fd, int unreadSide, const LineTiming& timing, double corruptRate,
                 unsigned seed)
    : m_fd(fd), m_unreadSide(unreadSide), m_timing(timing), m_corruptRate(corruptRate),
      m_random(seed), m_inputFreeAt(Clock::now()), m_outputFreeAt(Clock::now()) {}

void SimLine::RequestStop(int) {
    stopRequested = 1;
}

bool SimLine::StopRequested() {
    return stopRequested != 0;
}

double SimLine::ByteTimeMs() const {
    return m_timing.baud == 0 ? 0.0 : 1000.0 * m_timing.bitsPerByte / m_timing.baud;
}

byte SimLine::MaybeDamage(byte value) {
    if (m_corruptRate <= 0) {
        return value;
    }
    std::uniform_real_distribution<double> chance(0.0, 1.0);
    if (chance(m_random) >= m_corruptRate) {
        return value;
    }
    std::uniform_int_distribution<int> bit(0, 7);
    return static_cast<byte>(value ^ (1u << bit(m_random)));
}

SimLine::Clock::time_point SimLine::ByteEnd(Clock::time_point start, size_t index) const {
    // From the block's start, so that rounding never adds up over a long block.
    const long long nanos =
        static_cast<long long>(index + 1) * m_timing.bitsPerByte * nanosPerSecond / m_timing.baud;
    return start + std::chrono::nanoseconds(nanos);
}

void SimLine::Collect() {
    byte chunk[4096];
    for (;;) {
        const ssize_t got = read(m_fd, chunk, sizeof(chunk));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0 && errno == EAGAIN) {
            return;
        }
        if (got <= 0) {
            LineGone("the line is gone");
        }
        const Clock::time_point now = Clock::now();
        for (ssize_t i = 0; i < got; ++i) {
            Clock::time_point ready = now;
            if (m_timing.baud > 0) {
                // The byte is through one byte time after the line was free for it.
                ready = ByteEnd(std::max(now, m_inputFreeAt), 0);
                m_inputFreeAt = ready;
            }
            m_input.push_back({chunk[i], ready});
        }
    }
}

bool SimLine::WaitUntil(Clock::time_point deadline, bool returnOnInput, short events) {
    for (;;) {
        if (StopRequested()) {
            return false;
        }
        const Clock::time_point now = Clock::now();
        if (now >= deadline) {
            return true;
        }
        const auto wait = std::min<Clock::duration>(deadline - now, longestWait);
        const long long nanos = std::chrono::duration_cast<std::chrono::nanoseconds>(wait).count();
        const timespec timeout = {static_cast<time_t>(nanos / nanosPerSecond),
                                  static_cast<long>(nanos % nanosPerSecond)};
        pollfd pfd = {m_fd, static_cast<short>(POLLIN | events), 0};
        const int ready = ppoll(&pfd, 1, &timeout, nullptr);
        if (ready < 0 && errno != EINTR) {
            LineGone("cannot wait for the line");
        }
        if (ready > 0 && (pfd.revents & (POLLIN | POLLHUP | POLLERR)) != 0) {
            Collect();
            if (returnOnInput) {
                return true;
            }
        }
        if (ready > 0 && (pfd.revents & events) != 0) {
            return true;
        }
    }
}

bool SimLine::ReadByte(byte& value, int timeoutMs) {
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;) {
        if (StopRequested()) {
            return false;
        }
        // Without a line speed every byte is ready as it arrives.
        if (!m_input.empty() && (m_timing.baud == 0 || m_input.front().ready <= Clock::now())) {
            value = MaybeDamage(m_input.front().value);
            m_input.pop_front();
            return true;
        }
        if (Clock::now() >= deadline) {
            return false;
        }
        if (m_input.empty()) {
            WaitUntil(deadline, true);
        } else {
            WaitUntil(std::min(deadline, m_input.front().ready), false);
        }
    }
}

bool SimLine::WriteNow(const byte* data, size_t size) {
    Clock::time_point lastProgress = Clock::now();
    size_t written = 0;
    while (written < size) {
        const ssize_t n = write(m_fd, data + written, size - written);
        if (n > 0) {
            written += static_cast<size_t>(n);
            lastProgress = Clock::now();
            continue;
        }
        if (n < 0 && errno != EINTR && errno != EAGAIN) {
            LineGone("write to the line failed");
        }
        if (Clock::now() - lastProgress > stuckLimit) {
            std::fprintf(stderr, "ecrsim: nobody reads the line; what it holds is dropped\n");
            DropUnread();
            lastProgress = Clock::now();
        }
        if (!WaitUntil(Clock::now() + longestWait, false, POLLOUT)) {
            return false;
        }
    }
    return true;
}

bool SimLine::Write(const std::vector<byte>& bytes) {
    if (bytes.empty()) {
        return true;
    }
    std::vector<byte> out(bytes);
    for (byte& b : out) {
        b = MaybeDamage(b);
    }
    Clock::time_point start = Clock::now() + std::chrono::milliseconds(m_timing.turnaroundMs);
    if (m_timing.baud > 0) {
        start = std::max(start, m_outputFreeAt);
    }
    if (!WaitUntil(start, false)) {
        return false;
    }
    if (m_timing.baud == 0) {
        return WriteNow(out.data(), out.size());
    }
    // Each byte is handed over when a real line would have delivered it completely.
    m_outputFreeAt = ByteEnd(start, out.size() - 1);
    size_t sent = 0;
    while (sent < out.size()) {
        const Clock::time_point now = Clock::now();
        size_t due = sent;
        while (due < out.size() && ByteEnd(start, due) <= now) {
            ++due;
        }
        if (due > sent) {
            if (!WriteNow(out.data() + sent, due - sent)) {
                return false;
            }
            sent = due;
        } else if (!WaitUntil(ByteEnd(start, sent), false)) {
            return false;
        }
    }
    return true;
}

void SimLine::DropUnread() {
    if (m_unreadSide >= 0) {
        tcflush(m_unreadSide, TCIFLUSH);
    } else {
        tcflush(m_fd, TCOFLUSH);
    }
}

std::vector<byte> SimLine::Noise(int count) {
    std::uniform_int_distribution<int> value(0x20, 0x7e);
    std::vector<byte> noise;
    for (int i = 0; i < count; ++i) {
        noise.push_back(static_cast<byte>(value(m_random)));
    }
    return noise;
}

std::string HexBytes(const std::vector<byte>& bytes) {
    std::string text;
    char hex[4];
    for (size_t i = 0; i < bytes.size(); ++i) {
        std::snprintf(hex, sizeof(hex), i == 0 ? "%02X" : " %02X", bytes[i]);
        text += hex;
    }
    return text;
}
