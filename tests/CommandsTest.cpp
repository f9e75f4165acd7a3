// The commands end to end: the real tavo executable against the ECR simulator.
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sstream>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include "SimulatorSupport.h"

namespace {

using testsupport::EcrSimulator;
using testsupport::FileExists;
using testsupport::FinalLines;
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

class CommandsTest : public ::testing::Test {
protected:
    RunResult Tavo(const EcrSimulator& sim, const std::vector<std::string>& command,
                   const std::vector<std::string>& parameters = {}) {
        return RunTavoOn(sim, m_work, command, parameters);
    }
    // The run as a person at a terminal sees it, progress texts included.
    RunResult TavoOnTerminal(const EcrSimulator& sim, const std::vector<std::string>& command,
                             const std::vector<std::string>& parameters = {}) {
        RunOptions options;
        options.outputToTerminal = true;
        return RunTavoOn(sim, m_work, command, parameters, options);
    }
    // The simulator stores a section after it has acknowledged the end of the data, so the
    // file may lag a moment behind the end of the run.
    void ExpectSection(const EcrSimulator& sim, int section, const std::string& expected) {
        const std::string path = sim.DataDir() + "/section" + std::to_string(section) + ".csv";
        WaitFor([&] { return ReadFile(path) == expected; });
        EXPECT_EQ(ReadFile(path), expected) << "section " << section;
    }
    std::string Log() { return ReadFile(m_work.File("logs/TAVO.log")); }
    std::string File(const std::string& name) { return m_work.File(name); }
    TempDir m_work;
};

TEST_F(CommandsTest, SendListsEveryBadLineAndReturnsTwo) {
    EcrSimulator sim;
    ASSERT_FALSE(sim.Tty().empty());
    WriteFile(File("in.csv"), "1,\"A\",1\r\n\r\n3,\"C\",3\r\n1,\"B\",1\r\nx,\"bad\"\r\n");
    const RunResult r = Tavo(sim, {"send", "3", File("in.csv")});
    EXPECT_EQ(r.exitStatus, 2);
    EXPECT_EQ(FinalLines(r.output), "Line 2     - Record is empty               \n"
                                    "Line 5     - Record has bad format         \n"
                                    "Line 1     - Record number is not unique   \n"
                                    "Records sent: 2\n"
                                    "Completed with errors\n"
                                    "Return value 2\n");
    // The good records reached the ECR; of the duplicates the later line counts.
    ExpectSection(sim, 3, "1,\"B\",1\r\n3,\"C\",3\r\n");
    const std::string log = Log();
    EXPECT_NE(log.find("Found 1 duplicate record(s)\n"), std::string::npos) << log;
    EXPECT_NE(log.find("Found 1 empty record(s)\n"), std::string::npos);
    EXPECT_NE(log.find("Found 1 bad format record(s)\n"), std::string::npos);

    // With duplicates allowed, the empty and the bad line still fail the run.
    EXPECT_EQ(Tavo(sim, {"send", "3", File("in.csv")}, {"/IgnoreDuplicates=1"}).exitStatus, 2);
    WriteFile(File("dup.csv"), "7,\"A\"\r\n7,\"B\"\r\n");
    EXPECT_EQ(Tavo(sim, {"send", "3", File("dup.csv")}, {"/IgnoreDuplicates=1"}).exitStatus, 0);
}

TEST_F(CommandsTest, RecordsRejectedByTheEcrReturn14WithLineAndField) {
    EcrSimulator sim({"--bad-data", "17:3", "--busy-record", "5"});
    WriteFile(File("plu.csv"), Articles(1, 20));
    const RunResult r = Tavo(sim, {"send", "3", File("plu.csv")});
    EXPECT_EQ(r.exitStatus, 14);
    EXPECT_EQ(FinalLines(r.output), "Line 5     - Record can not be updated     \n"
                                    "Line 17    - Record field 3 has invalid value\n"
                                    "Records sent: 18\n"
                                    "Completed with errors\n"
                                    "Return value 14\n");
    EXPECT_NE(Log().find(" 2 record(s) rejected by ECR\n"), std::string::npos);
}

TEST_F(CommandsTest, ReadOfAnEmptySectionAndReadAndClear) {
    EcrSimulator sim;
    RunResult r = TavoOnTerminal(sim, {"read", "4", File("empty.csv")});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(r.output, "Sending operation request...\r                            \r"
                        "Records read: 0\nCompleted OK\nReturn value 0\n");
    EXPECT_TRUE(FileExists(File("empty.csv")));
    EXPECT_EQ(ReadFile(File("empty.csv")), "");

    // Nothing read, nothing cleared.
    r = Tavo(sim, {"readandclear", "4", File("none.csv")});
    EXPECT_EQ(r.output.find("Clearing"), std::string::npos);

    WriteFile(File("plu.csv"), Articles(1, 12));
    ASSERT_EQ(Tavo(sim, {"send", "3", File("plu.csv")}).exitStatus, 0);
    r = TavoOnTerminal(sim, {"readandclear", "3", File("back.csv")});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(r.output, "Sending operation request...\r                            \r"
                        "Records read: 10\rRecords read: 12\n"
                        "Sending operation request...\r                            \r"
                        "Clearing ...\r            \rCompleted OK\nReturn value 0\n");
    EXPECT_EQ(ReadFile(File("back.csv")), Articles(1, 12));
    ExpectSection(sim, 3, "");
}

TEST_F(CommandsTest, ClearAndSendReplacesAndDeleteRemoves) {
    EcrSimulator sim;
    WriteFile(File("old.csv"), Articles(1, 5));
    WriteFile(File("new.csv"), Articles(10, 3));
    ASSERT_EQ(Tavo(sim, {"send", "3", File("old.csv")}).exitStatus, 0);
    RunResult r = Tavo(sim, {"clearandsend", "3", File("new.csv")});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(FinalLines(r.output), "Records sent: 3\nCompleted OK\nReturn value 0\n");
    ExpectSection(sim, 3, Articles(10, 3));

    WriteFile(File("gone.csv"), "11\r\n");
    r = Tavo(sim, {"delete", "3", File("gone.csv")}, {"/TraceFile=" + File("trace.txt")});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(FinalLines(r.output), "Records deleted: 1\nCompleted OK\nReturn value 0\n");
    ExpectSection(sim, 3, Articles(10, 1) + Articles(12, 1));
    // The trace: the start line, then request, record and end of data each going out and
    // acknowledged, and the two answers coming in and acknowledged.
    std::istringstream trace(ReadFile(File("trace.txt")));
    std::string line;
    std::getline(trace, line);
    EXPECT_NE(line.find(" started (as executable). Command line: "), std::string::npos) << line;
    std::string directions;
    while (std::getline(trace, line)) {
        ASSERT_GT(line.size(), 33u);
        directions += line.substr(24, 7) + line.substr(31, 3) + "|";
    }
    EXPECT_EQ(directions, "PC->ECR 14|PC<-ECR  1|PC<-ECR  9|PC->ECR  1|PC->ECR 12|PC<-ECR  1|"
                          "PC<-ECR  9|PC->ECR  1|PC->ECR  8|PC<-ECR  1|");
}

TEST_F(CommandsTest, InitAndClearWaitForTheEcr) {
    EcrSimulator sim({"--wait-frames", "25"});
    RunResult r = TavoOnTerminal(sim, {"init", "3"});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(r.output, "Sending operation request...\r                            \r"
                        "Initializing ...\r                \rCompleted OK\nReturn value 0\n");
    r = Tavo(sim, {"clear", "300"}); // the ECR sees the section's low byte
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_NE(sim.TrafficLog().find("request clear section 44"), std::string::npos);
}

TEST_F(CommandsTest, PacketsOfFiveRecords) {
    EcrSimulator sim({"--packet", "5"});
    WriteFile(File("plu.csv"), Articles(1, 12));
    const RunResult r = TavoOnTerminal(sim, {"send", "3", File("plu.csv")}, {"/RecordsInPacket=5"});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(r.output, "Preparing data ...\r                  \r"
                        "Sending operation request...\r                            \r"
                        "Records sent: 5\rRecords sent: 10\rRecords sent: 12\r"
                        "Records sent: 12\nCompleted OK\nReturn value 0\n");
    ExpectSection(sim, 3, Articles(1, 12));
    // Captured by a script, the output holds the same lines without the running counters.
    const RunResult piped = Tavo(sim, {"send", "3", File("plu.csv")}, {"/RecordsInPacket=5"});
    EXPECT_EQ(piped.output, FinalLines(r.output));

    // A packet size of 0 sends nothing, but the request and the end of data still go out.
    const RunResult none = Tavo(sim, {"send", "4", File("plu.csv")}, {"/RecordsInPacket=0"});
    EXPECT_EQ(none.exitStatus, 0);
    EXPECT_EQ(FinalLines(none.output), "Records sent: 0\nCompleted OK\nReturn value 0\n");
    EXPECT_TRUE(WaitFor([&] {
        return sim.TrafficLog().find("end of data, section 4 has 0 records") != std::string::npos;
    }));
}

TEST_F(CommandsTest, TimeoutOnTheEcrSideIsRenegotiated) {
    EcrSimulator sim({"--session-timeout", "4"});
    WriteFile(File("plu.csv"), Articles(1, 10));
    RunResult r = Tavo(sim, {"send", "3", File("plu.csv")});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(FinalLines(r.output), "Records sent: 10\nCompleted OK\nReturn value 0\n");
    ExpectSection(sim, 3, Articles(1, 10));
    const std::string log = Log();
    const std::string note = "Communication timeout on ECR side, renegotiating...\n";
    const size_t first = log.find(note);
    ASSERT_NE(first, std::string::npos) << log;
    EXPECT_NE(log.find(note, first + 1), std::string::npos);

    // With records in flight a renegotiation cannot know where to resume.
    EcrSimulator packets({"--session-timeout", "4", "--packet", "2"});
    r = Tavo(packets, {"send", "3", File("plu.csv")}, {"/RecordsInPacket=2"});
    EXPECT_EQ(r.exitStatus, 5);
    EXPECT_NE(r.output.find("\nCommunication error: Unexpected data received, retry not possible\n"
                            "Completed with errors\nReturn value 5\n"),
              std::string::npos)
        << r.output;
}

// A bad day in a shop: whatever goes wrong, the run ends with its status and its cause, and the
// register keeps what it had.
struct BadDayCase {
    const char* what;
    std::vector<std::string> simulatorOptions;
    std::vector<std::string> command; // "@" stands for the test's work directory
    std::vector<std::string> parameters;
    int exitStatus;
    std::string finalLines; // the end of the output, "@" for the work directory
    std::string cause;      // standard error, "@" for the work directory
    bool preload;           // the register holds a section before the run
    bool lineStaysQuiet;    // the register hears nothing of the run
};

std::string InWork(std::string text, const std::string& work) {
    for (size_t at = text.find('@'); at != std::string::npos; at = text.find('@', at)) {
        text.replace(at, 1, work);
        at += work.size();
    }
    return text;
}

TEST_F(CommandsTest, BadDayEndsWithItsCauseAndLosesNothing) {
    // A bitmap whose header promises 2^31 - 1 rows of 2^31 - 1 pixels.
    std::string huge = std::string("BM") + std::string(8, '\0') + std::string("\x3e\0\0\0", 4) +
                       std::string("\x28\0\0\0", 4) + "\xff\xff\xff\x7f\xff\xff\xff\x7f" +
                       std::string("\x01\0\x01\0", 4) + std::string(32, '\0');
    WriteFile(File("huge.bmp"), huge);
    WriteFile(File("plu.csv"), Articles(1, 10));
    mkdir(File("folder").c_str(), 0755);
    mkfifo(File("pipe").c_str(), 0644);
    // Under AddressSanitizer an allocation beyond its limit must fail as it does without it.
    setenv("ASAN_OPTIONS", "allocator_may_return_null=1", 1);
    const std::string unopenable = "\nCommunication error: ECR is not responding\n";
    const BadDayCase cases[] = {
        {"read and clear onto a full disk",
         {},
         {"readandclear", "3", "/dev/full"},
         {},
         13,
         "File '/dev/full' write error\n",
         "tavo: /dev/full: No space left on device\n",
         true,
         false},
        {"read into a missing folder",
         {},
         {"read", "3", "@/no/back.csv"},
         {},
         13,
         "Unable to open file '@/no/back.csv'\n",
         "tavo: @/no/back.csv: No such file or directory\n",
         true,
         true},
        {"clear and send of a missing file",
         {},
         {"clearandsend", "3", "@/missing.csv"},
         {},
         13,
         "Unable to open file '@/missing.csv'\n",
         "tavo: @/missing.csv: No such file or directory\n",
         true,
         true},
        {"clear and send of a folder",
         {},
         {"clearandsend", "3", "@/folder"},
         {},
         13,
         "Unable to open file '@/folder'\n",
         "tavo: @/folder: Is a directory\n",
         true,
         true},
        {"send of a folder",
         {},
         {"send", "3", "@/folder"},
         {},
         13,
         "Unable to open file '@/folder'\n",
         "tavo: @/folder: Is a directory\n",
         true,
         true},
        {"send of a pipe",
         {},
         {"send", "3", "@/pipe"},
         {},
         13,
         "Unable to open file '@/pipe'\n",
         "tavo: @/pipe: not a regular file\n",
         true,
         true},
        {"delete of a folder",
         {},
         {"delete", "3", "@/folder"},
         {},
         13,
         "Unable to open file '@/folder'\n",
         "tavo: @/folder: Is a directory\n",
         true,
         true},
        {"fiscal file that is a folder",
         {"--password", "1"},
         {"executefiscal", "@/folder"},
         {"/Password=1"},
         13,
         "Unable to open file '@/folder'\n",
         "tavo: @/folder: Is a directory\n",
         true,
         true},
        {"bitmap too large to hold",
         {},
         {"send", "3", "@/huge.bmp"},
         {},
         50,
         "System error: Not enough memory\n",
         "",
         true,
         true},
        {"answer that stops after one byte",
         {"--stall-answer", "1"},
         {"clear", "3"},
         {"/SerialProtocolByteMaxTime=300", "/EcrOperationMaxTime=300"},
         5,
         unopenable,
         "",
         false,
         false},
        {"sessions that end before any record is taken",
         {"--session-timeout", "3", "--busy-record", "1", "--busy-record", "2", "--busy-record",
          "3"},
         {"send", "3", "@/plu.csv"},
         {},
         5,
         "\nCommunication error: ECR times out every session before accepting a record\n",
         "",
         false,
         false},
    };
    for (const BadDayCase& c : cases) {
        SCOPED_TRACE(c.what);
        EcrSimulator sim(c.simulatorOptions);
        ASSERT_FALSE(sim.Tty().empty());
        // The register holds a section that the run must not lose.
        WriteFile(File("kept.csv"), Articles(20, 5));
        if (c.preload) {
            ASSERT_EQ(Tavo(sim, {"send", "3", File("kept.csv")}, {"/Password=1"}).exitStatus, 0);
        }
        const std::string trafficBefore = sim.TrafficLog();
        std::vector<std::string> command;
        for (const std::string& argument : c.command) {
            command.push_back(InWork(argument, m_work.Path()));
        }
        const RunResult r = Tavo(sim, command, c.parameters);
        EXPECT_EQ(r.exitStatus, c.exitStatus);
        const std::string tail = InWork(c.finalLines, m_work.Path()) + "Completed with errors\n" +
                                 "Return value " + std::to_string(c.exitStatus) + "\n";
        const std::string output = FinalLines(r.output);
        EXPECT_EQ(output.substr(output.size() - std::min(output.size(), tail.size())), tail)
            << output;
        EXPECT_EQ(r.errors, InWork(c.cause, m_work.Path()));
        ExpectSection(sim, 3, c.preload ? Articles(20, 5) : "");
        if (c.lineStaysQuiet) {
            EXPECT_EQ(sim.TrafficLog(), trafficBefore);
        }
    }
}

// Ctrl-C, or a kill from a back-office program, stops a transfer cleanly: the register's data
// session is ended, the records so far are kept, the line is given back as it was, and the
// next run starts at once.
TEST_F(CommandsTest, SignalStopsTheTransferCleanly) {
    EcrSimulator sim;
    const int records = 3000;
    WriteFile(File("plu.csv"), Articles(1, records));
    struct Case {
        int signalNumber;
        std::vector<std::string> command;
        std::string progress; // the signal is sent once this is on the screen
        std::string done;
    };
    const Case cases[] = {
        {SIGINT, {"send", "3", File("plu.csv")}, "Records sent: 100\r", "Records sent: "},
        {SIGTERM, {"read", "3", File("back.csv")}, "Records read: 100\r", "Records read: "},
    };
    ASSERT_EQ(Tavo(sim, {"send", "3", File("plu.csv")}).exitStatus, 0);
    const std::string device = "/dev/" + sim.Tty();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.command[0]);
        termios before;
        const int fd = open(device.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
        ASSERT_GE(fd, 0);
        ASSERT_EQ(tcgetattr(fd, &before), 0);
        RunOptions options;
        options.outputToTerminal = true;
        bool signalled = false;
        options.onOutput = [&](pid_t pid, const std::string& output) {
            if (!signalled && output.find(c.progress) != std::string::npos) {
                signalled = kill(pid, c.signalNumber) == 0;
            }
        };
        const RunResult r = RunTavoOn(sim, m_work, c.command, {}, options);
        ASSERT_TRUE(signalled) << r.output;
        EXPECT_EQ(r.exitStatus, 128 + c.signalNumber);
        const std::string output = FinalLines(r.output);
        const std::string tail = "\nInterrupted\nCompleted with errors\nReturn value " +
                                 std::to_string(128 + c.signalNumber) + "\n";
        ASSERT_GT(output.size(), tail.size()) << output;
        EXPECT_EQ(output.substr(output.size() - tail.size()), tail) << output;
        EXPECT_EQ(output.compare(0, c.done.size(), c.done), 0) << output;
        EXPECT_NE(Log().find("Interrupted (signal " + std::to_string(c.signalNumber) + ")\n"),
                  std::string::npos);
        if (c.command[0] == "read") {
            // Every record counted on the screen is in the file, and nothing else.
            const size_t count = std::stoul(output.substr(c.done.size()));
            EXPECT_TRUE(ReadFile(File("back.csv")) == Articles(1, static_cast<int>(count)))
                << count;
        }
        termios after;
        ASSERT_EQ(tcgetattr(fd, &after), 0);
        close(fd);
        EXPECT_EQ(after.c_cflag, before.c_cflag);
        EXPECT_EQ(after.c_iflag, before.c_iflag);
        EXPECT_EQ(after.c_lflag, before.c_lflag);
        EXPECT_EQ(std::memcmp(after.c_cc, before.c_cc, sizeof(before.c_cc)), 0);

        // The next run is not kept waiting by a lock or by the register's unfinished session.
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(Tavo(sim, c.command).exitStatus, 0);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(15));
    }
    EXPECT_TRUE(ReadFile(File("back.csv")) == Articles(1, records));
}

