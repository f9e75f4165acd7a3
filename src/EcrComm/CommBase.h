// Application frames over the current channel: the byte types of the ECR link, the result of
// a frame exchange, the current application protocol and the two frame calls of the session.
#pragma once

#include "EcrComm/Protocols.h"
#include "Types.h"

// Outcome of one frame sent or read. Line trouble never throws; the session turns anything
// but OK into its own failure.
enum CommResult {
    CommResult_OK = 0,
    CommResult_ResponseLost = 1,
    CommResult_Garbage = 2,
    CommResult_Error = 3,
};

// The protocol that stamps outgoing frames and that incoming frames must carry.
void SetProtocol(ProtocolID id);
ProtocolID GetProtocol();

// Sends data as one application frame through the current channel.
CommResult SendFrame(const byte* data, uint16 dataLength);
// Reads one application frame. dataLength is the expected data length on entry (0 when any
// length will do) and the length delivered on return. A frame whose data does not fit
// dataBufSize is still reported as OK, with dataLength 0.
CommResult ReadFrame(byte* data, uint16 dataBufSize, uint16& dataLength);
