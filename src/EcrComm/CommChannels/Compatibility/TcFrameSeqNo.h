// Sequence numbers of transport-control frames: 32, 33, ..., 255, 32, ... The values 1 to 31
// never occur, so a sequence number never collides with a control byte; 0 stands for "no
// frame sent yet".
#pragma once

#include "EcrComm/CommBase.h"

class TcFrameSeqNo {
public:
    static bool IsValid(byte seqNo);
    static byte Next(byte seqNo);
};
