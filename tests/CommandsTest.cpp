// The commands end to end: the real tavo executable against the ECR simulator.
#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <regex>
#include <sstream>
#include <sys/stat.h>
#include <termios.h>
#include <tuple>
#include <unistd.h>

#include "SimulatorSupport.h"

namespace {

using testsupport::EcrSimulator;
using testsupport::ReadFile;
using testsupport::RunOptions;
using testsupport::RunResult;
using testsupport::RunTavoOn;
using testsupport::TempDir;
using testsupport::WaitFor;
using testsupport::WriteFile;

// An article file of count lines: number, quoted name, price.
std::string Articles(int first, int count) {
    std::string text;
    for (int key = first; key < first + count; ++key) {
        text += std::to_string(key) + ",\"Article " + std::to_string(key) + "\"," +
                std::to_string(key) + ".25\r\n";
    }
    return text;
}

const std::string request = "Sending operation request...\r" + std::string(28, ' ') + "\r";
const std::string ok = "Completed OK\nReturn value 0\n";
std::string Failed(int status) {
    return "Completed with errors\nReturn value " + std::to_string(status) + "\n";
}

// One run of the tool against a fresh simulator, and what it must leave behind. The run's
// working directory is the test's, where the input files lie.
struct Case {
    Case(const char* what_, std::vector<std::string> command_, int status_, std::string output_)
        : what(what_), command(std::move(command_)), status(status_), output(std::move(output_)) {}
    // Options of the simulator.
    Case& Simulator(std::vector<std::string> options) { return simulator = options, *this; }
    // A run that prepares the register and must succeed.
    Case& Before(std::vector<std::string> run) { return before = run, *this; }
    // What section 3 holds afterwards.
    Case& Section3(std::string content) { return section3 = content, checkSection = true, *this; }
    Case& Errors(std::string text) { return errors = text, *this; }
    // "name=content" of a file afterwards; "%name" is a file of the simulator.
    Case& File(std::string nameAndContent) { return file = nameAndContent, *this; }
    // Consecutive lines of the log, without their time stamps.
    Case& Log(std::string lines) { return log = lines, *this; }
    // A text that the simulator's traffic log must show.
    Case& SimulatorLog(std::string text) { return simulatorLog = text, *this; }
    // Standard output on a terminal instead of a pipe.
    Case& OnTerminal() { return terminal = true, *this; }
    // The register hears nothing of the run.
    Case& LineQuiet() { return lineQuiet = true, *this; }

