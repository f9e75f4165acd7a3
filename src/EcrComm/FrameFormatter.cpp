#include "EcrComm/FrameFormatter.h"

#include <cstring>

#include "Exceptions.h"

bool FrameFormatter::IsValidFrame(const byte* frame, uint16 frameSize,
                                  uint16 expectedDataLength) const {
    if (expectedDataLength + Frame::HeaderSize > frameSize) {
        THROW_INTERNAL_ERROR();
    }
    if (Frame::GetProtocolID(frame) != m_protocolID) {
        return false;
    }
    return expectedDataLength == 0 || Frame::GetDataLength(frame) == expectedDataLength;
}

uint16 FrameFormatter::BuildFrame(byte* frame, uint16 frameBufSize, const byte* data,
                                  uint16 dataLength) const {
    if (dataLength + Frame::HeaderSize > frameBufSize) {
        THROW_INTERNAL_ERROR();
    }
    Frame::SetHeader(frame, static_cast<ProtocolID>(m_protocolID), dataLength);
    if (dataLength != 0) {
        std::memcpy(frame + Frame::DataOffset, data, dataLength);
    }
    return static_cast<uint16>(dataLength + Frame::HeaderSize);
}

uint16 FrameFormatter::ParseFrame(const byte* frame, uint16 frameSize, byte* data,
                                  uint16 dataBufSize) const {
    if (!IsValidFrame(frame, frameSize, 0)) {
        return 0;
    }
    const uint16 dataLength = Frame::GetDataLength(frame);
    // The announced length must also lie inside the frame buffer, or the copy would read
    // past it.
    if (dataLength > dataBufSize || dataLength + Frame::HeaderSize > frameSize) {
        return 0;
    }
    if (dataLength != 0) {
        std::memcpy(data, frame + Frame::DataOffset, dataLength);
    }
    return dataLength;
}
