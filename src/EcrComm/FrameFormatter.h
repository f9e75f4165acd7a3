// Application frames: protocol identifier, little-endian data length, data.
#pragma once

#include "EcrComm/CommBase.h"

// Wire layout of an application frame. The header is read and written byte by byte, so the
// host's byte order and alignment never matter. REQUIRES (all three accessors): frame holds at
// least HeaderSize bytes.
struct Frame {
    static const uint16 ProtocolIdOffset = 0;    // one byte, a ProtocolID
    static const uint16 DataLengthOffset = 1;    // two bytes, little-endian
    static const uint16 DataOffset = 3;          // the data, as many bytes as the length says
    static const uint16 HeaderSize = DataOffset; // bytes ahead of the data

    // The frame's protocol identifier as it stands, not checked against the list.
    static ProtocolID GetProtocolID(const byte* frame) {
        return static_cast<ProtocolID>(frame[ProtocolIdOffset]);
    }
    // The data length the header announces, not checked against anything.
    static uint16 GetDataLength(const byte* frame) {
        return static_cast<uint16>(frame[DataLengthOffset] | (frame[DataLengthOffset + 1] << 8));
    }
    // Writes id and dataLength into the first HeaderSize bytes of frame.
    static void SetHeader(byte* frame, ProtocolID id, uint16 dataLength) {
        frame[ProtocolIdOffset] = id;
        frame[DataLengthOffset] = static_cast<byte>(dataLength & 0xFF);
        frame[DataLengthOffset + 1] = static_cast<byte>(dataLength >> 8);
    }
};

// Builds and checks the frames of one protocol.
class FrameFormatter {
public:
    // A formatter for protocol id, fixed for its lifetime.
    explicit FrameFormatter(ProtocolID id) : m_protocolID(id) {}

    // Whether the frame carries this protocol and, when expectedDataLength is not 0, announces
    // exactly that much data. Raises InternalException (exit status 99) when expectedDataLength
    // + HeaderSize exceeds frameSize: a buffer too small for the expected frame is a programming
    // error, not a line error.
    bool IsValidFrame(const byte* frame, uint16 frameSize, uint16 expectedDataLength) const;
    // Writes the header and the data into frame and returns the frame length, dataLength +
    // HeaderSize; data may be null when dataLength is 0. Raises InternalException (exit status
    // 99) when the frame does not fit frameBufSize, a programming error.
    uint16 BuildFrame(byte* frame, uint16 frameBufSize, const byte* data, uint16 dataLength) const;
    // Copies the frame's data into data and returns its length; 0 for an empty frame, a frame of
    // another protocol, or an announced length beyond dataBufSize or beyond what frameSize
    // holds. Raises InternalException (exit status 99) for a frameSize below HeaderSize.
    uint16 ParseFrame(const byte* frame, uint16 frameSize, byte* data, uint16 dataBufSize) const;

private:
    uint8_t m_protocolID;
};
