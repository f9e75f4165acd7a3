#include "EcrComm/IoStatistics.h"

#include "Logging.h"
#include "Tools.h"

int IoStatistics::FramesSend = 0;
int IoStatistics::FramesReceived = 0;
int IoStatistics::LostRespCount = 0;
int IoStatistics::GarbageCount = 0;

void IoStatistics::Reset() {
    FramesSend = 0;
    FramesReceived = 0;
    LostRespCount = 0;
    GarbageCount = 0;
}

int IoStatistics::GetIoErrorCount() {
    return GarbageCount + LostRespCount;
}

void LogIoStatistics() {
    std::string text = Format("I/O statistics : OUT frames = %d, IN frames = %d",
                              IoStatistics::FramesSend, IoStatistics::FramesReceived);
    if (IoStatistics::LostRespCount != 0) {
        text += Format(", LOST = %d", IoStatistics::LostRespCount);
    }
    if (IoStatistics::GarbageCount != 0) {
        text += Format(", GARB = %d", IoStatistics::GarbageCount);
    }
    LogMsg(LogType_Both, text, true);
}
