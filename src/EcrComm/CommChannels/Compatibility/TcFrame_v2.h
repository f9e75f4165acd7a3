// Transport-control frames, version 2: the layout of version 3 (TcFrame), but Part2 does not
// add the payload length:
//   STX, sequence number, escaped payload, escaped Part1, escaped Part2, ETX
// with Part1 = seq ^ payload bytes and Part2 = seq + payload bytes.
#pragma once

#include "EcrComm/CommBase.h"

// Check bytes of a version 2 frame.
struct CRC_v2 {
    byte Part1; // seq ^ payload bytes
    byte Part2; // seq + payload bytes, modulo 256
    // Holds part1 and part2 as given.
    CRC_v2(byte part1, byte part2) : Part1(part1), Part2(part2) {}
};

// Version 2 frames. Stateless: nothing allocates, keeps state or raises.
class TcFrame_v2 {
public:
    // As in TcFrame: the three versions escape alike (tcframe in TcFrame.h).
    static bool IsControlByte(byte value);
    static uint16 EscapeByte(byte* dest, byte value);
    static uint16 UnescapeByte(const byte* src, byte& value);
    // As TcFrame::Build, with the version 2 check bytes.
    static uint16 Build(const byte* data, uint16 dataSize, byte seqNo, byte* frame,
                        uint16 frameBufSize);
    // As TcFrame::Parse, with the version 2 check bytes; seqNo is set as there.
    static uint16 Parse(const byte* frame, uint16 frameSize, byte& seqNo, byte* data,
                        uint16 dataBufSize);

private:
    static CRC_v2 CalculateCRC(byte seqNo, const byte* data, uint16 dataSize);
};
