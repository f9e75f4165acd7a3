// The cash register's side of the transport-control protocol: frames from the PC are checked,
// acknowledged (NAK for a damaged one) and de-duplicated by sequence number; frames to the PC
// are repeated until acknowledged.
//
// The PC may answer a frame of ours with a frame of its own instead of an ACK (it was sending
// when our frame arrived, and takes our frame as the acknowledgement of its own). Such a frame
// is accepted without an answer and handed out by the next Receive.
#pragma once

#include <deque>
#include <vector>

#include "SimLine.h"
#include "SimOptions.h"

class SimTransport {
public:
    SimTransport(SimLine& line, const SimOptions& options);

    // The next good frame's payload within timeoutMs; false when none came.
    bool Receive(std::vector<byte>& payload, int timeoutMs);
    // Sends one frame until the PC acknowledges it; false after the last attempt.
    bool Send(const std::vector<byte>& payload);
    // True once after the PC has opened the line anew (its first frame carries number 0).
    bool TakeNewConnection();

private:
    enum FrameVerdict { Frame_New, Frame_Repeated, Frame_Bad, Frame_Ignored };

    // Reads bytes up to a complete STX..ETX frame; leading noise is dropped and logged.
    bool ReadRawFrame(std::vector<byte>& raw, int firstByteTimeoutMs, bool stxTaken);
    FrameVerdict Check(const std::vector<byte>& raw, std::vector<byte>& payload);
    std::vector<byte> Build(const std::vector<byte>& payload);
    void Answer(byte answer);

    SimLine& m_line;
    const SimOptions& m_options;
    std::deque<std::vector<byte>> m_received;
    byte m_sendSeqNo = 32;
    int m_lastReceivedSeqNo = -1;
    int m_framesSeen = 0;
    bool m_newConnection = false;
};
