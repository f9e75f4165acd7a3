// The ECR session end to end: authorisation, ECR answers, a silent or noisy line, protocol
// fallback and the guard against two programs on one line.
#include <gtest/gtest.h>

#include <chrono>
#include <fcntl.h>
#include <future>
#include <sys/file.h>
#include <thread>
#include <unistd.h>

#include "EcrComm/LinkTestSupport.h"
#include "SimulatorSupport.h"

namespace {

using testsupport::EcrSimulator;
using testsupport::FinalLines;
using testsupport::ReadFile;
using testsupport::RunResult;
using testsupport::RunTavoOn;
using testsupport::TempDir;
using testsupport::WriteFile;

size_t Count(const std::string& text, const std::string& part) {
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

class EcrCommTest : public ::testing::Test {
protected:
    RunResult Tavo(const EcrSimulator& sim, const std::vector<std::string>& command,
                   const std::vector<std::string>& parameters = {}) {
        return RunTavoOn(sim, m_work, command, parameters);
    }
    std::string Log() { return ReadFile(m_work.File("logs/TAVO.log")); }
    TempDir m_work;
};

TEST_F(EcrCommTest, PasswordIsCheckedByTheEcr) {
    EcrSimulator sim({"--password", "1234"});
    RunResult r = Tavo(sim, {"clear", "3"}, {"/Password=9999"});
    EXPECT_EQ(r.exitStatus, 11);
    EXPECT_EQ(r.output, "\nBad or missing password\nCompleted with errors\nReturn value 11\n");
    EXPECT_NE(Log().find(" Bad or missing password\n"), std::string::npos);

    EXPECT_EQ(Tavo(sim, {"clear", "3"}, {"/Password=1234"}).exitStatus, 0);

    // Without a password the ECR's demand for authorisation cannot be met.
    r = Tavo(sim, {"clear", "3"});
    EXPECT_EQ(r.exitStatus, 5);
    EXPECT_EQ(FinalLines(r.output), "\nCommunication error: Unexpected data received\n"
                                    "Completed with errors\nReturn value 5\n");
}

TEST_F(EcrCommTest, EcrAnswersBecomeExitStatuses) {
    const struct {
        const char* code;
        int status;
        const char* message;
    } cases[] = {
        {"2", 3, "ECR is busy"},
        {"6", 4, "Command can not be executed in current context"},
        {"7", 12, "ECR communications are not activated"},
        {"1", 15, "Unknown command"},
    };
    for (const auto& c : cases) {
        EcrSimulator sim({"--request-answer", c.code});
        const RunResult r = Tavo(sim, {"read", "3", m_work.File("x.csv")});
        EXPECT_EQ(r.exitStatus, c.status) << c.message;
        // Captured by a pipe, the output has no progress text before the ECR's answer.
        EXPECT_EQ(r.output, "\n" + std::string(c.message) +
                                "\nCompleted with errors\nReturn value " +
                                std::to_string(c.status) + "\n");
    }
}

TEST_F(EcrCommTest, SilentLineOrStalledFrameFailsAfterEveryAttempt) {
    EcrSimulator sim({"--ignore-first", "1000000"});
    auto start = std::chrono::steady_clock::now();
    RunResult r = Tavo(
        sim, {"clear", "3"},
        {"/RetryCount=3", "/SerialProtocolRetryCount=2", "/SerialProtocolResponseMaxTime=100"});
    auto elapsed = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(r.exitStatus, 5);
    EXPECT_EQ(Count(r.output, "\nCommunication error: ECR is not responding\n"), 3u) << r.output;
    // The counters run on over the attempts.
    const std::string log = Log();
    for (const char* lost : {"LOST = 1\n", "LOST = 2\n", "LOST = 3\n"}) {
        EXPECT_NE(log.find(std::string("I/O statistics : OUT frames = 0, IN frames = 0, ") + lost),
                  std::string::npos)
            << log;
    }
    // Three attempts of two frames, each given 100 ms to be answered.
    EXPECT_GE(elapsed, std::chrono::milliseconds(600));
    EXPECT_LT(elapsed, std::chrono::seconds(5));
    EXPECT_EQ(Count(sim.TrafficLog(), "frame ignored on purpose"), 6u);

    // A register that acknowledges, starts its answer and falls silent within it is given up
    // on after "SerialProtocolByteMaxTime" of silence, in the same way.
    linktest::PseudoTerminal line;
    linktest::Peer stalling(line, [](linktest::PseudoTerminal& ecr) {
        for (int quietRounds = 0; quietRounds < 100; ++quietRounds) {
            const linktest::Bytes in = ecr.ReadUntilQuiet(30);
            if (!in.empty()) {
                // A whole frame is acknowledged; a refusal of the broken answer is answered
                // with another broken one.
                ecr.Write(linktest::HexBytes(in.back() == 0x03 ? "06 02" : "02"));
                quietRounds = 0;
            }
        }
    });
    start = std::chrono::steady_clock::now();
    r = testsupport::RunTavo({"clear", "3", "/TTY=" + line.TtyName(),
                              "/ConfigFilePath=" + m_work.File("TAVO.ini"),
                              "/LogFilePath=" + m_work.File("logs"), "/RetryCount=2",
                              "/SerialProtocolRetryCount=2", "/SerialProtocolByteMaxTime=100"});
    elapsed = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(r.exitStatus, 5);
    EXPECT_EQ(Count(r.output, "\nCommunication error: ECR is not responding\n"), 2u) << r.output;
    EXPECT_LT(elapsed, std::chrono::seconds(5));
}

TEST_F(EcrCommTest, OlderTransportVersionsAreReachedByFallback) {
    for (const char* version : {"1", "2"}) {
        EcrSimulator sim({"--tc-version", version});
        WriteFile(m_work.File("plu.csv"), "1,\"A\"\r\n2,\"B\"\r\n");
        const RunResult sent = Tavo(sim, {"send", "3", m_work.File("plu.csv")});
        EXPECT_EQ(sent.exitStatus, 0) << "version " << version << sent.output;
        const RunResult read = Tavo(sim, {"read", "3", m_work.File("back.csv")},
                                    {std::string("/SerialProtocolVersion=") + version});
        EXPECT_EQ(read.exitStatus, 0) << read.output;
        EXPECT_EQ(ReadFile(m_work.File("back.csv")), "1,\"A\"\r\n2,\"B\"\r\n");
    }
}

TEST_F(EcrCommTest, NoisyLineStillDeliversEveryRecord) {
    EcrSimulator sim({"--corrupt-rate", "0.001", "--seed", "7", "--ack-timeout", "100"});
    std::string articles;
    for (int key = 1; key <= 1000; ++key) {
        articles += std::to_string(key) + ",\"Article \"\"" + std::to_string(key) + "\"\"\"," +
                    std::to_string(key % 97) + "." + std::to_string(key % 10) + "5,0x0a1b\r\n";
    }
    WriteFile(m_work.File("plu.csv"), articles);
    const std::vector<std::string> quick = {"/SerialProtocolResponseMaxTime=100",
                                            "/EcrOperationMaxTime=500", "/RetryCount=3"};
    const RunResult sent = Tavo(sim, {"send", "3", m_work.File("plu.csv")}, quick);
    EXPECT_EQ(sent.exitStatus, 0) << sent.output;
    const RunResult read = Tavo(sim, {"read", "3", m_work.File("back.csv")}, quick);
    EXPECT_EQ(read.exitStatus, 0) << read.output;
    EXPECT_TRUE(ReadFile(m_work.File("back.csv")) == articles) << "records damaged on the way";
}

TEST_F(EcrCommTest, OneLineServesOneRunAtATime) {
    EcrSimulator sim({"--ignore-first", "1000000"});
    // The first run waits on the silent line while the second one starts.
    auto first = std::async(std::launch::async, [&] {
        TempDir work;
        return RunTavoOn(sim, work, {"clear", "3"},
                         {"/SerialProtocolRetryCount=8", "/SerialProtocolResponseMaxTime=250"});
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    const RunResult second = Tavo(sim, {"clear", "3"});
    EXPECT_EQ(second.exitStatus, 16);
    EXPECT_EQ(second.output, "\nAnother application is working now with ECR\n"
                             "Completed with errors\nReturn value 16\n");
    EXPECT_EQ(first.get().exitStatus, 5);
}

TEST_F(EcrCommTest, DeviceHeldByAnotherProgramIsNotShared) {
    EcrSimulator sim;
    const int fd = open(("/dev/" + sim.Tty()).c_str(), O_RDWR | O_NOCTTY);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(flock(fd, LOCK_EX | LOCK_NB), 0);
    RunResult r = Tavo(sim, {"clear", "3"});
    EXPECT_EQ(r.exitStatus, 16);
    EXPECT_EQ(r.output, "\nAnother application is working now with ECR\n"
                        "Completed with errors\nReturn value 16\n");
    // Told to skip the checks, the run goes ahead.
    r = Tavo(sim, {"clear", "3"}, {"/SkipInstanceChecking=1"});
    EXPECT_EQ(r.exitStatus, 0);
    close(fd);
    EXPECT_EQ(Tavo(sim, {"clear", "3"}).exitStatus, 0);
}

TEST_F(EcrCommTest, ServerCommandsFailInTheirDefinedWay) {
    EcrSimulator sim;
    RunResult r = Tavo(sim, {"executeserver", "2"});
    EXPECT_EQ(r.exitStatus, 15);
    EXPECT_EQ(r.output, "Completed with errors\nReturn value 15\n");
    r = Tavo(sim, {"executeserver", "1"});
    EXPECT_EQ(r.exitStatus, 99);
    EXPECT_EQ(r.output, "\nDisconnectFromServer command not supported\n"
                        "Completed with errors\nReturn value 99\n");
    r = Tavo(sim, {"clear", "3"}, {"/IpAddress=10.0.0.1", "/ComNumber=1"});
    EXPECT_EQ(r.exitStatus, 10);
    EXPECT_EQ(r.output, "Configuration error: Both serial port and ethernet settings are "
                        "specified\nCompleted with errors\nReturn value 10\n");
}

} // namespace
