// Transport-control frames, version 2: the layout of version 3 (TcFrame), but Part2 does not
// add the payload length:
//   STX, sequence number, escaped payload, escaped Part1, escaped Part2, ETX
// with Part1 = seq ^ payload bytes and Part2 = seq + payload bytes.
#pragma once

#include "EcrComm/CommBase.h"

struct CRC_v2 {
    byte Part1;
    byte Part2;
    CRC_v2(byte part1, byte part2) : Part1(part1), Part2(part2) {}
};

class TcFrame_v2 {
public:
    static bool IsControlByte(byte value);
    static uint16 EscapeByte(byte* dest, byte value);
    static uint16 UnescapeByte(const byte* src, byte& value);
    static uint16 Build(const byte* data, uint16 dataSize, byte seqNo, byte* frame,
                        uint16 frameBufSize);
    static uint16 Parse(const byte* frame, uint16 frameSize, byte& seqNo, byte* data,
                        uint16 dataBufSize);

private:
    static CRC_v2 CalculateCRC(byte seqNo, const byte* data, uint16 dataSize);
};
