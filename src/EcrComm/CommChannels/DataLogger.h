// Hex-dump lines of the line traffic for the debug log.
#pragma once

#include <string>

#include "EcrComm/CommBase.h"

enum Direction {
    Direction_PcToEcr = 0,
    Direction_EcrToPc = 1,
    Direction_ClientToServer = 2,
    Direction_ServerToClient = 3,
};

class DataLogger {
public:
    static void SetIgnoreEmptyData(bool ignore) { m_ignoreEmptyData = ignore; }

    // Logs one block that crossed the line, timed by two values of the high-resolution timer.
    // The line is only built when the debug log can receive it.
    static void LogBlock(const byte* data, unsigned int size, const long long& startTime,
                         const long long& endTime, Direction direction, const std::string& comment);

    // The log line of a block, e.g. "PC->ECR  5 bytes in    3.3 ms : 01 02 00 41 42".
    static std::string FormatBlock(const byte* data, unsigned int size, const long long& startTime,
                                   const long long& endTime, Direction direction,
                                   const std::string& comment);

private:
    static bool m_ignoreEmptyData;
};
