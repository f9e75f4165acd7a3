// The cash register's side of the transport-control protocol: frames from the PC are checked,
// acknowledged (NAK for a damaged one) and de-duplicated by sequence number; frames to the PC
// are repeated until acknowledged.
//
// The PC may answer a frame of ours with a frame of its own instead of an ACK (it was sending
// when our frame arrived, and takes our frame as the acknowledgement of its own). Such a frame
// is accepted without an answer and handed out by the next Receive.
//
// A frame numbered 0 opens a new link (a new run of tavo): what is still on its way to the PC
// from before is dropped and a frame being sent is given up, so stale answers never reach the
// new run.
#pragma once

#include <deque>
#include <vector>

#include "SimLine.h"
#include "SimOptions.h"

class SimTransport {
public:
    enum SendResult {
        Send_Delivered, // the PC acknowledged the frame
        Send_Lost,      // no attempt was acknowledged: the PC is gone
        Send_Abandoned, // a new link began, a stop was requested, or the line is stalled
    };

    // Neither the line nor the options are owned; both must outlive the object.
    SimTransport(SimLine& line, const SimOptions& options);

    // The next good frame's payload within timeoutMs; false when none came. Once stalled,
    // frames are still read but never answered.
    bool Receive(std::vector<byte>& payload, int timeoutMs);
    // Sends one frame, repeated until the PC acknowledges it.
    SendResult Send(const std::vector<byte>& payload);
    // True once after the PC has opened the line anew (its first frame carries number 0).
    bool TakeNewConnection();
    // True after --stall-answer has cut a frame: the line stays silent from then on.
    bool Stalled() const { return m_stalled; }

private:
    enum FrameVerdict { Frame_New, Frame_Repeated, Frame_Bad, Frame_Ignored };

    // Reads bytes up to a complete STX..ETX frame; leading noise is dropped and logged.
    bool ReadRawFrame(std::vector<byte>& raw, int firstByteTimeoutMs, bool stxTaken);
    FrameVerdict Check(const std::vector<byte>& raw, std::vector<byte>& payload);
    // Unpacks a raw frame of the configured version; false when it is damaged.
    bool Parse(const std::vector<byte>& raw, std::vector<byte>& payload, byte& seqNo);
    void StartNewLink(const std::vector<byte>& payload);
    std::vector<byte> Build(const std::vector<byte>& payload);
    // Waits for the PC's answer to a frame just sent: Send_Delivered on its ACK, Send_Abandoned
    // when a new link began, Send_Lost on a NAK or silence (worth another attempt).
    SendResult AwaitAcknowledgement();
    void Answer(byte answer);
    // Cuts the frame after its first byte when it is the one --stall-answer names.
    bool StallHere(const std::vector<byte>& frame);

    SimLine& m_line;
    const SimOptions& m_options;
    std::deque<std::vector<byte>> m_received;
    byte m_sendSeqNo = 32;
    int m_lastReceivedSeqNo = -1;
    std::vector<byte> m_firstPayload; // of the frame that opened the link
    bool m_linkConfirmed = false;     // the PC has taken a frame of ours since
    int m_framesSeen = 0;
    int m_framesSent = 0;
    bool m_newConnection = false;
    bool m_stalled = false;
};
