#include "EcrComm/CommChannels/PortWithTC.h"

#include <algorithm>
#include <cstring>

#include "AppConfig.h"
#include "Defaults.h"
#include "EcrComm/CommChannels/Compatibility/TcFrameSeqNo.h"
#include "EcrComm/CommChannels/Compatibility/TcFrame_v1.h"
#include "EcrComm/CommChannels/Compatibility/TcFrame_v2.h"
#include "EcrComm/CommChannels/DataLogger.h"
#include "EcrComm/CommChannels/Linux/ComPort.h"
#include "EcrComm/CommChannels/Linux/TCP.h"
#include "EcrComm/CommChannels/TcFrame.h"
#include "Exceptions.h"
#include "Tools.h"

namespace {

// A version switch calls Write again; one outer Write tries at most this many versions.
const int maxWriteEntryLevel = 3;
const byte firstRcvFrameSeqNo = 32;

ICommChannel* CreateInnerChannel(CommChannelType type) {
    switch (type) {
    case CommChannel_SerialPortWithTC:
        return new ComPort();
    case CommChannel_EthernetWithTC:
        return new TCP();
    default:
        THROW_INTERNAL_ERROR();
    }
}

// Counts one level of Write nesting for as long as it lives, however Write is left.
class EntryLevelGuard {
public:
    explicit EntryLevelGuard(int& level) : m_level(level) { ++m_level; }
    ~EntryLevelGuard() { --m_level; }
    EntryLevelGuard(const EntryLevelGuard&) = delete;
    EntryLevelGuard& operator=(const EntryLevelGuard&) = delete;

private:
    int& m_level;
};

} // namespace

PortWithTC::PortWithTC(CommChannelType type) : PortWithTC(CreateInnerChannel(type)) {}

PortWithTC::PortWithTC(ICommChannel* innerChannel)
    : m_protocolVersion(m_MaxProtocolVersion), m_retryCount(0), m_responseTimeoutMs(0),
      m_nextSndFrameSeqNo(0), m_nextRcvFrameSeqNo(firstRcvFrameSeqNo), m_rcvFrameBuf(),
      m_lastRcvFrameBytesTotal(0), m_lastRcvFrameBytesRead(0),
      m_pCommunicationChannel(innerChannel), m_writeEntryLevel(0) {}

PortWithTC::~PortWithTC() {
    DeleteCommChannel(m_pCommunicationChannel);
}

void PortWithTC::RestartSequenceNumbers() {
    m_nextSndFrameSeqNo = 0;
    m_nextRcvFrameSeqNo = firstRcvFrameSeqNo;
}

void PortWithTC::Open() {
    m_pCommunicationChannel->Open();
    m_protocolVersion = AppConfig::GetParameter("SerialProtocolVersion", m_MaxProtocolVersion);
    m_retryCount = AppConfig::GetParameter("SerialProtocolRetryCount", defaultRetryCount);
    m_responseTimeoutMs =
        AppConfig::GetParameter("SerialProtocolResponseMaxTime", defaultResponseTimeoutMs);
    RestartSequenceNumbers();
    m_lastRcvFrameBytesTotal = 0;
    m_lastRcvFrameBytesRead = 0;
}

void PortWithTC::Close() {
    m_pCommunicationChannel->Close();
}

void PortWithTC::SetReadTimeout(unsigned int ms) {
    m_pCommunicationChannel->SetReadTimeout(ms);
}

void PortWithTC::GetReadTimeout(unsigned int& ms) {
    m_pCommunicationChannel->GetReadTimeout(ms);
}

bool PortWithTC::WriteDirect(const byte* data, unsigned int size) {
    return m_pCommunicationChannel->WriteDirect(data, size);
}

unsigned int PortWithTC::ReadUnknownSize(byte* data, unsigned int size, byte endByte) {
    return m_pCommunicationChannel->ReadUnknownSize(data, size, endByte);
}

uint16 PortWithTC::BuildTcFrame(const byte* data, uint16 size, byte seqNo, byte* frame,
                                uint16 frameBufSize) {
    switch (m_protocolVersion) {
    case 1:
        return TcFrame_v1::Build(data, size, frame, frameBufSize);
    case 2:
        return TcFrame_v2::Build(data, size, seqNo, frame, frameBufSize);
    default:
        return TcFrame::Build(data, size, seqNo, frame, frameBufSize);
    }
}

uint16 PortWithTC::ParseTcFrame(const byte* frame, uint16 size, byte& seqNo, byte* data,
                                uint16 dataBufSize) {
    switch (m_protocolVersion) {
    case 1:
        // Version 1 frames carry no number: every frame counts as the expected one.
        seqNo = m_nextRcvFrameSeqNo;
        return TcFrame_v1::Parse(frame, size, data, dataBufSize);
    case 2:
        return TcFrame_v2::Parse(frame, size, seqNo, data, dataBufSize);
    default:
        return TcFrame::Parse(frame, size, seqNo, data, dataBufSize);
    }
}

bool PortWithTC::ReadResponse(byte& response) {
    unsigned int savedTimeoutMs = 0;
    m_pCommunicationChannel->GetReadTimeout(savedTimeoutMs);
    m_pCommunicationChannel->SetReadTimeout(static_cast<unsigned int>(m_responseTimeoutMs));
    const bool received = m_pCommunicationChannel->Read(&response, 1);
    m_pCommunicationChannel->SetReadTimeout(savedTimeoutMs);
    return received;
}

