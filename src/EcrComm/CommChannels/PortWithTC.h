// The channel with transport control ("STCP" in the logs): every block written goes out as one
// checked, sequence-numbered frame that the ECR must acknowledge, and every block read arrives
// as such a frame, which is checked, acknowledged and stripped of duplicates. When the ECR
// rejects every attempt, the next frame version is tried, and the one that works is stored in
// "SerialProtocolVersion" for the next connection.
#pragma once

#include "EcrComm/CommChannel.h"

// Every member below that talks over the line raises what the inner channel raises (ComPort.h).
class PortWithTC : public ICommChannel {
public:
    // CommChannel_SerialPortWithTC runs over a new serial port, CommChannel_EthernetWithTC over
    // the network channel. Raises InternalException (exit status 99) for any other type.
    explicit PortWithTC(CommChannelType type);
    // Runs over the given channel, which the port then owns. REQUIRES: innerChannel is not null.
    explicit PortWithTC(ICommChannel* innerChannel);
    // Frees the inner channel without closing it.
    ~PortWithTC() override;
    // Not copyable: it owns the inner channel.
    PortWithTC(const PortWithTC&) = delete;
    PortWithTC& operator=(const PortWithTC&) = delete;

    // Opens the inner channel, then reads "SerialProtocolVersion" (default 3; 1 and 2 choose
    // those versions, any other value version 3), "SerialProtocolRetryCount" (default 10) and
    // "SerialProtocolResponseMaxTime" (default 1000 ms), none range-checked; restarts the
    // sequence numbers (the first frame sent carries 0, the first one taken must carry 32) and
    // forgets unread payload. Must come before Read and Write.
    void Open() override;
    // Closes the inner channel; the protocol state stays until the next Open. Raises nothing.
    void Close() override;
    // The inner channel's first-byte timeout, set and read as that channel does.
    void SetReadTimeout(unsigned int ms) override;
    void GetReadTimeout(unsigned int& ms) override;
    // Hands out payload of received frames. With payload of the last frame left, copies up to
    // size bytes of it and reads no frame, even when fewer are left; otherwise reads a new frame
    // in up to "SerialProtocolRetryCount" attempts (none with a count of 0 or less) and copies
    // from it. True only when size bytes were copied. Raises InternalException (exit status 99)
    // for size 0 or null data.
    bool Read(byte* data, unsigned int size) override;
    // Drops unread payload and sends data as one frame, up to "SerialProtocolRetryCount" times,
    // each time waiting "SerialProtocolResponseMaxTime" for ACK; a good frame from the ECR in
    // place of the ACK confirms the block too, its payload left for Read. When every attempt
    // draws NAK (or none is allowed), moves to the next version (3 -> 1 -> 2 -> 3) and writes
    // again, at most three versions in all; the one that works becomes "SerialProtocolVersion"
    // for the run's next connection. True when the block was confirmed. Raises
    // InternalException (exit status 99) for size 0, null data, more than 1024 bytes, or a frame
    // that does not fit 1024 bytes once escaped.
    bool Write(const byte* data, unsigned int size) override;
    // The inner channel's WriteDirect: the bytes go without a frame and unacknowledged.
    bool WriteDirect(const byte* data, unsigned int size) override;
    // The inner channel's ReadUnknownSize: raw bytes, outside any frame.
    unsigned int ReadUnknownSize(byte* data, unsigned int size, byte endByte) override;

    // Waits up to "SerialProtocolResponseMaxTime" for one byte into response, then restores
    // the inner channel's read timeout; true when a byte came.
    bool ReadResponse(byte& response);
    // TcFrame_v1::Build (seqNo unused), TcFrame_v2::Build or TcFrame::Build by the version in
    // use: the frame length, or 0 for an invalid seqNo or a frame beyond frameBufSize.
    uint16 BuildTcFrame(const byte* data, uint16 size, byte seqNo, byte* frame,
                        uint16 frameBufSize);
    // TcFrame_v1::Parse, TcFrame_v2::Parse or TcFrame::Parse by the version in use: the payload
    // length, 0 for a bad or empty frame. Version 1 frames carry no number, so seqNo is then set
    // to the number expected next, and the sequence check always passes.
    uint16 ParseTcFrame(const byte* frame, uint16 size, byte& seqNo, byte* data,
                        uint16 dataBufSize);
    // Drops the bytes ahead of the first STX among the bytesInBuffer bytes of the receive
    // buffer, logging them as a block marked " (ignored by STCP)", and returns the bytes left;
    // 0 when there is no STX. A buffer that starts with STX is left alone. Raises nothing.
    uint16 RemoveGarbage(uint16 bytesInBuffer);
    // Reads one frame (up to ETX, or silence) into the receive buffer, after the bytesInBuffer
    // already there, drops garbage ahead of it, parses it in place and answers ACK, or NAK for a
    // bad or empty frame. True for a frame with payload and the expected sequence number; false
    // also for a repetition, acknowledged and dropped. REQUIRES: bytesInBuffer < 1024.
    bool ReadFrame(uint16 bytesInBuffer);

    // The frame version in use: "SerialProtocolVersion" as read at Open, or the one a version
    // switch moved to.
    int GetProtocolVersion() const { return m_protocolVersion; }

    // The newest frame version, used when "SerialProtocolVersion" is not set.
    static const int m_MaxProtocolVersion = 3;

private:
    enum Delivery {
        Delivery_Confirmed,        // acknowledged, or answered at once with a good frame
        Delivery_Lost,             // some attempt went unanswered
        Delivery_RefusedEveryTime, // every attempt was answered with NAK
    };

    bool DeliverPayload(byte* data, unsigned int size);
    void RestartSequenceNumbers();
    // Sends the built frame up to m_retryCount times until the ECR confirms it.
    Delivery SendWithAttempts(const byte* frame, uint16 frameSize);
    // Moves to the next frame version (3 -> 1 -> 2 -> 3), restarts the sequence numbers and
    // writes the block again; on success the version is kept for the next connection.
    bool WriteInNextVersion(const byte* data, unsigned int size);

    int m_protocolVersion;
    int m_retryCount;
    int m_responseTimeoutMs;
    byte m_nextSndFrameSeqNo;
    byte m_nextRcvFrameSeqNo;
    byte m_rcvFrameBuf[1024];
    uint16 m_lastRcvFrameBytesTotal;
    uint16 m_lastRcvFrameBytesRead;
    ICommChannel* m_pCommunicationChannel;
    // How deeply Write has called itself through version switches.
    int m_writeEntryLevel;
};
