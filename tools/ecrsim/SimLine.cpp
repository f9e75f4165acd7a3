#include "SimLine.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <poll.h>
#include <unistd.h>

SimLine::SimLine(int fd, double corruptRate, unsigned seed)
    : m_fd(fd), m_corruptRate(corruptRate), m_random(seed) {}

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

bool SimLine::ReadByte(byte& value, int timeoutMs) {
    if (m_position == m_buffer.size()) {
        pollfd pfd = {m_fd, POLLIN, 0};
        const int ready = poll(&pfd, 1, timeoutMs);
        if (ready <= 0) {
            return false;
        }
        byte chunk[4096];
        const ssize_t got = read(m_fd, chunk, sizeof(chunk));
        if (got < 0 && (errno == EINTR || errno == EAGAIN)) {
            return false;
        }
        if (got <= 0) {
            std::fprintf(stderr, "ecrsim: the line is gone\n");
            std::exit(1);
        }
        m_buffer.assign(chunk, chunk + got);
        m_position = 0;
    }
    value = MaybeDamage(m_buffer[m_position++]);
    return true;
}

void SimLine::Write(const std::vector<byte>& bytes) {
    std::vector<byte> out(bytes);
    for (byte& b : out) {
        b = MaybeDamage(b);
    }
    size_t written = 0;
    while (written < out.size()) {
        const ssize_t n = write(m_fd, out.data() + written, out.size() - written);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            std::fprintf(stderr, "ecrsim: write to the line failed\n");
            std::exit(1);
        }
        written += static_cast<size_t>(n);
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