TEST_F(CommandsTest, RawFilesTravelAsSixtyFourByteRecords) {
    EcrSimulator sim;
    std::string raw;
    for (int i = 0; i < 130; ++i) {
        raw += static_cast<char>(i * 7);
    }
    WriteFile(File("logo.bin"), raw);
    EXPECT_EQ(Tavo(sim, {"send", "195", File("logo.bin")}).exitStatus, 0);
    const RunResult r = Tavo(sim, {"read", "195", File("back.bin")});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(FinalLines(r.output), "Records read: 3\nCompleted OK\nReturn value 0\n");
    EXPECT_EQ(ReadFile(File("back.bin")), raw);
}

TEST_F(CommandsTest, FiscalFileRunsInFileOrder) {
    EcrSimulator sim({"--wait-frames", "3"});
    WriteFile(File("receipt.csv"), "5,\"Milk\",0.89\r\n3\r\n\r\n5,\"Bread\",1.5\r\n1\r\n");
    const RunResult r =
        Tavo(sim, {"executefiscal", File("receipt.csv")}, {"/SortInputFileLines=1"});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(FinalLines(r.output), "Line 3     - Record is empty               \n"
                                    "Commands sent: 4\nCompleted OK\nReturn value 0\n");
    EXPECT_EQ(ReadFile(sim.DataDir() + "/fiscal.csv"),
              "5,\"Milk\",0.89\r\n3\r\n5,\"Bread\",1.5\r\n1\r\n");
}

