// Application frames: protocol identifier, little-endian data length, data.
#pragma once

#include "EcrComm/CommBase.h"

// Wire layout of an application frame. The header is read and written byte by byte, so the
// host's byte order and alignment never matter.
struct Frame {
    static const uint16 ProtocolIdOffset = 0;
    static const uint16 DataLengthOffset = 1;
    static const uint16 DataOffset = 3;
    static const uint16 HeaderSize = DataOffset;

    static ProtocolID GetProtocolID(const byte* frame) {
        return static_cast<ProtocolID>(frame[ProtocolIdOffset]);
    }
    static uint16 GetDataLength(const byte* frame) {
        return static_cast<uint16>(frame[DataLengthOffset] | (frame[DataLengthOffset + 1] << 8));
    }
    static void SetHeader(byte* frame, ProtocolID id, uint16 dataLength) {
        frame[ProtocolIdOffset] = id;
        frame[DataLengthOffset] = static_cast<byte>(dataLength & 0xFF);
        frame[DataLengthOffset + 1] = static_cast<byte>(dataLength >> 8);
    }
};

// Builds and checks the frames of one protocol.
class FrameFormatter {
public:
    explicit FrameFormatter(ProtocolID id) : m_protocolID(id) {}

    // Whether the frame carries this protocol and, when expectedDataLength is not 0, exactly
    // that much data. A buffer too small for the expected frame is a programming error.
    bool IsValidFrame(const byte* frame, uint16 frameSize, uint16 expectedDataLength) const;
    // Returns the frame length; data that does not fit frameBufSize is a programming error.
    uint16 BuildFrame(byte* frame, uint16 frameBufSize, const byte* data, uint16 dataLength) const;
    // Returns the data length, 0 for a frame of another protocol or data larger than dataBufSize.
    uint16 ParseFrame(const byte* frame, uint16 frameSize, byte* data, uint16 dataBufSize) const;

private:
    uint8_t m_protocolID;
};
