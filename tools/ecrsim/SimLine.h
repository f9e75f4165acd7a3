// The simulator's end of the serial line: buffered byte reads with time limits, and writes,
// both with optional damage to single bytes.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

typedef uint8_t byte;

class SimLine {
public:
    SimLine(int fd, double corruptRate, unsigned seed);

    // One byte within timeoutMs; false when the line stayed silent.
    bool ReadByte(byte& value, int timeoutMs);
    void Write(const std::vector<byte>& bytes);
    // Noise that never contains a frame start.
    std::vector<byte> Noise(int count);

private:
    byte MaybeDamage(byte value);

    int m_fd;
    double m_corruptRate;
    std::mt19937 m_random;
    std::vector<byte> m_buffer;
    size_t m_position = 0;
};

// Hex dump of bytes for the traffic log: "02 20 41 03".
std::string HexBytes(const std::vector<byte>& bytes);