TEST_F(CommandsTest, BadFiscalLineStopsTheRunBeforeAnyCommand) {
    EcrSimulator sim;
    WriteFile(File("receipt.csv"), "5,\"Milk\"\r\n3\r\n\"Total\",1\r\n");
    const RunResult r = Tavo(sim, {"executefiscal", File("receipt.csv")});
    EXPECT_EQ(r.exitStatus, 2);
    EXPECT_EQ(FinalLines(r.output), "Line 3     - Record has bad format         \n\n"
                                    "Input file contains bad data\n"
                                    "Completed with errors\nReturn value 2\n");
    EXPECT_FALSE(FileExists(sim.DataDir() + "/fiscal.csv"));

    EcrSimulator refusing({"--fiscal-answer", "2"});
    WriteFile(File("ok.csv"), "5\r\n");
    const RunResult busy = Tavo(refusing, {"executefiscal", File("ok.csv")});
    EXPECT_EQ(busy.exitStatus, 3);
    EXPECT_NE(busy.output.find("\nIncorrect keylock position\n"), std::string::npos);
}

TEST_F(CommandsTest, StatusFilesAreOneCsvLine) {
    EcrSimulator sim;
    RunResult r = TavoOnTerminal(sim, {"readfiscalstatus", File("status.bin")});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(r.output, "Reading ECR status...\r                        \r"
                        "Completed OK\nReturn value 0\n");
    EXPECT_EQ(ReadFile(File("status.bin")), "4711,\"FISCAL OK\",0,123.45\r\n");
    r = Tavo(sim, {"readeftstatus", File("eft.csv")});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(ReadFile(File("eft.csv")), "1,\"EFT READY\"\r\n");
}

} // namespace
