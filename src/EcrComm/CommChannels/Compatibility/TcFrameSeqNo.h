// Sequence numbers of transport-control frames: 32, 33, ..., 255, 32, ... The values 1 to 31
// never occur, so a sequence number never collides with a control byte; 0 stands for "no
// frame sent yet".
#pragma once

#include "EcrComm/CommBase.h"

class TcFrameSeqNo {
public:
    // True for 0 and for 32 to 255; false for 1 to 31.
    static bool IsValid(byte seqNo);
    // The number after seqNo: 32 after 0 and after 255, else seqNo + 1.
    static byte Next(byte seqNo);
};
