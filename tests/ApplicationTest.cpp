// Runs the tavo executable as a script would and checks what it prints, logs and returns.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <regex>
#include <sys/stat.h>

#include "Interruption.h"
#include "SimulatorSupport.h"

namespace {

using namespace testsupport;

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

// The parts of a log line's time stamp, and the date of today as a pattern.
const char datePattern[] = R"(\d\d\.\d\d\.\d{4})";
const char timePattern[] = R"( \d\d:\d\d:\d\d\.\d{3} )";
std::string Today() {
    const time_t now = time(nullptr);
    char date[16];
    strftime(date, sizeof(date), "%d\\.%m\\.%Y", localtime(&now));
    return date;
}

class ApplicationTest : public ::testing::Test {
protected:
    // Runs tavo with the arguments plus private configuration and log locations.
    RunResult Run(std::vector<std::string> args, const std::string& logs = "logs") {
        args.push_back("/ConfigFilePath=" + m_dir.File("TAVO.ini"));
        args.push_back("/LogFilePath=" + m_dir.File(logs));
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

TEST_F(ApplicationTest, FailureBeforeTheLogIsOpenEndsTheRunUnlogged) {
    WriteFile(m_dir.File("file"), "");
    ASSERT_EQ(system(("mkdir -p " + m_dir.File("dir/TAVO.log")).c_str()), 0);
    const struct {
        std::vector<std::string> args;
        int status;
        std::string shown;
        std::string logs = "logs"; // the log directory
    } cases[] = {
        // Logging starts after the command line has been read; level -1 opens no log at all,
        // and of two settings of one name the later counts. The last two find a file where the
        // log directory belongs, and a directory where the log belongs.
        {{"clear", "3", "/Bad"}, 1, "Bad command line parameter: /Bad (use /? for help)"},
        {{"reads", "3"}, 1, "Unknown command (use /? for help)"},
        {{"runserver", "/StandardLog=1", "-StandardLog:-1"}, 99, "Internal error"},
        {{"runserver"}, 50, "System error: Log file directory create failed", "file"},
        {{"runserver"}, 13, "Can't open file '" + m_dir.File("dir/TAVO.log") + "'", "dir"},
    };
    for (const auto& c : cases) {
        const RunResult r = Run(c.args, c.logs);
        EXPECT_EQ(r.exitStatus, c.status);
        EXPECT_EQ(r.output, c.shown + "\nCompleted with errors\nReturn value " +
                                std::to_string(c.status) + "\n");
        EXPECT_FALSE(FileExists(StdLog())) << c.shown;
    }
}

TEST_F(ApplicationTest, RunIsLoggedFromItsStartToItsCompletion) {
    EcrSimulator sim;
    const std::string today = "(" + Today() + "|"; // the run may pass midnight
    EXPECT_EQ(RunTavoOn(sim, m_dir, {"clear", "3"}).exitStatus, 0);
    EXPECT_EQ(Run({"clear", "3", "/ProtocolSet=2"}).exitStatus, 10);
    const std::string stamp = std::string(datePattern) + timePattern;
    const std::string start = "TAVO driver version 3\\.3\\.3 started \\(as executable\\)\\. "
                              "Command line: \"[^\"]*tavo\" clear 3 /";
    const std::string pattern =
        "\n\n" + today + Today() + ")" + timePattern + start +
        "TTY=[^ ]+ /ConfigFilePath=[^ ]+ /LogFilePath=[^ ]+\n" + stamp +
        "I/O statistics : OUT frames = \\d+, IN frames = \\d+\n" + stamp + "Completed OK\n\n\n" +
        stamp + start + "ProtocolSet=2 /ConfigFilePath=[^ ]+ /LogFilePath=[^ ]+\n" + stamp +
        "Invalid ProtocolSet parameter\n" + stamp + "Completed with errors\n";
    const std::string log = ReadFile(StdLog());
    EXPECT_TRUE(std::regex_match(log, std::regex(pattern))) << log;
}

TEST_F(ApplicationTest, NewLogInTheSharedLogDirectoryIsWritableByItsGroup) {
    // As the package makes the log directory: new files get its group, and one member's umask
    // must not keep the next member from appending.
    ASSERT_EQ(mkdir(m_dir.File("logs").c_str(), 0755), 0);
    ASSERT_EQ(chmod(m_dir.File("logs").c_str(), 02775), 0);
    const mode_t umaskBefore = umask(022);
    Run({"runserver"});
    umask(umaskBefore);
    struct stat info;
    ASSERT_EQ(stat(StdLog().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0664u);
}

// The first signal asks the run to stop where nothing is lost; a second one ends it at once.
// Once the request is forgotten, the next signal is a first one again.
TEST(InterruptionTest, SecondSignalEndsTheProcessAtOnce) {
    EXPECT_EXIT(
        {
            InstallInterruptHandlers();
            std::raise(SIGTERM);
            ClearInterrupt();
            std::raise(SIGINT);
            std::fprintf(stderr, "pending %d\n", PendingInterrupt());
            std::raise(SIGINT);
        },
        ::testing::KilledBySignal(SIGINT), "pending 2");
}

} // namespace
