// Failures of the program: one small hierarchy, thrown by pointer and turned into the exit status.
#pragma once

#include <string>

// Exit status of a run. The values are what calling scripts test, so they never change.
// The underlying type is fixed so that an interrupted run's 128 + signal number is a value too.
enum ReturnCode : int {
    ReturnCode_OK = 0,
    ReturnCode_CmdLineError = 1,
    ReturnCode_InputFileSyntaxError = 2,
    ReturnCode_EcrBusy = 3,
    ReturnCode_CommandFailed = 4,
    ReturnCode_CommunicationError = 5,
    ReturnCode_TCPCommunicationDropped = 6,
    ReturnCode_ConfigError = 10,
    ReturnCode_BadPassword = 11,
    ReturnCode_NotActivated = 12,
    ReturnCode_FileIoError = 13,
    ReturnCode_InputFileHasBadRecords = 14,
    ReturnCode_UnknownCommand = 15,
    ReturnCode_EcrPortLocked = 16,
    ReturnCode_SystemError = 50,
    ReturnCode_InternalError = 99,
};

// Root of every failure. Throw with `throw new XxxException(...)`, catch `Exception*`, and hand
// the pointer to HandleException, which deletes it. Subclasses only build the two messages and
// add no data; the destructor is virtual so that deleting through the base is well defined.
class Exception {
public:
    Exception(ReturnCode returnCode, const std::string& displayMessage,
              const std::string& logMessage);
    virtual ~Exception();

    ReturnCode GetReturnCode() const { return m_returnCode; }
    std::string GetDisplayMessage() const { return m_displayMessage; }
    std::string GetLogMessage() const { return m_logMessage; }

private:
    ReturnCode m_returnCode;
    std::string m_displayMessage;
    std::string m_logMessage;
};

class CommandLineException : public Exception {
public:
    explicit CommandLineException(const std::string& msg);
};

class ConfigurationException : public Exception {
public:
    explicit ConfigurationException(const std::string& msg);
};

class CommunicationException : public Exception {
public:
    explicit CommunicationException(const std::string& msg);
};

class FileIoException : public Exception {
public:
    explicit FileIoException(const std::string& msg);
};

// Logs errno as it was when the exception was built.
class SystemException : public Exception {
public:
    explicit SystemException(const std::string& msg);
};

// A broken invariant; the log names the throw site, the user only sees "Internal error".
class InternalException : public Exception {
public:
    InternalException(const std::string& file, int line);
};

// Carrier for ECR answers and the instance guard; the thrower picks the code.
class ApplicationException : public Exception {
public:
    ApplicationException(const std::string& msg, ReturnCode code);
};

// Raised when the ECR answers the end of a data transfer as an unknown command; its code is
// ReturnCode_CommandFailed, not ReturnCode_UnknownCommand.
class UnknownCommandException : public Exception {
public:
    explicit UnknownCommandException(const std::string& msg);
};

// The run was stopped by a signal; the exit status is 128 + the signal's number, as a shell
// reports for a process killed by that signal.
class InterruptedException : public Exception {
public:
    explicit InterruptedException(int signalNumber);
};

// The network channel's failures; kept so that the hierarchy is complete.
class NetworkCommException : public Exception {
public:
    explicit NetworkCommException(const std::string& msg);
};

class NetworkSystemException : public Exception {
public:
    explicit NetworkSystemException(const std::string& msg);
    NetworkSystemException(const std::string& msg, int code);
};

// Throws an InternalException naming the current source file and line.
#define THROW_INTERNAL_ERROR() throw new InternalException(__FILE__, __LINE__)

// Logs, prints and deletes the exception; returns its code.
ReturnCode HandleException(Exception* e);
