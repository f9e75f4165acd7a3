// The channel with transport control ("STCP" in the logs): every block written goes out as one
// checked, sequence-numbered frame that the ECR must acknowledge, and every block read arrives
// as such a frame, which is checked, acknowledged and stripped of duplicates. When the ECR
// rejects every attempt, the next frame version is tried, and the one that works is stored in
// "SerialProtocolVersion" for the next connection.
#pragma once

#include "EcrComm/CommChannel.h"

class PortWithTC : public ICommChannel {
public:
    // CommChannel_SerialPortWithTC runs over a serial port, CommChannel_EthernetWithTC over the
    // network channel.
    explicit PortWithTC(CommChannelType type);
    // Runs over the given channel, which the port then owns.
    explicit PortWithTC(ICommChannel* innerChannel);
    // Frees the inner channel without closing it.
    ~PortWithTC() override;
    PortWithTC(const PortWithTC&) = delete;
    PortWithTC& operator=(const PortWithTC&) = delete;

    // Opens the inner channel, then loads the protocol settings and restarts the sequence
    // numbers.
    void Open() override;
    void Close() override;
    void SetReadTimeout(unsigned int ms) override;
    void GetReadTimeout(unsigned int& ms) override;
    // Hands out the payload of received frames; a frame is only read once the previous one
    // has been handed out completely.
    bool Read(byte* data, unsigned int size) override;
    // Sends data as one frame and waits for its acknowledgement, retrying and switching the
    // frame version as needed.
    bool Write(const byte* data, unsigned int size) override;
    bool WriteDirect(const byte* data, unsigned int size) override;
    unsigned int ReadUnknownSize(byte* data, unsigned int size, byte endByte) override;

    // Waits up to the response time for one byte.
    bool ReadResponse(byte& response);
    uint16 BuildTcFrame(const byte* data, uint16 size, byte seqNo, byte* frame,
                        uint16 frameBufSize);
    uint16 ParseTcFrame(const byte* frame, uint16 size, byte& seqNo, byte* data,
                        uint16 dataBufSize);
    // Drops (and logs) the bytes ahead of the first STX in the receive buffer; returns the
    // bytes left.
    uint16 RemoveGarbage(uint16 bytesInBuffer);
    // Reads one frame into the receive buffer, after the bytesInBuffer already there, and
    // answers it. True for a new frame with payload.
    bool ReadFrame(uint16 bytesInBuffer);

    int GetProtocolVersion() const { return m_protocolVersion; }

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