uint16 PortWithTC::RemoveGarbage(uint16 bytesInBuffer) {
    if (bytesInBuffer == 0 || m_rcvFrameBuf[0] == tcframe::STX) {
        return bytesInBuffer;
    }
    uint16 frameStart = 1;
    while (frameStart < bytesInBuffer && m_rcvFrameBuf[frameStart] != tcframe::STX) {
        ++frameStart;
    }
    DataLogger::LogBlock(m_rcvFrameBuf, frameStart, 0, 0, Direction_EcrToPc, " (ignored by STCP)");
    const uint16 remaining = static_cast<uint16>(bytesInBuffer - frameStart);
    std::memmove(m_rcvFrameBuf, m_rcvFrameBuf + frameStart, remaining);
    return remaining;
}

bool PortWithTC::ReadFrame(uint16 bytesInBuffer) {
    const unsigned int bytesRead = m_pCommunicationChannel->ReadUnknownSize(
        m_rcvFrameBuf + bytesInBuffer, sizeof(m_rcvFrameBuf) - bytesInBuffer, tcframe::ETX);
    uint16 frameSize = RemoveGarbage(static_cast<uint16>(bytesInBuffer + bytesRead));
    if (frameSize == 0) {
        return false;
    }

    // Parsed in place: afterwards the buffer starts with the payload.
    byte seqNo = 0;
    const uint16 payloadSize =
        ParseTcFrame(m_rcvFrameBuf, frameSize, seqNo, m_rcvFrameBuf, sizeof(m_rcvFrameBuf));
    // A frame with an empty payload cannot be told from a bad one: both are refused.
    const byte answer = payloadSize > 0 ? tcframe::ACK : tcframe::NAK;
    if (!m_pCommunicationChannel->Write(&answer, 1) || answer == tcframe::NAK) {
        return false;
    }
    if (seqNo != m_nextRcvFrameSeqNo) {
        // The ECR repeats a frame whose acknowledgement it missed: taken once already.
        return false;
    }
    m_lastRcvFrameBytesTotal = payloadSize;
    m_nextRcvFrameSeqNo = TcFrameSeqNo::Next(seqNo);
    return true;
}

bool PortWithTC::DeliverPayload(byte* data, unsigned int size) {
    const unsigned int available = m_lastRcvFrameBytesTotal - m_lastRcvFrameBytesRead;
    const unsigned int count = std::min(available, size);
    std::memcpy(data, m_rcvFrameBuf + m_lastRcvFrameBytesRead, count);
    m_lastRcvFrameBytesRead = static_cast<uint16>(m_lastRcvFrameBytesRead + count);
    return count == size;
}

bool PortWithTC::Read(byte* data, unsigned int size) {
    if (size == 0 || data == nullptr) {
        THROW_INTERNAL_ERROR();
    }
    if (m_lastRcvFrameBytesRead != m_lastRcvFrameBytesTotal) {
        return DeliverPayload(data, size);
    }
    m_lastRcvFrameBytesTotal = 0;
    m_lastRcvFrameBytesRead = 0;
    bool received = false;
    for (int attempt = 0; attempt < m_retryCount && !received; ++attempt) {
        received = ReadFrame(0);
    }
    return received && DeliverPayload(data, size);
}

bool PortWithTC::Write(const byte* data, unsigned int size) {
    EntryLevelGuard entry(m_writeEntryLevel);
    if (m_writeEntryLevel > maxWriteEntryLevel) {
        return false;
    }
    if (size == 0 || data == nullptr || size > sizeof(m_rcvFrameBuf)) {
        THROW_INTERNAL_ERROR();
    }
    m_lastRcvFrameBytesTotal = 0;
    m_lastRcvFrameBytesRead = 0;

    byte frame[commIoBufferSize];
    const uint16 frameSize =
        BuildTcFrame(data, static_cast<uint16>(size), m_nextSndFrameSeqNo, frame, sizeof(frame));
    if (frameSize == 0) {
        THROW_INTERNAL_ERROR();
    }
    // Every attempt repeats the same frame with the same number.
    m_nextSndFrameSeqNo = TcFrameSeqNo::Next(m_nextSndFrameSeqNo);

    switch (SendWithAttempts(frame, frameSize)) {
    case Delivery_Confirmed:
        return true;
    case Delivery_Lost:
        return false;
    case Delivery_RefusedEveryTime:
        break;
    }
    return WriteInNextVersion(data, size);
}

PortWithTC::Delivery PortWithTC::SendWithAttempts(const byte* frame, uint16 frameSize) {
    int nakCount = 0;
    for (int attempt = 0; attempt < m_retryCount; ++attempt) {
        byte response = 0;
        if (!m_pCommunicationChannel->Write(frame, frameSize) || !ReadResponse(response)) {
            continue;
        }
        if (response == tcframe::ACK) {
            return Delivery_Confirmed;
        }
        if (response == tcframe::NAK) {
            ++nakCount;
            continue;
        }
        // The ECR skipped the acknowledgement and answered with a frame at once: its answer
        // also confirms the block.
        m_rcvFrameBuf[0] = response;
        if (ReadFrame(1)) {
            return Delivery_Confirmed;
        }
    }
    // No attempt at all counts as refused too: the version switch is the only way forward.
    return nakCount == m_retryCount || m_retryCount <= 0 ? Delivery_RefusedEveryTime
                                                         : Delivery_Lost;
}

bool PortWithTC::WriteInNextVersion(const byte* data, unsigned int size) {
    RestartSequenceNumbers();
    m_protocolVersion = m_protocolVersion + 1 > m_MaxProtocolVersion ? 1 : m_protocolVersion + 1;
    const bool delivered = Write(data, size);
    if (delivered) {
        // The next connection starts with the version that worked.
        AppConfig::SetParameter("SerialProtocolVersion", Format("%d", m_protocolVersion), true);
    }
    return delivered;
}
