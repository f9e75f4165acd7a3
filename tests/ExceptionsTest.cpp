#include <gtest/gtest.h>

#include <cerrno>

#include "Exceptions.h"

namespace {

TEST(ExceptionsTest, EachKindBuildsItsCodeAndBothTexts) {
    errno = ENOENT; // a system error, built first, reports the errno of its construction
    // The codes are the exit statuses that calling scripts test, so they are given as numbers.
    // The kinds whose texts and statuses the end-to-end runs already pin are left to them.
    const struct {
        Exception* exception;
        int code;
        const char* display;
        const char* log;
    } cases[] = {
        {new SystemException("m"), 50, "System error: m", "m (system error code : 2)"},
        {new InternalException("f.cpp", 7), 99, "Internal error",
         "Internal error in file 'f.cpp' line 7"},
        {new UnknownCommandException("m"), 4, "\nUnknown command error: m", "m"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.exception->GetReturnCode(), c.code) << c.log;
        EXPECT_EQ(c.exception->GetDisplayMessage(), c.display) << c.log;
        EXPECT_EQ(c.exception->GetLogMessage(), c.log);
        delete c.exception;
    }
}

} // namespace
