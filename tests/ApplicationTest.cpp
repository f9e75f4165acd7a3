// Runs the tavo executable as a script would and checks what it prints, logs and returns.
#include <gtest/gtest.h>

#include <regex>

#include "TestSupport.h"

namespace {

using testsupport::FileExists;
using testsupport::ReadFile;
using testsupport::RunResult;
using testsupport::RunTavo;
using testsupport::TempDir;
using testsupport::WriteFile;

const char usageAfterVersion[] =
    "DATA PRESET AND REPORTS\n"
    "-----------------------\n\n"
    "  TAVO.EXE command data [filename] [parameters]\n\n\n"
    "  command      - Read, Send, Delete, Clear, Init, ReadAndClear, ClearAndSend\n"
    "  data         - PRG section or report number\n"
    "  filename     - file name to use\n"
    "  parameters   - configuration parameters in form /Name=Value\n\n"
    "FISCAL PRINTER MODE\n"
    "-------------------\n\n"
    "  TAVO.EXE command filename [parameters]\n\n\n"
    "  command      - ExecuteFiscal, ReadFiscalStatus, ReadEftStatus\n"
    "  filename     - file name to use\n"
    "  parameters   - configuration parameters in form /Name=Value\n";

const std::regex usageHeadPattern(
    "Data exchange tool for ZEL ECRs\\.\n\n\n"
    "Version 3\\.3\\.3 \\(Compiled: [A-Z][a-z]{2} [ 1-3][0-9] (\\d{4}) \\d\\d:\\d\\d:\\d\\d\\)\n\n"
    "Copyright [^\n]*-(\\d{4}) ZEL[^\n]*\n\n\n");

const char timeStamp[] = R"(\d\d\.\d\d\.\d{4} \d\d:\d\d:\d\d\.\d{3} )";

class ApplicationTest : public ::testing::Test {
protected:
    // Runs tavo with the arguments plus private configuration and log locations.
    RunResult Run(std::vector<std::string> args) {
        args.push_back("/ConfigFilePath=" + m_dir.File("TAVO.ini"));
        args.push_back("/LogFilePath=" + m_dir.File("logs"));
        return RunTavo(args);
    }
    std::string StdLog() const { return m_dir.File("logs/TAVO.log"); }
    TempDir m_dir;
};

TEST_F(ApplicationTest, UsageForNoArgumentAndEveryHelpSwitch) {
    for (const std::vector<std::string>& args : std::vector<std::vector<std::string>>{
             {}, {"/?"}, {"-?"}, {"/h"}, {"-h"}, {"/help"}, {"-help"}, {"-h", "junk", "/x"}}) {
        const RunResult r = RunTavo(args);
        EXPECT_EQ(r.exitStatus, 0);
        const size_t tail = r.output.find("DATA PRESET");
        ASSERT_NE(tail, std::string::npos) << r.output;
        EXPECT_EQ(r.output.substr(tail), usageAfterVersion);
        const std::string head = r.output.substr(0, tail);
        std::smatch match;
        ASSERT_TRUE(std::regex_match(head, match, usageHeadPattern)) << head;
        EXPECT_EQ(match[1], match[2]) << "copyright ends with the build year";
        EXPECT_EQ(r.errors, "");
    }
}

TEST_F(ApplicationTest, CommandLineErrorsEndWithStatusOne) {
    const struct {
        std::vector<std::string> args;
        std::string message;
    } cases[] = {
        {{"/HELP"}, "Unknown command"},
        {{"list", "3"}, "Unknown command"},
        {{"read", "3"}, "Not enough parameters"},
        {{"readfiscalstatus"}, "Not enough parameters"},
        {{"read", "x1", "a.csv"}, "Unknown data type"},
        {{"clear", "3", "/ComNumber"}, "Bad command line parameter: /ComNumber"},
        {{"clear", "3", "/=5"}, "Bad command line parameter: /=5"},
        {{"clear", "3", "/ComNumber="}, "Bad command line parameter: /ComNumber="},
        {{"clear", "3", "ComNumber=5"}, "Bad command line parameter: ComNumber=5"},
    };
    for (const auto& c : cases) {
        const RunResult r = RunTavo(c.args);
        EXPECT_EQ(r.exitStatus, 1) << c.message;
        EXPECT_EQ(r.output,
                  c.message + " (use /? for help)\nCompleted with errors\nReturn value 1\n");
    }
    // Logging starts after the command line is parsed, so nothing is logged.
    const RunResult r = Run({"clear", "3", "/Bad"});
    EXPECT_EQ(r.exitStatus, 1);
    EXPECT_FALSE(FileExists(m_dir.File("logs")));
}

TEST_F(ApplicationTest, RunIsLoggedWithSeparatorStartAndCompletion) {
    const RunResult r = Run({"runserver", "/ServerPortFrom=5000"});
    EXPECT_EQ(r.exitStatus, 99);
    EXPECT_EQ(r.output, "Completed with errors\nReturn value 99\n");
    const std::string log = ReadFile(StdLog());
    const std::string pattern =
        std::string("\n\n") + timeStamp +
        "TAVO driver version 3\\.3\\.3 started \\(as executable\\)\\. Command line: \"[^\"]*tavo\" "
        "runserver /ServerPortFrom=5000 /ConfigFilePath=[^ ]+ /LogFilePath=[^ ]+\n" +
        timeStamp + "Completed with errors\n";
    EXPECT_TRUE(std::regex_match(log, std::regex(pattern))) << log;
    EXPECT_FALSE(FileExists(m_dir.File("logs/dbgerror.log")));

    // A second run appends below the first.
    Run({"runserver"});
    const std::string twice = ReadFile(StdLog());
    EXPECT_EQ(twice.substr(0, log.size()), log);
    EXPECT_GT(twice.size(), log.size());
}

TEST_F(ApplicationTest, StandardLogZeroLeavesTheLogAsItWas) {
    ASSERT_EQ(system(("mkdir -p " + m_dir.File("logs")).c_str()), 0);
    WriteFile(StdLog(), "previous runs\n");
    WriteFile(m_dir.File("logs/dbgerror.log"), "old debug\n");
    WriteFile(m_dir.File("TAVO.ini"), "[Common]\nStandardLog=0\nDbgErrorLog=3\n");
    EXPECT_EQ(Run({"runserver"}).exitStatus, 99);
    EXPECT_EQ(ReadFile(StdLog()), "previous runs\n");
    EXPECT_EQ(ReadFile(m_dir.File("logs/dbgerror.log")), "old debug\n");
}

TEST_F(ApplicationTest, UnreadableConfigurationFallsBackToDefaults) {
    // The NUL byte makes the whole file unreadable, so StandardLog=0 does not apply.
    WriteFile(m_dir.File("TAVO.ini"), std::string("[Common]\nStandardLog=0\n\0", 24));
    EXPECT_EQ(Run({"runserver"}).exitStatus, 99);
    EXPECT_NE(ReadFile(StdLog()).find("Completed with errors"), std::string::npos);

    WriteFile(m_dir.File("TAVO.ini"),
              "[Common]\nStandardLog=0\nX=" + std::string(10 * 1024 * 1024, 'x') + "\n");
    std::remove(StdLog().c_str());
    EXPECT_EQ(Run({"runserver"}).exitStatus, 99);
    EXPECT_FALSE(FileExists(StdLog()));
}

TEST_F(ApplicationTest, UnusableLogDirectoryIsReported) {
    WriteFile(m_dir.File("file"), "");
    RunResult r = RunTavo({"runserver", "/LogFilePath=" + m_dir.File("file/sub"),
                           "/ConfigFilePath=" + m_dir.File("none.ini")});
    EXPECT_EQ(r.exitStatus, 50);
    EXPECT_EQ(r.output, "System error: Log file directory create failed\nCompleted with errors\n"
                        "Return value 50\n");

    ASSERT_EQ(system(("mkdir -p " + m_dir.File("logs/TAVO.log")).c_str()), 0);
    r = Run({"runserver"});
    EXPECT_EQ(r.exitStatus, 13);
    EXPECT_EQ(r.output,
              "Can't open file '" + StdLog() + "'\nCompleted with errors\nReturn value 13\n");
}

TEST_F(ApplicationTest, NoStandardLogEndsInAnInternalError) {
    const RunResult r = Run({"runserver", "/StandardLog=-1"});
    EXPECT_EQ(r.exitStatus, 99);
    EXPECT_EQ(r.output, "Internal error\nCompleted with errors\nReturn value 99\n");
    EXPECT_FALSE(FileExists(StdLog()));
}

TEST_F(ApplicationTest, BadProtocolSetIsAConfigurationError) {
    const RunResult r = Run({"clear", "3", "/ProtocolSet=2"});
    EXPECT_EQ(r.exitStatus, 10);
    EXPECT_EQ(r.output, "Configuration error: Invalid ProtocolSet parameter\n"
                        "Completed with errors\nReturn value 10\n");
    EXPECT_NE(ReadFile(StdLog()).find(" Invalid ProtocolSet parameter\n"), std::string::npos);
}

} // namespace
