// Transport-control frames, version 1: no sequence number, and check bytes that make the byte
// sum of payload and check bytes 0:
//   STX, escaped payload, escaped Part1, escaped Part2, ETX
// with Part1 = XOR of the payload bytes and Part2 = -(payload bytes + Part1).
#pragma once

#include "EcrComm/CommBase.h"

struct CRC_v1 {
    byte Part1;
    byte Part2;
    CRC_v1(byte part1, byte part2) : Part1(part1), Part2(part2) {}
};

class TcFrame_v1 {
public:
    static bool IsControlByte(byte value);
    static uint16 EscapeByte(byte* dest, byte value);
    static uint16 UnescapeByte(const byte* src, byte& value);
    static uint16 Build(const byte* data, uint16 dataSize, byte* frame, uint16 frameBufSize);
    static uint16 Parse(const byte* frame, uint16 frameSize, byte* data, uint16 dataBufSize);

private:
    static CRC_v1 CalculateCRC(const byte* data, uint16 dataSize);
};
