// The run's two logs: the standard log "TAVO.log" and the debug log "dbgerror.log", both in
// "LogFilePath" (default "/var/log/tavo/"). Process-wide state, started and stopped once a run.
#pragma once

#include <string>

// Which log a line is meant for; LogMsg tests the bits.
enum LogType {
    LogType_Standard = 1, // the standard log
    LogType_Debug = 2,    // the debug log, which never receives a line (see LogMsg)
    LogType_Both = 3,     // both, which in effect is the standard log
};

// Reads "StandardLog" (default 1) and "DbgErrorLog" (default 0) and opens each log whose level
// is not -1, remembering its size. Raises what LogFile::Open raises: SystemException "Log file
// directory create failed" (50) or FileIoException "Can't open file '<path>'" (13).
void StartLogging();
// True between StartLogging and StopLogging.
bool IsLoggingStarted();
// Closes both logs; each keeps or drops this run's lines by its level and the outcome. The
// standard log keeps them at a level above 0. The debug log keeps them at level 0 never, at 1
// after errors, at 2 after errors or errors on the line, at any other level always. Raises
// nothing.
void StopLogging(bool completedWithErrors);

// Writes one line to the standard log when bit 0 of type is set; nothing before StartLogging.
// No line ever reaches the debug log: the debug log is only opened and closed around the run.
// That has always been so and is kept. Raises InternalException (exit status 99) when the
// standard log is off ("StandardLog=-1"), kept so as well.
void LogMsg(LogType type, const std::string& message, bool addTime);
// LogMsg for the places that report a failure, where a log that cannot be written (no
// standard log with "StandardLog=-1") must not hide the failure being reported. Raises nothing.
void LogMsgNoThrow(LogType type, const std::string& message, bool addTime);

// Whether LogMsg with this type would write anything now; callers skip building lines that
// would be discarded (the debug type never is written).
bool IsLogTypeWritten(LogType type);
