#include <gtest/gtest.h>

#include <cerrno>

#include "Exceptions.h"

namespace {

TEST(ExceptionsTest, EachKindBuildsItsCodeAndBothTexts) {
    errno = ENOENT; // a system error reports the errno of its construction
    Exception* system = new SystemException("m");
    // The codes are the exit statuses that calling scripts test, so they are given as numbers.
    const struct {
        Exception* exception;
        int code;
        const char* display;
        const char* log;
    } cases[] = {
        {new CommandLineException("m"), 1, "m (use /? for help)", "m"},
        {new ConfigurationException("m"), 10, "Configuration error: m", "m"},
        {new CommunicationException("m"), 5, "\nCommunication error: m", "m"},
        {new FileIoException("m"), 13, "m", "m"},
        {system, 50, "System error: m", "m (system error code : 2)"},
        {new InternalException("f.cpp", 7), 99, "Internal error",
         "Internal error in file 'f.cpp' line 7"},
        {new ApplicationException("m", ReturnCode_EcrPortLocked), 16, "\nm", "m"},
        {new UnknownCommandException("m"), 4, "\nUnknown command error: m", "m"},
        {new InterruptedException(15), 143, "Interrupted", "Interrupted (signal 15)"},
        {new NetworkCommException("m"), 5, "\nCommunication error: m", "m (error code : 0)"},
        {new NetworkSystemException("m", 104), 50, "Network error: m", "m (error code : 104)"},
        {new NetworkSystemException("m"), 50, "Network error: m", "m (error code : 0)"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.exception->GetReturnCode(), c.code) << c.log;
        EXPECT_EQ(c.exception->GetDisplayMessage(), c.display) << c.log;
        EXPECT_EQ(c.exception->GetLogMessage(), c.log);
        delete c.exception;
    }
}

} // namespace
