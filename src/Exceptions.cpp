#include "Exceptions.h"

#include <cerrno>
#include <cstdio>

#include "Logging.h"
#include "Tools.h"

Exception::Exception(ReturnCode returnCode, const std::string& displayMessage,
                     const std::string& logMessage)
    : m_returnCode(returnCode), m_displayMessage(displayMessage), m_logMessage(logMessage) {}

Exception::~Exception() = default;

CommandLineException::CommandLineException(const std::string& msg)
    : Exception(ReturnCode_CmdLineError, msg + " (use /? for help)", msg) {}

ConfigurationException::ConfigurationException(const std::string& msg)
    : Exception(ReturnCode_ConfigError, "Configuration error: " + msg, msg) {}

CommunicationException::CommunicationException(const std::string& msg)
    : Exception(ReturnCode_CommunicationError, "\nCommunication error: " + msg, msg) {}

FileIoException::FileIoException(const std::string& msg)
    : Exception(ReturnCode_FileIoError, msg, msg) {}

SystemException::SystemException(const std::string& msg)
    : Exception(
          ReturnCode_SystemError, "System error: " + msg,
          Format("%s (system error code : %u)", msg.c_str(), static_cast<unsigned int>(errno))) {}

InternalException::InternalException(const std::string& file, int line)
    : Exception(ReturnCode_InternalError, "Internal error",
                Format("Internal error in file '%s' line %d", file.c_str(), line)) {}

ApplicationException::ApplicationException(const std::string& msg, ReturnCode code)
    : Exception(code, "\n" + msg, msg) {}

UnknownCommandException::UnknownCommandException(const std::string& msg)
    : Exception(ReturnCode_CommandFailed, "\nUnknown command error: " + msg, msg) {}

InterruptedException::InterruptedException(int signalNumber)
    : Exception(static_cast<ReturnCode>(128 + signalNumber), "Interrupted",
                Format("Interrupted (signal %d)", signalNumber)) {}

NetworkCommException::NetworkCommException(const std::string& msg)
    : Exception(ReturnCode_CommunicationError, "\nCommunication error: " + msg,
                Format("%s (error code : %u)", msg.c_str(), 0u)) {}

NetworkSystemException::NetworkSystemException(const std::string& msg)
    : NetworkSystemException(msg, 0) {}

NetworkSystemException::NetworkSystemException(const std::string& msg, int code)
    : Exception(ReturnCode_SystemError, "Network error: " + msg,
                Format("%s (error code : %u)", msg.c_str(), static_cast<unsigned int>(code))) {}

ReturnCode HandleException(Exception* e) {
    const ReturnCode code = e->GetReturnCode();
    // With "StandardLog=-1" the log itself is what failed; the message must still be shown.
    LogMsgNoThrow(LogType_Both, e->GetLogMessage(), true);
    std::printf("%s\n", e->GetDisplayMessage().c_str());
    std::fflush(stdout);
    delete e;
    return code;
}
