// The commands end to end: the real tavo executable against the ECR simulator.
#include <gtest/gtest.h>

#include "SimulatorSupport.h"

namespace {

using testsupport::EcrSimulator;
using testsupport::FileExists;
using testsupport::FinalLines;
using testsupport::ReadFile;
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
    RunResult r = Tavo(sim, {"read", "4", File("empty.csv")});
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
    r = Tavo(sim, {"readandclear", "3", File("back.csv")});
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
    r = Tavo(sim, {"delete", "3", File("gone.csv")});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(FinalLines(r.output), "Records deleted: 1\nCompleted OK\nReturn value 0\n");
    ExpectSection(sim, 3, Articles(10, 1) + Articles(12, 1));
}

TEST_F(CommandsTest, InitAndClearWaitForTheEcr) {
    EcrSimulator sim({"--wait-frames", "25"});
    RunResult r = Tavo(sim, {"init", "3"});
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
    const RunResult r = Tavo(sim, {"send", "3", File("plu.csv")}, {"/RecordsInPacket=5"});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_NE(r.output.find("Records sent: 5\rRecords sent: 10\rRecords sent: 12\r"
                            "Records sent: 12\n"),
              std::string::npos)
        << r.output;
    ExpectSection(sim, 3, Articles(1, 12));

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
    RunResult r = Tavo(sim, {"readfiscalstatus", File("status.bin")});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(r.output, "Reading ECR status...\r                        \r"
                        "Completed OK\nReturn value 0\n");
    EXPECT_EQ(ReadFile(File("status.bin")), "4711,\"FISCAL OK\",0,123.45\r\n");
    r = Tavo(sim, {"readeftstatus", File("eft.csv")});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(ReadFile(File("eft.csv")), "1,\"EFT READY\"\r\n");
}

} // namespace
