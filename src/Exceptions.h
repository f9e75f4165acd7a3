// Failures of the program: one small hierarchy, thrown by pointer and turned into the exit status.
//
// Every failure that ends a command is one heap-allocated object of this hierarchy: the thrower
// writes `throw new XxxException(...)`, the two handlers (the command retry loop and the run
// itself) catch `Exception*` and pass it to HandleException, which logs, prints and deletes it.
// Lower layers never catch and translate one another's exceptions. Anything thrown that is not
// an `Exception*` is not caught and ends the process abnormally.
#pragma once

#include <string>

// Exit status of a run. The values are what calling scripts test, so they never change.
// The underlying type is fixed so that an interrupted run's 128 + signal number is a value too.
enum ReturnCode : int {
    // The command completed (for a transfer: without a file error or a rejected record).
    ReturnCode_OK = 0,
    // The command line is wrong: unknown command, missing argument or bad /Name=Value parameter.
    ReturnCode_CmdLineError = 1,
    // The input file has bad, empty or (unless "IgnoreDuplicates") duplicate lines; the good
    // lines were sent. A fiscal command file with a bad line is refused before anything is sent.
    ReturnCode_InputFileSyntaxError = 2,
    // The ECR answered that it is busy (in fiscal mode: its key lock is in the wrong position).
    ReturnCode_EcrBusy = 3,
    // The ECR cannot execute the command in its current context; also the code of
    // UnknownCommandException.
    ReturnCode_CommandFailed = 4,
    // The link to the ECR failed: no answer, garbage, or a channel error. The only code on which
    // the command is tried again ("RetryCount").
    ReturnCode_CommunicationError = 5,
    // Reserved for the network channel; nothing in this build returns it.
    ReturnCode_TCPCommunicationDropped = 6,
    // A setting is missing or invalid ("FileType", "ProtocolSet", the serial device name), or
    // the settings contradict each other (serial and network link both given).
    ReturnCode_ConfigError = 10,
    // The ECR rejected the session password, or wants one and none is configured.
    ReturnCode_BadPassword = 11,
    // The requested function (PC communications, or the fiscal protocol) is switched off at the
    // ECR.
    ReturnCode_NotActivated = 12,
    // A data or log file could not be opened, read or written.
    ReturnCode_FileIoError = 13,
    // The ECR rejected records of the input file (or a fiscal command) as bad data; the other
    // records were accepted.
    ReturnCode_InputFileHasBadRecords = 14,
    // The ECR does not know the request, or a server command number is not known.
    ReturnCode_UnknownCommand = 15,
    // Another run is already working with the same ECR (the same "TTY"), or another program
    // holds its serial device.
    ReturnCode_EcrPortLocked = 16,
    // An operating-system call failed or memory ran out; the cause is logged with errno.
    ReturnCode_SystemError = 50,
    // A program invariant was broken, or the function is not available in this build (server
    // mode, the network channel).
    ReturnCode_InternalError = 99,
};

// Root of every failure. Throw with `throw new XxxException(...)`, catch `Exception*`, and hand
// the pointer to HandleException, which deletes it. Subclasses only build the two messages and
// add no data; the destructor is virtual so that deleting through the base is well defined.
class Exception {
public:
    // Stores the three parts as given; the subclasses are the usual way to build one.
    Exception(ReturnCode returnCode, const std::string& displayMessage,
              const std::string& logMessage);
    virtual ~Exception();

    // The exit status the failure stands for.
    ReturnCode GetReturnCode() const { return m_returnCode; }
    // A copy of the text for standard output, leading newline (if any) included.
    std::string GetDisplayMessage() const { return m_displayMessage; }
    // A copy of the text for the logs.
    std::string GetLogMessage() const { return m_logMessage; }

private:
    ReturnCode m_returnCode;
    std::string m_displayMessage;
    std::string m_logMessage;
};

// Exit status ReturnCode_CmdLineError (1). Shows "<msg> (use /? for help)"; logs "<msg>".
class CommandLineException : public Exception {
public:
    explicit CommandLineException(const std::string& msg);
};

// Exit status ReturnCode_ConfigError (10). Shows "Configuration error: <msg>"; logs "<msg>".
class ConfigurationException : public Exception {
public:
    explicit ConfigurationException(const std::string& msg);
};

// Exit status ReturnCode_CommunicationError (5), the one that makes the command retry. Shows
// "\nCommunication error: <msg>"; logs "<msg>". The leading newline belongs to the text: it
// puts the message below a running progress counter instead of over it.
class CommunicationException : public Exception {
public:
    explicit CommunicationException(const std::string& msg);
};

// Exit status ReturnCode_FileIoError (13). Shows and logs "<msg>" unchanged, without a prefix;
// where the operating system gave a cause, the thrower has written it to standard error.
class FileIoException : public Exception {
public:
    explicit FileIoException(const std::string& msg);
};

// Exit status ReturnCode_SystemError (50). Shows "System error: <msg>"; logs
// "<msg> (system error code : <errno>)" with errno as it was when the exception was built, so
// build it right after the failing call.
class SystemException : public Exception {
public:
    explicit SystemException(const std::string& msg);
};

// A broken invariant: exit status ReturnCode_InternalError (99). Shows only "Internal error";
// logs "Internal error in file '<file>' line <line>". Thrown through THROW_INTERNAL_ERROR().
class InternalException : public Exception {
public:
    InternalException(const std::string& file, int line);
};

// Carrier for ECR answers and the instance guard; the thrower picks the code, which is the exit
// status. Shows "\n<msg>" (the leading newline as for CommunicationException); logs "<msg>".
class ApplicationException : public Exception {
public:
    ApplicationException(const std::string& msg, ReturnCode code);
};

// Raised when the ECR answers a record of a data transfer as an unknown command, which is how
// it says that it ended the data session after its own time-out. Exit status
// ReturnCode_CommandFailed (4), not ReturnCode_UnknownCommand (15): calling scripts have
// always seen 4 for it, so the pairing stays. Shows "\nUnknown command error: <msg>"; logs "<msg>".
class UnknownCommandException : public Exception {
public:
    explicit UnknownCommandException(const std::string& msg);
};

// The run was stopped by a signal; the exit status is 128 + the signal's number, as a shell
// reports for a process killed by that signal. Shows "Interrupted"; logs
// "Interrupted (signal <number>)".
class InterruptedException : public Exception {
public:
    explicit InterruptedException(int signalNumber);
};

// The network channel's link failure; kept so that the hierarchy is complete (this build has no
// network channel). Exit status ReturnCode_CommunicationError (5). Shows
// "\nCommunication error: <msg>"; logs "<msg> (error code : 0)".
class NetworkCommException : public Exception {
public:
    explicit NetworkCommException(const std::string& msg);
};

// The network channel's system failure; kept so that the hierarchy is complete. Exit status
// ReturnCode_SystemError (50). Shows "Network error: <msg>"; logs "<msg> (error code : <code>)",
// the code printed unsigned.
class NetworkSystemException : public Exception {
public:
    // The same with code 0.
    explicit NetworkSystemException(const std::string& msg);
    NetworkSystemException(const std::string& msg, int code);
};

// Throws an InternalException naming the current source file and line (exit status 99).
#define THROW_INTERNAL_ERROR() throw new InternalException(__FILE__, __LINE__)

// Writes the log message with a time stamp to the logs (a log that cannot be written does not
// stop it), prints the display message and a newline on standard output and flushes, deletes e
// and returns its code. Takes ownership of e: the caller must not use the pointer afterwards.
// REQUIRES: e was allocated with new.
ReturnCode HandleException(Exception* e);
