// Hex-dump lines of the line traffic for the debug log and, on request, for a trace file.
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

    // Logs one block that crossed the line, timed by two values of the high-resolution timer,
    // and appends it to the trace file when one is open. The line is only built when the debug
    // log or the trace can receive it.
    static void LogBlock(const byte* data, unsigned int size, const long long& startTime,
                         const long long& endTime, Direction direction, const std::string& comment);

    // The log line of a block, e.g. "PC->ECR  5 bytes in    3.3 ms : 01 02 00 41 42".
    static std::string FormatBlock(const byte* data, unsigned int size, const long long& startTime,
                                   const long long& endTime, Direction direction,
                                   const std::string& comment);

private:
    static bool m_ignoreEmptyData;
};

// Opens the traffic trace named by the "TraceFile" setting for appending and writes startLine
// to it with a time stamp, as a log line; from then on every block that LogBlock sees is
// appended too. Does nothing when the setting is empty. Throws FileIoException (exit status
// 13) when the file cannot be opened, after writing the cause to standard error. A trace that
// is already open is closed first.
void OpenTraceFile(const std::string& startLine);
// Closes the trace file; does nothing when none is open.
void CloseTraceFile();
