// Transport-control frames, version 3 (the current one):
//   STX, sequence number, escaped payload, escaped Part1, escaped Part2, ETX
// with Part1 = seq ^ payload bytes and Part2 = seq + payload bytes + payload length.
// Versions 2 and 1 (Compatibility/) use the same layout code from the tcframe namespace below
// and differ only in their header and their check bytes.
#pragma once

#include "EcrComm/CommBase.h"
#include "EcrComm/CommChannels/Compatibility/TcFrameSeqNo.h"

// Check bytes of a version 3 frame: an XOR byte and an additive byte.
struct CRC {
    byte Part1; // seq ^ payload bytes
    byte Part2; // seq + payload bytes + payload length, modulo 256
    // Holds part1 and part2 as given.
    CRC(byte part1, byte part2) : Part1(part1), Part2(part2) {}
};

// Version 3 frames. Stateless: nothing allocates, keeps state or raises.
class TcFrame {
public:
    // The functions of the tcframe namespace below, shared by all three versions.
    static bool IsControlByte(byte value);
    static uint16 EscapeByte(byte* dest, byte value);
    static uint16 UnescapeByte(const byte* src, byte& value);
    // Builds the frame of the dataSize payload bytes with sequence number seqNo into frame and
    // returns its length; 0, with nothing written, for an invalid seqNo (1 to 31) or a frame
    // longer than frameBufSize. An empty payload gives a 5-byte frame.
    static uint16 Build(const byte* data, uint16 dataSize, byte seqNo, byte* frame,
                        uint16 frameBufSize);
    // Unescapes the frame's payload into data and returns its length; 0 for a frame shorter
    // than 5 bytes, not delimited by STX and ETX, with too many DLE bytes, a payload beyond
    // dataBufSize, an invalid sequence number or check bytes that do not match, and also for an
    // empty payload. seqNo receives frame[1] once those sizes and delimiters pass, even when the
    // frame is then refused. data may be frame itself: the frame is then parsed in place.
    static uint16 Parse(const byte* frame, uint16 frameSize, byte& seqNo, byte* data,
                        uint16 dataBufSize);

private:
    static CRC CalculateCRC(byte seqNo, const byte* data, uint16 dataSize);
};

// Layout shared by the three frame versions. Nothing here allocates or keeps state.
namespace tcframe {

const byte STX = 0x02; // first byte of every frame
const byte ETX = 0x03; // last byte of every frame
const byte ACK = 0x06; // the receiver's answer to a good frame
const byte DLE = 0x10; // escape prefix: DLE, value - 0x60 stands for a control byte
const byte NAK = 0x15; // the receiver's answer to a bad or empty frame

// STX, ETX, ACK, DLE and NAK: the bytes that are escaped inside a frame.
bool IsControlByte(byte value);
// Writes value at dest, or its escaped form with the DLE at dest - 1 (the frame is filled
// from its end). Returns the bytes written, 1 or 2. REQUIRES: dest - 1 is writable when value
// is a control byte.
uint16 EscapeByte(byte* dest, byte value);
// Reads one byte, or an escaped pair, from src: DLE, x gives x + 0x60, whatever x is. Returns
// the bytes consumed, 1 or 2.
uint16 UnescapeByte(const byte* src, byte& value);

// Builds header (STX first), escaped payload, escaped check bytes and ETX into frame.
// Returns the frame length, or 0 when the frame would not fit frameBufSize (nothing is
// written then). The header is copied as it is, unescaped.
uint16 Compose(const byte* header, uint16 headerSize, const byte* data, uint16 dataSize, byte part1,
               byte part2, byte* frame, uint16 frameBufSize);
// Checks the frame's boundary bytes and derives the payload length from the frame size and
// the number of DLE bytes in it. False when the frame is too short, not delimited by STX and
// ETX, or holds more DLE bytes than its size allows. Otherwise payloadSize = frameSize -
// headerSize - 3 - the DLE bytes, and true.
bool MeasurePayload(const byte* frame, uint16 frameSize, uint16 headerSize, uint16& payloadSize);
// Unescapes payloadSize bytes starting after the header into data, then the two check bytes.
// data may be frame itself: the write position never passes the read position. REQUIRES:
// MeasurePayload accepted the frame and gave payloadSize; data holds payloadSize bytes.
void Decompose(const byte* frame, uint16 headerSize, uint16 payloadSize, byte* data, byte& part1,
               byte& part2);

// Versions 3 and 2 put STX and the sequence number ahead of the payload and differ only in
// their check bytes, which calculate works out from the sequence number and the payload.
// Returns the frame length, or 0 for an invalid seqNo or as Compose does.
template <typename Check>
uint16 BuildSequenced(Check (*calculate)(byte, const byte*, uint16), const byte* data,
                      uint16 dataSize, byte seqNo, byte* frame, uint16 frameBufSize) {
    if (!TcFrameSeqNo::IsValid(seqNo)) {
        return 0;
    }
    const Check check = calculate(seqNo, data, dataSize);
    const byte header[] = {STX, seqNo};
    return Compose(header, sizeof(header), data, dataSize, check.Part1, check.Part2, frame,
                   frameBufSize);
}

// Returns the payload length, or 0 as TcFrame::Parse says. The sequence number is stored once
// the sizes and delimiters pass, even when the frame is then refused.
template <typename Check>
uint16 ParseSequenced(Check (*calculate)(byte, const byte*, uint16), const byte* frame,
                      uint16 frameSize, byte& seqNo, byte* data, uint16 dataBufSize) {
    const uint16 headerSize = 2;
    uint16 payloadSize = 0;
    if (!MeasurePayload(frame, frameSize, headerSize, payloadSize) || payloadSize > dataBufSize) {
        return 0;
    }
    seqNo = frame[1];
    if (!TcFrameSeqNo::IsValid(seqNo)) {
        return 0;
    }
    byte part1 = 0;
    byte part2 = 0;
    Decompose(frame, headerSize, payloadSize, data, part1, part2);
    const Check check = calculate(seqNo, data, payloadSize);
    return check.Part1 == part1 && check.Part2 == part2 ? payloadSize : 0;
}

} // namespace tcframe
