#include "EcrComm/CommBase.h"

#include <memory>

#include "Defaults.h"
#include "EcrComm/CommChannel.h"
#include "EcrComm/FrameFormatter.h"
#include "EcrComm/IoStatistics.h"

namespace {

// The one buffer every frame sent or received passes through.
byte ioBuffer[commIoBufferSize];
const int ioBufferSize = commIoBufferSize;
// Before the configuration is loaded the protocol set is the default one, under which
// Protocol_None maps to itself.
ProtocolID currentProtocolID = Protocol_None;
std::unique_ptr<FrameFormatter> frameFormatter(new FrameFormatter(Protocol_None));

CommResult CountLostResponse() {
    ++IoStatistics::LostRespCount;
    return CommResult_ResponseLost;
}

CommResult CountGarbage() {
    ++IoStatistics::GarbageCount;
    return CommResult_Garbage;
}

} // namespace

void SetProtocol(ProtocolID id) {
    if (id != currentProtocolID) {
        frameFormatter.reset(new FrameFormatter(id));
        currentProtocolID = id;
    }
}

ProtocolID GetProtocol() {
    return currentProtocolID;
}

CommResult SendFrame(const byte* data, uint16 dataLength) {
    frameFormatter->BuildFrame(ioBuffer, ioBufferSize, data, dataLength);
    const int frameSize = Frame::GetDataLength(ioBuffer) + Frame::HeaderSize;
    if (frameSize > ioBufferSize) {
        return CommResult_Error;
    }
    if (!CommChannel_Write(ioBuffer, frameSize)) {
        return CountLostResponse();
    }
    ++IoStatistics::FramesSend;
    return CommResult_OK;
}

CommResult ReadFrame(byte* data, uint16 dataBufSize, uint16& dataLength) {
    const uint16 expectedDataLength = dataLength;
    if (expectedDataLength != 0) {
        if (expectedDataLength + Frame::HeaderSize > ioBufferSize) {
            return CommResult_Error;
        }
        if (!CommChannel_Read(ioBuffer, expectedDataLength + Frame::HeaderSize)) {
            return CountLostResponse();
        }
    } else {
        if (!CommChannel_Read(ioBuffer, Frame::HeaderSize)) {
            return CountLostResponse();
        }
        const uint16 announcedLength = Frame::GetDataLength(ioBuffer);
        if (announcedLength != 0) {
            if (announcedLength + Frame::HeaderSize > ioBufferSize) {
                return CountGarbage();
            }
            if (!CommChannel_Read(ioBuffer + Frame::HeaderSize, announcedLength)) {
                return CountLostResponse();
            }
        }
    }
    ++IoStatistics::FramesReceived;

    if (!frameFormatter->IsValidFrame(ioBuffer, ioBufferSize, expectedDataLength)) {
        return CountGarbage();
    }
    dataLength = frameFormatter->ParseFrame(ioBuffer, ioBufferSize, data, dataBufSize);
    return CommResult_OK;
}
