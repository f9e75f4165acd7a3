#include "SimLine.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <sys/prctl.h>
#include <termios.h>
#include <time.h>
#include <unistd.h>

namespace {

volatile std::sig_atomic_t stopRequested = 0;

// No wait is longer than this, so a stop that arrives just before a wait begins (and so does
// not interrupt it) is still seen soon.
const std::chrono::milliseconds longestWait(100);
// A line that takes no byte for this long has nobody reading it.
const std::chrono::seconds stuckLimit(2);
// How late a timer may fire: some 20 us on a virtual machine even with the least slack.
const std::chrono::microseconds timerLateness(50);
const long long nanosPerSecond = 1000000000LL;

[[noreturn]] void LineGone(const char* what) {
    std::fprintf(stderr, "ecrsim: %s: %s\n", what, std::strerror(errno));
    std::exit(1);
}

timespec ToTimespec(std::chrono::nanoseconds span) {
    return {static_cast<time_t>(span.count() / nanosPerSecond),
            static_cast<long>(span.count() % nanosPerSecond)};
}

} // namespace

SimLine::SimLine(int fd, int unreadSide, const LineTiming& timing, double corruptRate,
                 unsigned seed)
    : m_fd(fd), m_unreadSide(unreadSide), m_timing(timing), m_corruptRate(corruptRate),
      m_random(seed), m_inputFreeAt(Clock::now()), m_outputFreeAt(Clock::now()),
      m_answerFrom(Clock::now()) {
    if (m_timing.baud > 0) {
        // The default slack lets a timer fire up to 50 us late: at 115200 baud more than half
        // a byte time, added to every answer.
        prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL);
    }
}

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

void SimLine::Collect(Clock::time_point arrival) {
    byte chunk[4096];
    for (;; arrival = m_timing.baud > 0 ? Clock::now() : arrival) {
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
        for (ssize_t i = 0; i < got; ++i) {
            Clock::time_point ready = arrival;
            if (m_timing.baud > 0) {
                // The byte is through one byte time after the line was free for it. When the
                // PC wrote it is unknown; the moment it was seen is the earliest safe guess.
                ready = ByteEnd(std::max(arrival, m_inputFreeAt), 0);
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
        const timespec timeout = ToTimespec(wait);
        pollfd pfd = {m_fd, static_cast<short>(POLLIN | events), 0};
        const int ready = ppoll(&pfd, 1, &timeout, nullptr);
        // Read before anything else, so that this process's own work does not delay the bytes.
        const Clock::time_point woke = m_timing.baud > 0 ? Clock::now() : Clock::time_point();
        if (ready < 0 && errno != EINTR) {
            LineGone("cannot wait for the line");
        }
        if (ready > 0 && (pfd.revents & (POLLIN | POLLHUP | POLLERR)) != 0) {
            Collect(woke);
            if (returnOnInput) {
                return true;
            }
        }
        if (ready > 0 && (pfd.revents & events) != 0) {
            return true;
        }
    }
}

bool SimLine::SleepUntil(Clock::time_point deadline, bool exact) {
    const Clock::time_point wakeUp = exact ? deadline - timerLateness : deadline;
    for (;;) {
        if (StopRequested()) {
            return false;
        }
        const Clock::time_point now = Clock::now();
        if (now >= deadline) {
            return true;
        }
        if (now >= wakeUp) {
            continue; // the last stretch is watched on the clock
        }
        // An absolute wake-up does not oversleep by the time it took to get here. The steady
        // clock counts from the zero of CLOCK_MONOTONIC. A signal ends the sleep early.
        const timespec until = ToTimespec(std::min(wakeUp, now + longestWait).time_since_epoch());
        clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr);
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
            m_answerFrom = m_input.front().ready;
            m_input.pop_front();
            return true;
        }
        if (Clock::now() >= deadline) {
            m_answerFrom = deadline;
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
    const std::chrono::milliseconds turnaround(m_timing.turnaroundMs);
    if (m_timing.baud > 0) {
        return WritePaced(out, std::max(m_answerFrom + turnaround, m_outputFreeAt));
    }
    // Without a line speed bytes carry no times: the turnaround counts from now.
    if (turnaround.count() > 0 && !WaitUntil(Clock::now() + turnaround, false)) {
        return false;
    }
    return WriteNow(out.data(), out.size());
}

// The sleeps do not watch the line: the PC does not send while it waits for an answer, and
// what it sends all the same is taken in by the next read, stamped later than it came, never
// sooner.
bool SimLine::WritePaced(const std::vector<byte>& bytes, Clock::time_point start) {
    m_outputFreeAt = ByteEnd(start, bytes.size() - 1);
    size_t sent = 0;
    while (sent < bytes.size()) {
        // Whatever is due goes at once: a late wake-up must not push the rest back.
        const Clock::time_point now = Clock::now();
        size_t due = sent;
        while (due < bytes.size() && ByteEnd(start, due) <= now) {
            ++due;
        }
        if (due > sent) {
            if (!WriteNow(bytes.data() + sent, due - sent)) {
                return false;
            }
            sent = due;
        } else {
            // The PC waits for the last byte of a block: a timer's lateness there would add
            // to every exchange.
            const bool last = sent + 1 == bytes.size();
            if (!SleepUntil(ByteEnd(start, sent), last)) {
                return false;
            }
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
