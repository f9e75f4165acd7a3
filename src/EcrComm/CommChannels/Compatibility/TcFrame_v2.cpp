#include "EcrComm/CommChannels/Compatibility/TcFrame_v2.h"

#include "EcrComm/CommChannels/Compatibility/TcFrameSeqNo.h"
#include "EcrComm/CommChannels/TcFrame.h"

bool TcFrame_v2::IsControlByte(byte value) {
    return tcframe::IsControlByte(value);
}

uint16 TcFrame_v2::EscapeByte(byte* dest, byte value) {
    return tcframe::EscapeByte(dest, value);
}

uint16 TcFrame_v2::UnescapeByte(const byte* src, byte& value) {
    return tcframe::UnescapeByte(src, value);
}

CRC_v2 TcFrame_v2::CalculateCRC(byte seqNo, const byte* data, uint16 dataSize) {
    byte xorValue = seqNo;
    byte sum = seqNo;
    for (uint16 i = 0; i < dataSize; ++i) {
        xorValue ^= data[i];
        sum = static_cast<byte>(sum + data[i]);
    }
    return CRC_v2(xorValue, sum);
}

uint16 TcFrame_v2::Build(const byte* data, uint16 dataSize, byte seqNo, byte* frame,
                         uint16 frameBufSize) {
    if (!TcFrameSeqNo::IsValid(seqNo)) {
        return 0;
    }
    const CRC_v2 crc = CalculateCRC(seqNo, data, dataSize);
    const byte header[] = {tcframe::STX, seqNo};
    return tcframe::Compose(header, sizeof(header), data, dataSize, crc.Part1, crc.Part2, frame,
                            frameBufSize);
}

uint16 TcFrame_v2::Parse(const byte* frame, uint16 frameSize, byte& seqNo, byte* data,
                         uint16 dataBufSize) {
    const uint16 headerSize = 2;
    uint16 payloadSize = 0;
    if (!tcframe::MeasurePayload(frame, frameSize, headerSize, payloadSize) ||
        payloadSize > dataBufSize) {
        return 0;
    }
    seqNo = frame[1];
    if (!TcFrameSeqNo::IsValid(seqNo)) {
        return 0;
    }
    byte part1 = 0;
    byte part2 = 0;
    tcframe::Decompose(frame, headerSize, payloadSize, data, part1, part2);
    const CRC_v2 crc = CalculateCRC(seqNo, data, payloadSize);
    if (crc.Part1 != part1 || crc.Part2 != part2) {
        return 0;
    }
    return payloadSize;
}
