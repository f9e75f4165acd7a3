#include "EcrComm/CommChannels/DataLogger.h"

#include <cerrno>
#include <cstdio>

#include "AppConfig.h"
#include "Console.h"
#include "EcrComm/CommChannels/Linux/HighResolutionTimer.h"
#include "Exceptions.h"
#include "Logging.h"
#include "Tools.h"

bool DataLogger::m_ignoreEmptyData = false;

namespace {

// The trace file, when "TraceFile" asked for one.
FILE* traceFile = nullptr;

// One line with the time stamp of the logs, flushed at once, so that the trace of a run that
// hangs or is killed is complete up to that moment.
void WriteTraceLine(const std::string& line) {
    tagSYSTEMTIME now;
    GetLocalTime(&now);
    std::fprintf(traceFile, "%02d.%02d.%04d %02d:%02d:%02d.%03d %s\n", now.wDay, now.wMonth,
                 now.wYear, now.wHour, now.wMinute, now.wSecond, now.wMilliseconds, line.c_str());
    std::fflush(traceFile);
}

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
    const bool toDebugLog = IsLogTypeWritten(LogType_Debug);
    if (!toDebugLog && traceFile == nullptr) {
        return;
    }
    const std::string line = FormatBlock(data, size, startTime, endTime, direction, comment);
    if (traceFile != nullptr) {
        WriteTraceLine(line);
    }
    if (toDebugLog) {
        LogMsg(LogType_Debug, line, true);
    }
}

void OpenTraceFile(const std::string& startLine) {
    CloseTraceFile();
    const std::string path = AppConfig::GetParameter("TraceFile", "");
    if (path.empty()) {
        return;
    }
    traceFile = std::fopen(path.c_str(), "a");
    if (traceFile == nullptr) {
        ReportSystemCause(path, errno);
        throw new FileIoException("Can't open file '" + path + "'");
    }
    WriteTraceLine(startLine);
}

void CloseTraceFile() {
    if (traceFile != nullptr) {
        std::fclose(traceFile);
        traceFile = nullptr;
    }
}
