#include "Logging.h"

#include "AppConfig.h"
#include "EcrComm/IoStatistics.h"
#include "Exceptions.h"
#include "LogFile.h"
#include "Path.h"
#include "Tools.h"

namespace {
LogFile stdLog;
LogFile dbgLog;
int stdLogLevel = 1;
int dbgLogLevel = 0;
const char stdLogFileName[] = "TAVO.log";
const char dbgLogFileName[] = "dbgerror.log";
bool isLoggingStarted = false;

bool KeepDebugLog(bool completedWithErrors) {
    switch (dbgLogLevel) {
    case 0:
        return false;
    case 1:
        return completedWithErrors;
    case 2:
        return completedWithErrors || IoStatistics::GetIoErrorCount() > 0;
    default:
        return true;
    }
}
} // namespace

void StartLogging() {
    dbgLogLevel = AppConfig::GetParameter("DbgErrorLog", dbgLogLevel);
    stdLogLevel = AppConfig::GetParameter("StandardLog", stdLogLevel);
    std::string directory = AppConfig::GetParameter("LogFilePath", "");
    if (directory.empty()) {
        directory = GetLogDirectory();
    }
    if (stdLogLevel != -1) {
        stdLog.Open(Path::Combine(directory, stdLogFileName));
    }
    if (dbgLogLevel != -1) {
        dbgLog.Open(Path::Combine(directory, dbgLogFileName));
    }
    isLoggingStarted = true;
}

bool IsLoggingStarted() {
    return isLoggingStarted;
}

void StopLogging(bool completedWithErrors) {
    dbgLog.Close(KeepDebugLog(completedWithErrors));
    stdLog.Close(stdLogLevel > 0);
    isLoggingStarted = false;
}

void LogMsg(LogType type, const std::string& message, bool addTime) {
    if (!isLoggingStarted) {
        return;
    }
    if ((type & LogType_Standard) != 0) {
        // Deliberately not checked for an open file: with "StandardLog=-1" this is an
        // internal error.
        stdLog.AddMessage(message, addTime);
    }
    // The debug log would be written when (type & 2 & IsOpened()) is non-zero; IsOpened() is
    // 0 or 1, so that is never the case and debug lines are dropped by design.
}

void LogMsgNoThrow(LogType type, const std::string& message, bool addTime) {
    try {
        LogMsg(type, message, addTime);
    } catch (Exception* e) {
        delete e;
    }
}

bool IsLogTypeWritten(LogType type) {
    return isLoggingStarted && (type & LogType_Standard) != 0;
}
