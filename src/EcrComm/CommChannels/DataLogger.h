// Hex-dump lines of the line traffic for the debug log and, on request, for a trace file.
#pragma once

#include <string>

#include "EcrComm/CommBase.h"

// Which way a block crossed the line, with the label that starts its log line.
enum Direction {
    Direction_PcToEcr = 0,        // "PC->ECR"
    Direction_EcrToPc = 1,        // "PC<-ECR"
    Direction_ClientToServer = 2, // "SRV<-CL"
    Direction_ServerToClient = 3, // "SRV->CL"
};

// Process-wide, without locks.
class DataLogger {
public:
    // With ignore true, LogBlock drops blocks of 0 bytes; false at the start of the process.
    static void SetIgnoreEmptyData(bool ignore) { m_ignoreEmptyData = ignore; }

    // Logs one block that crossed the line, timed by two values of the high-resolution timer,
    // and appends it to the trace file when one is open. The line is only built when the debug
    // log or the trace can receive it; the debug log never takes a line (Logging.h), so in
    // effect the block goes to the trace only. Raises nothing; trace write errors are ignored.
    static void LogBlock(const byte* data, unsigned int size, const long long& startTime,
                         const long long& endTime, Direction direction, const std::string& comment);

    // The log line of a block, e.g. "PC->ECR  5 bytes in    3.3 ms : 01 02 00 41 42": the
    // direction's label ("" outside the list), "%3d bytes ", the duration as "in %6.1f ms :"
    // ("in %6.0f ms :" above 10000 ms, thirteen blanks and ':' without a clock), comment, then
    // " %02x" for every byte, all on one line. Raises nothing.
    static std::string FormatBlock(const byte* data, unsigned int size, const long long& startTime,
                                   const long long& endTime, Direction direction,
                                   const std::string& comment);

private:
    static bool m_ignoreEmptyData;
};

// Opens the traffic trace named by the "TraceFile" setting for appending and writes startLine
// to it with a time stamp, as a log line; from then on every block that LogBlock sees is
// appended too. Does nothing when the setting is empty. Raises FileIoException "Can't open file
// '<path>'" (exit status 13) when the file cannot be opened, after writing the cause to
// standard error. A trace that is already open is closed first.
void OpenTraceFile(const std::string& startLine);
// Closes the trace file; does nothing when none is open. Raises nothing.
void CloseTraceFile();
