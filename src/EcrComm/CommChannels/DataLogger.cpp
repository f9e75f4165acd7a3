#include "EcrComm/CommChannels/DataLogger.h"

#include "EcrComm/CommChannels/Linux/HighResolutionTimer.h"
#include "Logging.h"
#include "Tools.h"

bool DataLogger::m_ignoreEmptyData = false;

namespace {

const char* DirectionLabel(Direction direction) {
    switch (direction) {
    case Direction_PcToEcr:
        return "PC->ECR";
    case Direction_EcrToPc:
        return "PC<-ECR";
    case Direction_ClientToServer:
        return "SRV<-CL";
    case Direction_ServerToClient:
        return "SRV->CL";
    }
    return "";
}

// Durations above this many milliseconds are shown without a decimal.
const double longBlockMs = 10000.0;

} // namespace

std::string DataLogger::FormatBlock(const byte* data, unsigned int size, const long long& startTime,
                                    const long long& endTime, Direction direction,
                                    const std::string& comment) {
    std::string line = DirectionLabel(direction);
    line += Format("%3d bytes ", static_cast<int>(size));
    const HighResolutionTimer& timer = GetHighResolutionTimer();
    if (timer.Supported()) {
        const double durationMs = timer.GetIntervalMs(startTime, endTime);
        line += Format(durationMs > longBlockMs ? "in %6.0f ms :" : "in %6.1f ms :", durationMs);
    } else {
        line += "             :";
    }
    line += comment;

    static const char hexDigits[] = "0123456789abcdef";
    line.reserve(line.size() + 3 * static_cast<size_t>(size));
    for (unsigned int i = 0; i < size; ++i) {
        line += ' ';
        line += hexDigits[data[i] >> 4];
        line += hexDigits[data[i] & 0x0F];
    }
    return line;
}

void DataLogger::LogBlock(const byte* data, unsigned int size, const long long& startTime,
                          const long long& endTime, Direction direction,
                          const std::string& comment) {
    if (size == 0 && m_ignoreEmptyData) {
        return;
    }
    // Formatting every byte of the traffic is wasted when the line would be discarded.
    if (!IsLogTypeWritten(LogType_Debug)) {
        return;
    }
    LogMsg(LogType_Debug, FormatBlock(data, size, startTime, endTime, direction, comment), true);
}
