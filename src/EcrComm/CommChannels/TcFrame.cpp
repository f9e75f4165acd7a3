#include "EcrComm/CommChannels/TcFrame.h"

#include "EcrComm/CommChannels/Compatibility/TcFrameSeqNo.h"

namespace tcframe {

namespace {
// An escaped byte travels as DLE followed by the value shifted by this amount.
const byte escapeShift = 0x60;
// ETX and the two check bytes.
const unsigned int trailerSize = 3;
} // namespace

bool IsControlByte(byte value) {
    return value == STX || value == ETX || value == ACK || value == DLE || value == NAK;
}

uint16 EscapeByte(byte* dest, byte value) {
    if (!IsControlByte(value)) {
        *dest = value;
        return 1;
    }
    *dest = static_cast<byte>(value - escapeShift);
    *(dest - 1) = DLE;
    return 2;
}

uint16 UnescapeByte(const byte* src, byte& value) {
    if (*src != DLE) {
        value = *src;
        return 1;
    }
    value = static_cast<byte>(src[1] + escapeShift);
    return 2;
}

uint16 Compose(const byte* header, uint16 headerSize, const byte* data, uint16 dataSize, byte part1,
               byte part2, byte* frame, uint16 frameBufSize) {
    unsigned int frameSize = headerSize + dataSize + trailerSize;
    for (uint16 i = 0; i < dataSize; ++i) {
        frameSize += IsControlByte(data[i]) ? 1 : 0;
    }
    frameSize += IsControlByte(part1) ? 1 : 0;
    frameSize += IsControlByte(part2) ? 1 : 0;
    if (frameSize > frameBufSize) {
        return 0;
    }

    // Filling from the end lets each DLE land in front of the byte it escapes.
    byte* pos = frame + frameSize - 1;
    *pos = ETX;
    pos -= EscapeByte(pos - 1, part2);
    pos -= EscapeByte(pos - 1, part1);
    for (uint16 i = dataSize; i > 0; --i) {
        pos -= EscapeByte(pos - 1, data[i - 1]);
    }
    for (uint16 i = 0; i < headerSize; ++i) {
        frame[i] = header[i];
    }
    return static_cast<uint16>(frameSize);
}

bool MeasurePayload(const byte* frame, uint16 frameSize, uint16 headerSize, uint16& payloadSize) {
    const unsigned int minFrameSize = headerSize + trailerSize;
    if (frameSize < minFrameSize || frame[0] != STX || frame[frameSize - 1] != ETX) {
        return false;
    }
    unsigned int dleCount = 0;
    for (uint16 i = 0; i < frameSize; ++i) {
        dleCount += frame[i] == DLE ? 1 : 0;
    }
    // More DLE bytes than the frame has room for would give a negative payload length.
    if (dleCount > frameSize - minFrameSize) {
        return false;
    }
    payloadSize = static_cast<uint16>(frameSize - minFrameSize - dleCount);
    return true;
}

void Decompose(const byte* frame, uint16 headerSize, uint16 payloadSize, byte* data, byte& part1,
               byte& part2) {
    const byte* src = frame + headerSize;
    for (uint16 i = 0; i < payloadSize; ++i) {
        byte value = 0;
        src += UnescapeByte(src, value);
        data[i] = value;
    }
    src += UnescapeByte(src, part1);
    UnescapeByte(src, part2);
}

} // namespace tcframe

bool TcFrame::IsControlByte(byte value) {
    return tcframe::IsControlByte(value);
}

uint16 TcFrame::EscapeByte(byte* dest, byte value) {
    return tcframe::EscapeByte(dest, value);
}

uint16 TcFrame::UnescapeByte(const byte* src, byte& value) {
    return tcframe::UnescapeByte(src, value);
}

CRC TcFrame::CalculateCRC(byte seqNo, const byte* data, uint16 dataSize) {
    byte xorValue = seqNo;
    byte sum = seqNo;
    for (uint16 i = 0; i < dataSize; ++i) {
        xorValue ^= data[i];
        sum = static_cast<byte>(sum + data[i]);
    }
    sum = static_cast<byte>(sum + dataSize);
    return CRC(xorValue, sum);
}

uint16 TcFrame::Build(const byte* data, uint16 dataSize, byte seqNo, byte* frame,
                      uint16 frameBufSize) {
    return tcframe::BuildSequenced(&CalculateCRC, data, dataSize, seqNo, frame, frameBufSize);
}

uint16 TcFrame::Parse(const byte* frame, uint16 frameSize, byte& seqNo, byte* data,
                      uint16 dataBufSize) {
    return tcframe::ParseSequenced(&CalculateCRC, frame, frameSize, seqNo, data, dataBufSize);
}
