#include "SimTransport.h"

#include <algorithm>
#include <cstdio>

#include "EcrComm/CommChannels/Compatibility/TcFrameSeqNo.h"
#include "EcrComm/CommChannels/Compatibility/TcFrame_v1.h"
#include "EcrComm/CommChannels/Compatibility/TcFrame_v2.h"
#include "EcrComm/CommChannels/TcFrame.h"

namespace {

const int interByteTimeoutMs = 200;
const size_t maxFrameSize = 2100; // a 1024-byte payload with every byte escaped

} // namespace

SimTransport::SimTransport(SimLine& line, const SimOptions& options)
    : m_line(line), m_options(options) {}

bool SimTransport::TakeNewConnection() {
    const bool isNew = m_newConnection;
    m_newConnection = false;
    return isNew;
}

bool SimTransport::ReadRawFrame(std::vector<byte>& raw, int firstByteTimeoutMs, bool stxTaken) {
    raw.clear();
    std::vector<byte> noise;
    if (stxTaken) {
        raw.push_back(tcframe::STX);
    }
    int timeoutMs = firstByteTimeoutMs;
    // A slow line needs longer between two bytes of a frame.
    const int gapMs = std::max(interByteTimeoutMs, static_cast<int>(4 * m_line.ByteTimeMs()));
    byte b;
    while (m_line.ReadByte(b, timeoutMs)) {
        timeoutMs = gapMs;
        if (b == tcframe::STX) {
            if (!raw.empty()) {
                noise.insert(noise.end(), raw.begin(), raw.end()); // a frame start again
            }
            raw.assign(1, b);
        } else if (raw.empty()) {
            noise.push_back(b);
        } else {
            raw.push_back(b);
            if (b == tcframe::ETX) {
                break;
            }
            if (raw.size() > maxFrameSize) {
                noise.insert(noise.end(), raw.begin(), raw.end());
                raw.clear();
            }
        }
    }
    if (!noise.empty() && !m_options.quiet) {
        std::fprintf(stderr, "ecrsim: <- noise %s\n", HexBytes(noise).c_str());
    }
    return !raw.empty() && raw.back() == tcframe::ETX && raw.size() > 1;
}

SimTransport::FrameVerdict SimTransport::Check(const std::vector<byte>& raw,
                                               std::vector<byte>& payload) {
    ++m_framesSeen;
    if (m_framesSeen <= m_options.ignoreFirst) {
        return Frame_Ignored;
    }
    if (m_framesSeen <= m_options.ignoreFirst + m_options.nakFirst) {
        return Frame_Bad;
    }
    byte seqNo = 0;
    if (!Parse(raw, payload, seqNo)) {
        return Frame_Bad;
    }
    if (m_options.tcVersion == 1) {
        return Frame_New; // no sequence numbers to tell a repetition by
    }
    if (seqNo == m_lastReceivedSeqNo &&
        (seqNo != 0 || (!m_linkConfirmed && payload == m_firstPayload))) {
        // A frame numbered 0 is a repetition (our ACK was lost) only while the PC may still be
        // sending it: once it has taken a frame of ours, a frame 0 opens a new link.
        return Frame_Repeated;
    }
    if (seqNo == 0) {
        StartNewLink(payload);
    }
    m_lastReceivedSeqNo = seqNo;
    return Frame_New;
}

bool SimTransport::Parse(const std::vector<byte>& raw, std::vector<byte>& payload, byte& seqNo) {
    payload.assign(1024, 0);
    const uint16 size = static_cast<uint16>(raw.size());
    uint16 length;
    switch (m_options.tcVersion) {
    case 1:
        length = TcFrame_v1::Parse(raw.data(), size, payload.data(), 1024);
        break;
    case 2:
        length = TcFrame_v2::Parse(raw.data(), size, seqNo, payload.data(), 1024);
        break;
    default:
        length = TcFrame::Parse(raw.data(), size, seqNo, payload.data(), 1024);
        break;
    }
    payload.resize(length);
    return length != 0;
}

// The PC opened the line (or changed the protocol version): numbering starts anew, and
// whatever the PC has not read yet belongs to the old link.
void SimTransport::StartNewLink(const std::vector<byte>& payload) {
    if (!m_stalled) {
        m_line.DropUnread();
    }
    m_newConnection = true;
    m_sendSeqNo = 32;
    m_firstPayload = payload;
    m_linkConfirmed = false;
}

