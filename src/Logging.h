// The run's two logs: the standard log "TAVO.log" and the debug log "dbgerror.log".
#pragma once

#include <string>

enum LogType {
    LogType_Standard = 1,
    LogType_Debug = 2,
    LogType_Both = 3,
};

void StartLogging();
bool IsLoggingStarted();
// Closes both logs; each keeps or drops this run's lines by its level and the outcome.
void StopLogging(bool completedWithErrors);

// Writes one line to the standard log when bit 0 of type is set. No line ever reaches the
// debug log: the debug log is only opened and closed around the run.
void LogMsg(LogType type, const std::string& message, bool addTime);
// LogMsg for the places that report a failure, where a log that cannot be written (no
// standard log with "StandardLog=-1") must not hide the failure being reported.
void LogMsgNoThrow(LogType type, const std::string& message, bool addTime);

// Whether LogMsg with this type would write anything now; callers skip building lines that
// would be discarded (the debug type never is written).
bool IsLogTypeWritten(LogType type);
