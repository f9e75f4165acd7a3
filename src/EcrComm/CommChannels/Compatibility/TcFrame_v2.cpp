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
    return tcframe::BuildSequenced(&CalculateCRC, data, dataSize, seqNo, frame, frameBufSize);
}

uint16 TcFrame_v2::Parse(const byte* frame, uint16 frameSize, byte& seqNo, byte* data,
                         uint16 dataBufSize) {
    return tcframe::ParseSequenced(&CalculateCRC, frame, frameSize, seqNo, data, dataBufSize);
}
