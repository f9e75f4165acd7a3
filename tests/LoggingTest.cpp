#include <gtest/gtest.h>

#include <regex>

#include "Exceptions.h"
#include "LogFile.h"
#include "Logging.h"
#include "TestSupport.h"

namespace {

using testsupport::FileExists;
using testsupport::LoadConfiguration;
using testsupport::ReadFile;
using testsupport::TempDir;
using testsupport::WriteFile;

class LoggingTest : public ::testing::Test {
protected:
    void Start(const std::vector<std::pair<std::string, std::string>>& parameters) {
        StartIn(m_dir.File("logs"), parameters);
    }
    // The levels default to those of the previous start, so every start names both.
    void StartIn(const std::string& directory,
                 const std::vector<std::pair<std::string, std::string>>& parameters = {}) {
        std::vector<std::pair<std::string, std::string>> all = {
            {"StandardLog", "1"}, {"DbgErrorLog", "0"}, {"LogFilePath", directory}};
        all.insert(all.end(), parameters.begin(), parameters.end());
        LoadConfiguration(m_dir.File("none.ini"), all);
        StartLogging();
    }
    std::string StdLog() const { return m_dir.File("logs/TAVO.log"); }
    std::string DbgLog() const { return m_dir.File("logs/dbgerror.log"); }
    void TearDown() override {
        if (IsLoggingStarted()) {
            StopLogging(false);
        }
    }
    TempDir m_dir;
};

TEST_F(LoggingTest, LinesCarryATimeStampAndOnlyReachTheStandardLog) {
    Start({});
    EXPECT_TRUE(FileExists(DbgLog()));
    LogMsg(LogType_Both, "both", true);
    LogMsg(LogType_Standard, "plain", false);
    LogMsg(LogType_Debug, "debug", true);
    EXPECT_TRUE(IsLogTypeWritten(LogType_Standard));
    EXPECT_FALSE(IsLogTypeWritten(LogType_Debug));
    StopLogging(false);
    const std::string log = ReadFile(StdLog());
    EXPECT_TRUE(std::regex_match(
        log, std::regex(R"(\d\d\.\d\d\.\d{4} \d\d:\d\d:\d\d\.\d{3} both\nplain\n)")))
        << log;
    EXPECT_FALSE(FileExists(DbgLog())); // new, empty, and dropped at stop
    LogMsg(LogType_Both, "after stop", true);
    EXPECT_EQ(ReadFile(StdLog()), log);
}

TEST_F(LoggingTest, StandardLogLevelZeroCutsTheRunBack) {
    ASSERT_EQ(system(("mkdir -p " + m_dir.File("logs")).c_str()), 0);
    WriteFile(StdLog(), "earlier run\n");
    Start({{"StandardLog", "0"}});
    LogMsg(LogType_Both, "this run", true);
    EXPECT_NE(ReadFile(StdLog()).find("this run"), std::string::npos); // written while running
    StopLogging(false);
    EXPECT_EQ(ReadFile(StdLog()), "earlier run\n");

    Start({{"StandardLog", "0"}});
    LogMsg(LogType_Both, "again", true);
    StopLogging(true);
    EXPECT_EQ(ReadFile(StdLog()), "earlier run\n");
}

TEST_F(LoggingTest, NewStandardLogWithLevelZeroDisappears) {
    Start({{"StandardLog", "0"}});
    LogMsg(LogType_Both, "x", true);
    StopLogging(false);
    EXPECT_FALSE(FileExists(StdLog()));
}

TEST_F(LoggingTest, NewDebugLogIsGoneAfterTheRunWhateverItsLevel) {
    // Nothing ever reaches the debug log, so a new one ends empty and is deleted.
    for (const char* level : {"0", "1", "3"}) {
        Start({{"DbgErrorLog", level}});
        EXPECT_TRUE(FileExists(DbgLog()));
        StopLogging(true);
        EXPECT_FALSE(FileExists(DbgLog())) << "level " << level;
    }
}

TEST_F(LoggingTest, LevelMinusOneOpensNoFile) {
    Start({{"DbgErrorLog", "-1"}, {"StandardLog", "-1"}});
    EXPECT_FALSE(FileExists(DbgLog()));
    EXPECT_FALSE(FileExists(StdLog()));
    try {
        LogMsg(LogType_Standard, "x", true);
        FAIL() << "writing to an unopened standard log must be an internal error";
    } catch (Exception* e) {
        EXPECT_EQ(e->GetReturnCode(), ReturnCode_InternalError);
        EXPECT_NE(e->GetLogMessage().find("'src/LogFile.cpp'"), std::string::npos);
        delete e;
    }
    LogMsg(LogType_Debug, "debug only is discarded quietly", true);
    LogMsgNoThrow(LogType_Both, "swallowed", true);
}

TEST_F(LoggingTest, MissingDirectoryIsCreatedOneLevelDeep) {
    StartIn(m_dir.File("new"));
    LogMsg(LogType_Both, "x", true);
    StopLogging(false);
    EXPECT_TRUE(FileExists(m_dir.File("new/TAVO.log")));

    try {
        StartIn(m_dir.File("a/b/c"));
        FAIL() << "nested directory created";
    } catch (Exception* e) {
        EXPECT_EQ(e->GetReturnCode(), ReturnCode_SystemError);
        EXPECT_EQ(e->GetDisplayMessage(), "System error: Log file directory create failed");
        EXPECT_EQ(e->GetLogMessage(),
                  "Log file directory create failed (system error code : 2)"); // ENOENT
        delete e;
    }
    EXPECT_FALSE(IsLoggingStarted());
}

TEST_F(LoggingTest, UnopenableFileIsAFileError) {
    ASSERT_EQ(system(("mkdir -p " + m_dir.File("logs/TAVO.log")).c_str()), 0);
    try {
        StartIn(m_dir.File("logs"));
        FAIL() << "a directory opened as log file";
    } catch (Exception* e) {
        EXPECT_EQ(e->GetReturnCode(), ReturnCode_FileIoError);
        EXPECT_EQ(e->GetDisplayMessage(), "Can't open file '" + StdLog() + "'");
        delete e;
    }
}

TEST_F(LoggingTest, LogFileRefusesDoubleOpenAndWritesWhenClosed) {
    LogFile file;
    try {
        file.AddMessage("x", false);
        FAIL() << "wrote to a closed file";
    } catch (Exception* e) {
        EXPECT_EQ(e->GetReturnCode(), ReturnCode_InternalError);
        delete e;
    }
    file.Open(m_dir.File("one.log"));
    try {
        file.Open(m_dir.File("one.log"));
        FAIL() << "opened twice";
    } catch (Exception* e) {
        EXPECT_EQ(e->GetDisplayMessage(), "Internal error");
        delete e;
    }
    file.AddMessage("kept", false);
    file.Close(true);
    file.Close(true);
    EXPECT_EQ(ReadFile(m_dir.File("one.log")), "kept\n");
}

} // namespace
