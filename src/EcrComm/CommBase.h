// Application frames over the current channel: the byte types of the ECR link, the result of
// a frame exchange, the current application protocol and the two frame calls of the session.
#pragma once

#include "EcrComm/Protocols.h"
#include "Types.h"

// Outcome of one frame sent or read. Line trouble never throws; the session turns anything
// but OK into its own failure.
enum CommResult {
    CommResult_OK = 0,           // the frame went out, or one of the current protocol came in
    CommResult_ResponseLost = 1, // the channel did not deliver the frame, in either direction
    CommResult_Garbage = 2,      // a frame of another protocol or of an unexpected length
    CommResult_Error = 3,        // the expected frame cannot fit the frame buffer; nothing read
};

// Makes id the protocol that stamps outgoing frames and that incoming frames must carry; the
// current id again changes nothing. Raises nothing.
void SetProtocol(ProtocolID id);
// The current protocol; Protocol_None before the first SetProtocol.
ProtocolID GetProtocol();

// Sends data as one application frame of the current protocol through the current channel.
// CommResult_OK (counted in IoStatistics::FramesSend) when the channel took the whole frame,
// CommResult_ResponseLost (counted in LostRespCount) when it did not. data may be null when
// dataLength is 0. Raises InternalException (exit status 99) for more than 1021 bytes of data,
// and what the channel's Write raises. REQUIRES: a channel is selected.
CommResult SendFrame(const byte* data, uint16 dataLength);
// Reads one application frame of the current protocol. dataLength is the expected data length
// on entry (0 when any length will do) and the length delivered on return; it is left alone
// unless the result is OK. An empty frame is OK with dataLength 0, and so is a frame whose data
// does not fit dataBufSize, as it always has been. CommResult_ResponseLost when the channel
// delivers less than the frame; CommResult_Garbage for another protocol, another length than
// the expected one, or an announced length above 1021 (the data is then not read);
// CommResult_Error, nothing read, for an expected length above 1021. Every frame read whole
// counts in IoStatistics::FramesReceived, lost and garbage frames in their counters. Raises
// what the channel's Read raises. REQUIRES: a channel is selected.
CommResult ReadFrame(byte* data, uint16 dataBufSize, uint16& dataLength);
