#include "EcrComm/CommChannels/Compatibility/TcFrameSeqNo.h"

namespace {
const byte firstSeqNo = 32;
const byte lastSeqNo = 255;
} // namespace

bool TcFrameSeqNo::IsValid(byte seqNo) {
    return static_cast<byte>(seqNo - 1) >= firstSeqNo - 1;
}

byte TcFrameSeqNo::Next(byte seqNo) {
    if (seqNo == 0 || seqNo == lastSeqNo) {
        return firstSeqNo;
    }
    return static_cast<byte>(seqNo + 1);
}
