// Transport-control frames, version 1: no sequence number, and check bytes that make the byte
// sum of payload and check bytes 0:
//   STX, escaped payload, escaped Part1, escaped Part2, ETX
// with Part1 = XOR of the payload bytes and Part2 = -(payload bytes + Part1).
#pragma once

#include "EcrComm/CommBase.h"

// Check bytes of a version 1 frame.
struct CRC_v1 {
    byte Part1; // XOR of the payload bytes; 0 for an empty payload
    byte Part2; // -(payload bytes + Part1), modulo 256
    // Holds part1 and part2 as given.
    CRC_v1(byte part1, byte part2) : Part1(part1), Part2(part2) {}
};

// Version 1 frames. Stateless: nothing allocates, keeps state or raises.
class TcFrame_v1 {
public:
    // As in TcFrame: the three versions escape alike (tcframe in TcFrame.h).
    static bool IsControlByte(byte value);
    static uint16 EscapeByte(byte* dest, byte value);
    static uint16 UnescapeByte(const byte* src, byte& value);
    // Builds the frame of the dataSize payload bytes into frame and returns its length; 0, with
    // nothing written, for a frame longer than frameBufSize. An empty payload gives the 4-byte
    // frame STX 00 00 ETX.
    static uint16 Build(const byte* data, uint16 dataSize, byte* frame, uint16 frameBufSize);
    // Unescapes the frame's payload into data and returns its length; 0 for a frame shorter
    // than 4 bytes, not delimited by STX and ETX, with too many DLE bytes, a payload beyond
    // dataBufSize or check bytes that do not match, and also for an empty payload. data may be
    // frame itself: the frame is then parsed in place.
    static uint16 Parse(const byte* frame, uint16 frameSize, byte* data, uint16 dataBufSize);

private:
    static CRC_v1 CalculateCRC(const byte* data, uint16 dataSize);
};
