#include "EcrComm/CommChannels/Compatibility/TcFrame_v1.h"

#include "EcrComm/CommChannels/TcFrame.h"

bool TcFrame_v1::IsControlByte(byte value) {
    return tcframe::IsControlByte(value);
}

uint16 TcFrame_v1::EscapeByte(byte* dest, byte value) {
    return tcframe::EscapeByte(dest, value);
}

uint16 TcFrame_v1::UnescapeByte(const byte* src, byte& value) {
    return tcframe::UnescapeByte(src, value);
}

CRC_v1 TcFrame_v1::CalculateCRC(const byte* data, uint16 dataSize) {
    byte xorValue = 0;
    byte sum = 0;
    for (uint16 i = 0; i < dataSize; ++i) {
        xorValue ^= data[i];
        sum = static_cast<byte>(sum + data[i]);
    }
    return CRC_v1(xorValue, static_cast<byte>(0 - (sum + xorValue)));
}

uint16 TcFrame_v1::Build(const byte* data, uint16 dataSize, byte* frame, uint16 frameBufSize) {
    const CRC_v1 crc = CalculateCRC(data, dataSize);
    const byte header[] = {tcframe::STX};
    return tcframe::Compose(header, sizeof(header), data, dataSize, crc.Part1, crc.Part2, frame,
                            frameBufSize);
}

uint16 TcFrame_v1::Parse(const byte* frame, uint16 frameSize, byte* data, uint16 dataBufSize) {
    const uint16 headerSize = 1;
    uint16 payloadSize = 0;
    if (!tcframe::MeasurePayload(frame, frameSize, headerSize, payloadSize) ||
        payloadSize > dataBufSize) {
        return 0;
    }
    byte part1 = 0;
    byte part2 = 0;
    tcframe::Decompose(frame, headerSize, payloadSize, data, part1, part2);
    const CRC_v1 crc = CalculateCRC(data, payloadSize);
    if (crc.Part1 != part1 || crc.Part2 != part2) {
        return 0;
    }
    return payloadSize;
}
