#include <gtest/gtest.h>

#include "Logging.h"
#include "TestSupport.h"

namespace {

using namespace testsupport;

TEST(LoggingTest, LevelsDecideWhatRemainsOfTheRun) {
    TempDir dir;
    const std::string stdLog = dir.File("TAVO.log");
    const std::string dbgLog = dir.File("dbgerror.log");
    // The logs before the run ("" when there are none) and the standard log after it.
    const struct {
        const char* standardLevel;
        const char* debugLevel;
        std::string before;
        std::string after;
    } cases[] = {
        {"1", "0", "", "run\n"},
        {"1", "3", "old\n", "old\nrun\n"},
        // Level 0 takes the run back; -1 opens no file.
        {"0", "1", "old\n", "old\n"},
        {"0", "0", "", ""},
        {"1", "-1", "", "run\n"},
    };
    for (const auto& c : cases) {
        if (!c.before.empty()) {
            WriteFile(stdLog, c.before);
            WriteFile(dbgLog, c.before);
        }
        LogMsg(LogType_Both, "before the start", false); // dropped
        // Every start names both levels: a level not given keeps that of the previous start.
        LoadConfiguration(dir.File("none.ini"), {{"StandardLog", c.standardLevel},
                                                 {"DbgErrorLog", c.debugLevel},
                                                 {"LogFilePath", dir.Path()}});
        StartLogging();
        EXPECT_TRUE(IsLogTypeWritten(LogType_Standard));
        EXPECT_FALSE(IsLogTypeWritten(LogType_Debug));
        LogMsg(LogType_Both, "run", false);
        LogMsg(LogType_Debug, "debug", false);
        EXPECT_EQ(ReadFile(stdLog), c.before + "run\n"); // written at once, whatever the level
        EXPECT_EQ(FileExists(dbgLog), std::string(c.debugLevel) != "-1");
        StopLogging(true);
        LogMsg(LogType_Both, "after the stop", false); // dropped
        EXPECT_EQ(ReadFile(stdLog), c.after);
        EXPECT_EQ(FileExists(stdLog), !c.after.empty());
        // Nothing ever reaches the debug log: it ends as it began, and a new one goes.
        EXPECT_EQ(ReadFile(dbgLog), c.before);
        EXPECT_EQ(FileExists(dbgLog), !c.before.empty());
        std::remove(stdLog.c_str());
        std::remove(dbgLog.c_str());
    }
}

} // namespace
