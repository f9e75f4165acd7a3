#include <gtest/gtest.h>

#include <cerrno>

#include "Exceptions.h"

namespace {

struct Expected {
    Exception* exception;
    ReturnCode code;
    const char* display;
    const char* log;
};

TEST(ExceptionsTest, EachKindBuildsItsCodeAndBothTexts) {
    errno = 2;
    Exception* system = new SystemException("readlink() failed");
    errno = 0;
    const Expected cases[] = {
        {new CommandLineException("Unknown command"), ReturnCode_CmdLineError,
         "Unknown command (use /? for help)", "Unknown command"},
        {new ConfigurationException("bad"), ReturnCode_ConfigError, "Configuration error: bad",
         "bad"},
        {new CommunicationException("ECR is not responding"), ReturnCode_CommunicationError,
         "\nCommunication error: ECR is not responding", "ECR is not responding"},
        {new FileIoException("Can't open file 'x'"), ReturnCode_FileIoError, "Can't open file 'x'",
         "Can't open file 'x'"},
        {system, ReturnCode_SystemError, "System error: readlink() failed",
         "readlink() failed (system error code : 2)"},
        {new InternalException("src/Tools.cpp", 312), ReturnCode_InternalError, "Internal error",
         "Internal error in file 'src/Tools.cpp' line 312"},
        {new ApplicationException("Another application is working now with ECR",
                                  ReturnCode_EcrPortLocked),
         ReturnCode_EcrPortLocked, "\nAnother application is working now with ECR",
         "Another application is working now with ECR"},
        {new UnknownCommandException("x"), ReturnCode_CommandFailed, "\nUnknown command error: x",
         "x"},
        {new NetworkCommException("n"), ReturnCode_CommunicationError, "\nCommunication error: n",
         "n (error code : 0)"},
        {new NetworkSystemException("s", 104), ReturnCode_SystemError, "Network error: s",
         "s (error code : 104)"},
        {new NetworkSystemException("s"), ReturnCode_SystemError, "Network error: s",
         "s (error code : 0)"},
    };
    for (const Expected& c : cases) {
        EXPECT_EQ(c.exception->GetReturnCode(), c.code) << c.log;
        EXPECT_EQ(c.exception->GetDisplayMessage(), c.display);
        EXPECT_EQ(c.exception->GetLogMessage(), c.log);
        delete c.exception;
    }
}

TEST(ExceptionsTest, HandleExceptionPrintsTheDisplayTextAndReturnsTheCode) {
    testing::internal::CaptureStdout();
    const ReturnCode code = HandleException(new ApplicationException("busy", ReturnCode_EcrBusy));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\nbusy\n");
    EXPECT_EQ(code, ReturnCode_EcrBusy);
}

TEST(ExceptionsTest, InternalErrorNamesTheThrowSiteRelativeToTheProject) {
    try {
        THROW_INTERNAL_ERROR();
    } catch (Exception* e) {
        const int line = __LINE__ - 2;
        EXPECT_EQ(e->GetLogMessage(),
                  "Internal error in file 'tests/ExceptionsTest.cpp' line " + std::to_string(line));
        delete e;
    }
}

} // namespace