    const char* what;
    std::vector<std::string> command;
    int status;
    std::string output;
    std::vector<std::string> simulator, before;
    std::string section3, errors, file, log, simulatorLog;
    bool checkSection = false, terminal = false, lineQuiet = false;
};

class CommandsTest : public ::testing::Test {
protected:
    void SetUp() override {
        const std::pair<const char*, std::string> files[] = {
            {"plu.csv", Articles(1, 12)},
            {"plu20.csv", Articles(1, 20)},
            {"kept.csv", Articles(20, 5)},
            {"new.csv", Articles(10, 3)},
            {"gone.csv", "11\r\n"},
            {"bad.csv", "1,\"A\",1\r\n\r\n3,\"C\",3\r\n1,\"B\",1\r\nx,\"bad\"\r\n4,abc\r\n"},
            {"dup.csv", "7,\"A\"\r\n7,\"B\"\r\n"},
            {"receipt.csv", "5,\"Milk\",0.89\r\n3\r\n\r\n5,\"Bread\",1.5\r\n1\r\n"},
            {"badreceipt.csv", "5,\"Milk\"\r\n3\r\n\"Total\",1\r\n"},
            {"one.csv", "5\r\n"},
            {"logo.bin", RawBytes()},
            // A bitmap whose header promises 2^31 - 1 rows of 2^31 - 1 pixels.
            {"huge.bmp", std::string("BM\0\0\0\0\0\0\0\0\x3e\0\0\0\x28\0\0\0", 18) +
                             "\xff\xff\xff\x7f\xff\xff\xff\x7f" + std::string("\1\0\1\0", 4) +
                             std::string(32, '\0')},
        };
        for (const auto& file : files) {
            WriteFile(m_work.File(file.first), file.second);
        }
        mkdir(m_work.File("folder").c_str(), 0755);
        mkfifo(m_work.File("pipe").c_str(), 0644);
    }
    static std::string RawBytes() {
        std::string raw;
        for (int i = 0; i < 130; ++i) {
            raw += static_cast<char>(i * 7);
        }
        return raw;
    }
    RunResult Tavo(const EcrSimulator& sim, const std::vector<std::string>& command,
                   bool terminal = false) {
        RunOptions options;
        options.outputToTerminal = terminal;
        options.directory = m_work.Path();
        return RunTavoOn(sim, m_work, command, {}, options);
    }
    // The simulator stores a section after it has acknowledged the end of the data, so the
    // file may lag a moment behind the end of the run.
    static void ExpectFile(const std::string& path, const std::string& expected) {
        WaitFor([&] { return ReadFile(path) == expected; });
        EXPECT_TRUE(ReadFile(path) == expected) << path << " holds:\n" << ReadFile(path);
    }
    std::string LogWithoutTimes() {
        static const std::regex stamp("\\d\\d\\.\\d\\d\\.\\d{4} \\d\\d:\\d\\d:\\d\\d\\.\\d{3} ");
        return std::regex_replace(ReadFile(m_work.File("logs/TAVO.log")), stamp, "");
    }
    void Check(const Case& c) {
        SCOPED_TRACE(c.what);
        EcrSimulator sim(c.simulator);
        ASSERT_FALSE(sim.Tty().empty());
        if (!c.before.empty()) {
            ASSERT_EQ(Tavo(sim, c.before).exitStatus, 0);
            // Every preparing run is a send; the simulator logs its end after tavo has ended.
            ASSERT_TRUE(WaitFor(
                [&] { return sim.TrafficLog().find("<- end of data") != std::string::npos; }));
        }
        const std::string trafficBefore = sim.TrafficLog();
        const RunResult r = Tavo(sim, c.command, c.terminal);
        EXPECT_EQ(r.exitStatus, c.status);
        EXPECT_EQ(r.output, c.output);
        EXPECT_EQ(r.errors, c.errors);
        if (c.checkSection) {
            ExpectFile(sim.DataDir() + "/section3.csv", c.section3);
        }
        if (!c.file.empty()) {
            const size_t equals = c.file.find('=');
            const std::string name = c.file.substr(0, equals);
            const bool simulators = name[0] == '%';
            // A file of the run must exist even when it is to be empty.
            EXPECT_TRUE(simulators || testsupport::FileExists(m_work.File(name))) << name;
            ExpectFile(simulators ? sim.DataDir() + "/" + name.substr(1) : m_work.File(name),
                       c.file.substr(equals + 1));
        }
        EXPECT_NE(LogWithoutTimes().find(c.log), std::string::npos) << LogWithoutTimes();
        EXPECT_TRUE(WaitFor([&] {
            return sim.TrafficLog().find(c.simulatorLog) != std::string::npos;
        })) << c.simulatorLog;
        if (c.lineQuiet) {
            EXPECT_EQ(sim.TrafficLog(), trafficBefore);
        }
    }
    TempDir m_work;
};

TEST_F(CommandsTest, StandardCommandsEndWithTheirOutcome) {
    const std::string badLines = "Line 2     - Record is empty               \n"
                                 "Line 5     - Record has bad format         \n"
                                 "Line 1     - Record number is not unique   \n"
                                 "Line 6     - Record has bad format         \n";
    const Case cases[] = {
        Case("send lists every bad line", {"send", "3", "bad.csv"}, 2,
             badLines + "Records sent: 2\n" + Failed(2))
            .Section3("1,\"B\",1\r\n3,\"C\",3\r\n")
            .Log("Found 1 duplicate record(s)\nFound 1 empty record(s)\n"
                 "Found 2 bad format record(s)\n"),
        Case("allowed duplicates leave the other bad lines failing",
             {"send", "3", "bad.csv", "/IgnoreDuplicates=1"}, 2,
             badLines + "Records sent: 2\n" + Failed(2)),
        Case("allowed duplicates alone", {"send", "3", "dup.csv", "/IgnoreDuplicates=1"}, 0,
             "Line 2     - Record number is not unique   \nRecords sent: 1\n" + ok)
            .Section3("7,\"B\"\r\n"),
        Case("records the register refuses", {"send", "3", "plu20.csv"}, 14,
             "Line 5     - Record can not be updated     \n"
             "Line 17    - Record field 3 has invalid value\nRecords sent: 18\n" +
                 Failed(14))
            .Simulator({"--bad-data", "17:3", "--busy-record", "5"})
            .Log("2 record(s) rejected by ECR\n"),
        Case("read and clear of an empty section clears nothing", {"readandclear", "4", "none.csv"},
             0, request + "Records read: 0\n" + ok)
            .File("none.csv=")
            .OnTerminal(),
        Case("read and clear", {"readandclear", "3", "back.csv"}, 0,
             request + "Records read: 10\rRecords read: 12\n" + request + "Clearing ...\r" +
                 std::string(12, ' ') + "\r" + ok)
            .Before({"send", "3", "plu.csv"})
            .Section3("")
            .File("back.csv=" + Articles(1, 12))
            .OnTerminal(),
        Case("clear and send", {"clearandsend", "3", "new.csv"}, 0, "Records sent: 3\n" + ok)
            .Before({"send", "3", "kept.csv"})
            .Section3(Articles(10, 3)),
        Case("delete", {"delete", "3", "gone.csv"}, 0, "Records deleted: 1\n" + ok)
            .Before({"send", "3", "new.csv"})
            .Section3(Articles(10, 1) + Articles(12, 1)),
        Case("init waits for the register", {"init", "3"}, 0,
             request + "Initializing ...\r" + std::string(16, ' ') + "\r" + ok)
            .Simulator({"--wait-frames", "25"})
            .OnTerminal(),
        Case("the register sees the section's low byte", {"clear", "300"}, 0, ok)
            .SimulatorLog("request clear section 44"),
        Case("packets of five", {"send", "3", "plu.csv", "/RecordsInPacket=5"}, 0,
             "Preparing data ...\r" + std::string(18, ' ') + "\r" + request +
                 "Records sent: 5\rRecords sent: 10\rRecords sent: 12\rRecords sent: 12\n" + ok)
            .Simulator({"--packet", "5"})
            .Section3(Articles(1, 12))
            .OnTerminal(),
        Case("packets of none still end the data", {"send", "4", "plu.csv", "/RecordsInPacket=0"},
             0, "Records sent: 0\n" + ok)
            .SimulatorLog("end of data, section 4 has 0 records"),
        Case("a session the register ends is renegotiated", {"send", "3", "plu20.csv"}, 0,
             "Records sent: 20\n" + ok)
            .Simulator({"--session-timeout", "4"})
            .Section3(Articles(1, 20))
            .Log("Communication timeout on ECR side, renegotiating...\n"
                 "Communication timeout on ECR side, renegotiating...\n"),
        Case("records in flight cannot be renegotiated",
             {"send", "3", "plu.csv", "/RecordsInPacket=2"}, 5,
             "\nCommunication error: Unexpected data received, retry not possible\n" + Failed(5))
            .Simulator({"--session-timeout", "4", "--packet", "2"}),
        Case("raw files are 64-byte records", {"read", "195", "back.bin"}, 0,
             "Records read: 3\n" + ok)
            .Before({"send", "195", "logo.bin"})
            .File("back.bin=" + RawBytes()),
    };
    for (const Case& c : cases) {
        Check(c);
    }
}

TEST_F(CommandsTest, FiscalCommandsRunInFileOrderOrNotAtAll) {
    const Case cases[] = {
        Case("file order, repeats included",
             {"executefiscal", "receipt.csv", "/SortInputFileLines=1"}, 0,
             "Line 3     - Record is empty               \nCommands sent: 4\n" + ok)
            .Simulator({"--wait-frames", "3"})
            .File("%fiscal.csv=5,\"Milk\",0.89\r\n3\r\n5,\"Bread\",1.5\r\n1\r\n"),
        Case("a bad line stops the run before any command", {"executefiscal", "badreceipt.csv"}, 2,
             "Line 3     - Record has bad format         \n\nInput file contains bad data\n" +
                 Failed(2))
            .File("%fiscal.csv=")
            .Log("Found 1 bad format record(s)\n"),
        Case("a busy register", {"executefiscal", "one.csv"}, 3,
             "\nIncorrect keylock position\n" + Failed(3))
            .Simulator({"--fiscal-answer", "2"}),
        Case("fiscal status", {"readfiscalstatus", "status.bin", "/Password=1"}, 0,
             "Reading ECR status...\r" + std::string(24, ' ') + "\r" + ok)
            .Simulator({"--password", "1"})
            .File("status.bin=4711,\"FISCAL OK\",0,123.45\r\n")
            .OnTerminal(),
        Case("payment terminal status", {"readeftstatus", "eft.csv"}, 0, ok)
            .File("eft.csv=1,\"EFT READY\"\r\n"),
    };
    for (const Case& c : cases) {
        Check(c);
    }
}

// A bad day in a shop: whatever goes wrong, the run ends with its status and its cause, and the
// register keeps what it had.
TEST_F(CommandsTest, BadDayEndsWithItsCauseLosingNothing) {
    const std::vector<std::string> preload = {"send", "3", "kept.csv", "/Password=1"};
    // A refused input: status 13, its cause, the register untouched and never contacted.
    auto refused = [&](const char* what, std::vector<std::string> command, const char* reason) {
        const std::string name = command[0] == "executefiscal" ? command[1] : command[2];
        return Case(what, command, 13, "Unable to open file '" + name + "'\n" + Failed(13))
            .Before(preload)
            .Section3(Articles(20, 5))
            .Errors("tavo: " + name + ": " + reason + "\n")
            .LineQuiet();
    };
    const std::string unaccepted = "Line 1     - Record can not be updated     \n"
                                   "Line 2     - Record can not be updated     \n"
                                   "Line 3     - Record can not be updated     \n";
    const Case cases[] = {
        Case("read and clear onto a full disk", {"readandclear", "3", "/dev/full", "/Password=1"},
             13, "File '/dev/full' write error\n" + Failed(13))
            .Simulator({"--password", "1"})
            .Before(preload)
            .Section3(Articles(20, 5))
            .Errors("tavo: /dev/full: No space left on device\n"),
        refused("read into a missing folder", {"read", "3", "no/back.csv"},
                "No such file or directory"),
        refused("clear and send of a missing file", {"clearandsend", "3", "missing.csv"},
                "No such file or directory"),
        refused("clear and send of a folder", {"clearandsend", "3", "folder"}, "Is a directory"),
        refused("send of a folder", {"send", "3", "folder"}, "Is a directory"),
        refused("send of a pipe", {"send", "3", "pipe"}, "not a regular file"),
        refused("delete of a folder", {"delete", "3", "folder"}, "Is a directory"),
        refused("fiscal file that is a folder", {"executefiscal", "folder", "/Password=1"},
                "Is a directory")
            .Simulator({"--password", "1"}),
        Case("bitmap too large to hold", {"send", "3", "huge.bmp"}, 50,
             "System error: Not enough memory\n" + Failed(50))
            .Before(preload)
            .Section3(Articles(20, 5))
            .LineQuiet(),
        Case("answer that stops after one byte",
             {"clear", "3", "/SerialProtocolByteMaxTime=300", "/EcrOperationMaxTime=300",
              "/SerialProtocolRetryCount=2"},
             5, "\nCommunication error: ECR is not responding\n" + Failed(5))
            .Simulator({"--stall-answer", "1"}),
        Case("sessions that end before any record is taken", {"send", "3", "plu.csv"}, 5,
             unaccepted + unaccepted + unaccepted +
                 "\nCommunication error: ECR times out every session before accepting a record\n" +
                 Failed(5))
            .Simulator({"--session-timeout", "3", "--busy-record", "1", "--busy-record", "2",
                        "--busy-record", "3"})
            .Section3(""),
    };
    for (const Case& c : cases) {
        Check(c);
    }
}

// The trace holds the run's start line, then every block on the line in both directions: the
// request, the record and the end of the data going out and acknowledged, and the register's
// two answers coming in and acknowledged.
TEST_F(CommandsTest, TraceFileHoldsEveryBlockInBothDirections) {
    EcrSimulator sim;
    ASSERT_EQ(Tavo(sim, {"delete", "3", "gone.csv", "/TraceFile=trace.txt"}).exitStatus, 0);
    std::istringstream trace(ReadFile(m_work.File("trace.txt")));
    std::string line;
    std::getline(trace, line);
    EXPECT_NE(line.find(" started (as executable). Command line: "), std::string::npos) << line;
    std::string directions;
    while (std::getline(trace, line)) {
        ASSERT_GT(line.size(), 33u);
        directions += line.substr(24, 10) + "|";
    }
    EXPECT_EQ(directions, "PC->ECR 14|PC<-ECR  1|PC<-ECR  9|PC->ECR  1|PC->ECR 12|PC<-ECR  1|"
                          "PC<-ECR  9|PC->ECR  1|PC->ECR  8|PC<-ECR  1|");
}

// Ctrl-C, or a kill from a back-office program, stops a transfer cleanly: the register's data
// session is ended, the records so far are kept, the line is given back as it was, and the
// next run starts at once.
TEST_F(CommandsTest, SignalStopsTheTransferCleanly) {
    EcrSimulator sim;
    const int records = 3000;
    WriteFile(m_work.File("many.csv"), Articles(1, records));
    ASSERT_EQ(Tavo(sim, {"send", "3", "many.csv"}).exitStatus, 0);
    const struct {
        int signalNumber;
        std::vector<std::string> command;
        std::string done; // the final count line, then the signal is sent at its 100
    } cases[] = {
        {SIGINT, {"send", "3", "many.csv"}, "Records sent: "},
        {SIGTERM, {"read", "3", "back.csv"}, "Records read: "},
    };
    const int fd = open(("/dev/" + sim.Tty()).c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
    ASSERT_GE(fd, 0);
    termios before;
    ASSERT_EQ(tcgetattr(fd, &before), 0);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.command[0]);
        RunOptions options;
        options.outputToTerminal = true;
        options.directory = m_work.Path();
        bool signalled = false;
        options.onOutput = [&](pid_t pid, const std::string& output) {
            if (!signalled && output.find(c.done + "100\r") != std::string::npos) {
                signalled = kill(pid, c.signalNumber) == 0;
            }
        };
        const RunResult r = RunTavoOn(sim, m_work, c.command, {}, options);
        ASSERT_TRUE(signalled) << r.output;
        EXPECT_EQ(r.exitStatus, 128 + c.signalNumber);
        const std::string tail = "\nInterrupted\n" + Failed(128 + c.signalNumber);
        const size_t doneAt = r.output.rfind(c.done);
        ASSERT_NE(doneAt, std::string::npos) << r.output;
        const size_t count = std::stoul(r.output.substr(doneAt + c.done.size()));
        EXPECT_EQ(r.output.substr(doneAt), c.done + std::to_string(count) + tail);
        EXPECT_NE(
            LogWithoutTimes().find("Interrupted (signal " + std::to_string(c.signalNumber) + ")\n"),
            std::string::npos);
        if (c.command[0] == "read") {
            // Every record counted on the screen is in the file, and nothing else.
            EXPECT_TRUE(ReadFile(m_work.File("back.csv")) == Articles(1, static_cast<int>(count)));
        }
        termios after;
        ASSERT_EQ(tcgetattr(fd, &after), 0);
        EXPECT_EQ(std::tie(after.c_iflag, after.c_oflag, after.c_cflag, after.c_lflag),
                  std::tie(before.c_iflag, before.c_oflag, before.c_cflag, before.c_lflag));
        EXPECT_EQ(std::memcmp(after.c_cc, before.c_cc, sizeof(before.c_cc)), 0);
        // The next run is not kept waiting by a lock or by the register's unfinished session.
        options.onOutput = nullptr;
        options.timeoutMs = 15000;
        EXPECT_EQ(RunTavoOn(sim, m_work, c.command, {}, options).exitStatus, 0);
    }
    close(fd);
    EXPECT_TRUE(ReadFile(m_work.File("back.csv")) == Articles(1, records));
}

} // namespace