void SimTransport::Answer(byte answer) {
    if (!m_stalled) {
        m_line.Write(std::vector<byte>(1, answer));
    }
}

bool SimTransport::StallHere(const std::vector<byte>& frame) {
    if (++m_framesSent != m_options.stallAnswer) {
        return false;
    }
    m_line.Write(std::vector<byte>(frame.begin(), frame.begin() + 1));
    m_stalled = true;
    if (!m_options.quiet) {
        std::fprintf(stderr, "ecrsim: -> frame cut after STX on purpose; silent from now on\n");
    }
    return true;
}

bool SimTransport::Receive(std::vector<byte>& payload, int timeoutMs) {
    if (!m_received.empty()) {
        payload = m_received.front();
        m_received.pop_front();
        return true;
    }
    std::vector<byte> raw;
    while (ReadRawFrame(raw, timeoutMs, false)) {
        switch (Check(raw, payload)) {
        case Frame_New:
            Answer(tcframe::ACK);
            return true;
        case Frame_Repeated:
            if (!m_options.quiet) {
                std::fprintf(stderr, "ecrsim: <- repeated frame, acknowledged and dropped\n");
            }
            Answer(tcframe::ACK);
            break;
        case Frame_Bad:
            if (!m_options.quiet) {
                std::fprintf(stderr, "ecrsim: <- bad frame %s, NAK\n", HexBytes(raw).c_str());
            }
            Answer(tcframe::NAK);
            break;
        case Frame_Ignored:
            if (!m_options.quiet) {
                std::fprintf(stderr, "ecrsim: <- frame ignored on purpose\n");
            }
            break;
        }
    }
    return false;
}

std::vector<byte> SimTransport::Build(const std::vector<byte>& payload) {
    std::vector<byte> frame(2 * payload.size() + 16);
    const uint16 size = static_cast<uint16>(payload.size());
    const uint16 capacity = static_cast<uint16>(frame.size());
    uint16 length;
    switch (m_options.tcVersion) {
    case 1:
        length = TcFrame_v1::Build(payload.data(), size, frame.data(), capacity);
        break;
    case 2:
        length = TcFrame_v2::Build(payload.data(), size, m_sendSeqNo, frame.data(), capacity);
        break;
    default:
        length = TcFrame::Build(payload.data(), size, m_sendSeqNo, frame.data(), capacity);
        break;
    }
    m_sendSeqNo = TcFrameSeqNo::Next(m_sendSeqNo);
    frame.resize(length);
    return frame;
}

SimTransport::SendResult SimTransport::Send(const std::vector<byte>& payload) {
    if (m_stalled) {
        return Send_Abandoned;
    }
    const std::vector<byte> frame = Build(payload);
    if (StallHere(frame)) {
        return Send_Abandoned;
    }
    for (int attempt = 1; attempt <= m_options.retries; ++attempt) {
        // Noise and frame as one block, so the turnaround comes once.
        std::vector<byte> block = m_line.Noise(m_options.garbageBytes);
        block.insert(block.end(), frame.begin(), frame.end());
        m_line.Write(block);
        const SendResult result = AwaitAcknowledgement();
        if (result != Send_Lost) {
            return result;
        }
        if (SimLine::StopRequested()) {
            return Send_Abandoned;
        }
        if (!m_options.quiet) {
            std::fprintf(stderr, "ecrsim: -> frame not acknowledged (attempt %d)\n", attempt);
        }
    }
    return Send_Lost;
}

SimTransport::SendResult SimTransport::AwaitAcknowledgement() {
    byte b;
    while (m_line.ReadByte(b, m_options.ackTimeoutMs)) {
        if (b == tcframe::ACK) {
            m_linkConfirmed = true;
            return Send_Delivered;
        }
        if (b == tcframe::NAK) {
            break;
        }
        if (b != tcframe::STX) {
            continue; // a damaged answer: wait for the time-out, then repeat
        }
        // The PC's own frame, taken by the PC as answered by ours.
        std::vector<byte> raw;
        std::vector<byte> received;
        if (ReadRawFrame(raw, interByteTimeoutMs, true) && Check(raw, received) == Frame_New) {
            m_received.push_back(received);
        }
        if (m_newConnection) {
            // A new run of tavo, which does not want this frame of the old one.
            return Send_Abandoned;
        }
    }
    return Send_Lost;
}
