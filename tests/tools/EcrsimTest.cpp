// The ECR simulator itself: its line model, its data directory, how it ends stale sessions,
// and that it can always be stopped. The test plays the PC on the simulator's pseudo-terminal.
#include <gtest/gtest.h>

#include <chrono>
#include <fcntl.h>
#include <memory>
#include <poll.h>
#include <termios.h>
#include <thread>
#include <unistd.h>

#include "EcrComm/LinkTestSupport.h"
#include "SimulatorSupport.h"

namespace {

using linktest::BuildFrame;
using linktest::Bytes;
using testsupport::EcrSimulator;
using testsupport::ReadFile;
using testsupport::RunResult;
using testsupport::RunTavoOn;
using testsupport::TempDir;
using testsupport::WriteFile;
using Clock = std::chrono::steady_clock;

const byte ack = 0x06;
const byte etx = 0x03;

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// The PC's end of the simulator's line, raw.
class PcSide {
public:
    explicit PcSide(const std::string& tty) : m_fd(open(("/dev/" + tty).c_str(), O_RDWR)) {
        termios settings;
        tcgetattr(m_fd, &settings);
        cfmakeraw(&settings);
        tcsetattr(m_fd, TCSANOW, &settings);
    }
    ~PcSide() { close(m_fd); }
    PcSide(const PcSide&) = delete;
    PcSide& operator=(const PcSide&) = delete;

    // Sends an application frame (standard protocol by default) in a TC frame numbered seqNo;
    // returns the bytes it took on the line.
    size_t Send(const Bytes& data, byte seqNo, byte protocol = Protocol_Standard_Set1) {
        Bytes frame(3 + data.size());
        frame[0] = protocol;
        frame[1] = static_cast<byte>(data.size() & 0xFF);
        frame[2] = static_cast<byte>(data.size() >> 8);
        std::copy(data.begin(), data.end(), frame.begin() + 3);
        const Bytes tc = BuildFrame(3, frame, seqNo);
        EXPECT_EQ(write(m_fd, tc.data(), tc.size()), static_cast<ssize_t>(tc.size()));
        return tc.size();
    }
    void Ack() { ASSERT_EQ(write(m_fd, &ack, 1), 1); }
    // Bytes through the next end byte, or what came within timeoutMs.
    Bytes ReadThrough(byte end, int timeoutMs) {
        Bytes got;
        const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
        byte b = 0;
        while (b != end && Clock::now() < deadline) {
            pollfd pfd = {m_fd, POLLIN, 0};
            if (poll(&pfd, 1, 10) > 0 && read(m_fd, &b, 1) == 1) {
                got.push_back(b);
            }
        }
        return got;
    }
    // The answer frame's code: its application data's first byte (after 02, seq, 3 header
    // bytes), acknowledged; -1 when no frame came.
    int AnswerCode() {
        const Bytes frame = ReadThrough(etx, 3000);
        Ack();
        return frame.size() > 5 ? frame[5] : -1;
    }

private:
    int m_fd;
};

// A fiscal status request padded to 900 bytes: a long frame in, a short answer out.
Bytes LongRequest() {
    Bytes data(900, 'A');
    data[0] = 100;
    return data;
}

// A long frame in; its ACK after the turnaround, and right behind the ACK an answer of 960
// noise bytes and a frame of about 40. Each arrives no sooner than the line allows, counted
// from the start, and not much later either.
TEST(EcrsimTest, LineModelPacesBothWaysOnlyWhenAsked) {
    struct Case {
        std::vector<std::string> options;
        double byteSeconds, turnaroundSeconds;
    };
    const Case cases[] = {
        {{"--baud", "9600", "--turnaround", "50", "--garbage", "960"}, 10.0 / 9600, 0.05},
        {{"--garbage", "960"}, 0, 0},
    };
    const double slack = 0.5; // for a loaded machine
    for (const Case& c : cases) {
        EcrSimulator sim(c.options);
        ASSERT_FALSE(sim.Tty().empty());
        PcSide pc(sim.Tty());
        const auto start = Clock::now();
        const size_t sent = pc.Send(LongRequest(), 0, Protocol_Fiscal_Set1);
        EXPECT_EQ(pc.ReadThrough(ack, 4000), Bytes{ack});
        const double ackAt = SecondsSince(start);
        const Bytes answer = pc.ReadThrough(etx, 4000);
        const double answerAt = SecondsSince(start);
        EXPECT_GE(answer.size(), 990u);
        const double ackDue = static_cast<double>(sent + 1) * c.byteSeconds + c.turnaroundSeconds;
        const double answerDue = ackDue + static_cast<double>(answer.size()) * c.byteSeconds;
        EXPECT_TRUE(ackAt >= ackDue && ackAt < ackDue + slack)
            << c.options[0] << ": ACK after " << ackAt << " s, due " << ackDue;
        EXPECT_TRUE(answerAt >= answerDue && answerAt < answerDue + slack)
            << c.options[0] << ": answer after " << answerAt << " s, due " << answerDue;
    }
}

TEST(EcrsimTest, DataDirIsCreatedOrRefusedByName) {
    TempDir work;
    const std::string dir = work.File("new/data");
    {
        EcrSimulator sim({"--data-dir", dir});
        ASSERT_FALSE(sim.Tty().empty());
        WriteFile(work.File("plu.csv"), "1,\"A\",1\r\n2,\"B\",2\r\n");
        EXPECT_EQ(RunTavoOn(sim, work, {"send", "3", work.File("plu.csv")}).exitStatus, 0);
        EXPECT_TRUE(testsupport::WaitFor(
            [&] { return ReadFile(dir + "/section3.csv") == "1,\"A\",1\r\n2,\"B\",2\r\n"; }));
    }
    const RunResult refused =
        testsupport::RunProcess(ECRSIM_EXECUTABLE, {"--data-dir", work.File("plu.csv/sub")});
    EXPECT_EQ(refused.exitStatus, 1);
    EXPECT_EQ(refused.output, "");
    EXPECT_NE(refused.errors.find(work.File("plu.csv/sub") + ": Not a directory"),
              std::string::npos)
        << refused.errors;
}

// A data session the PC leaves idle ends on the register's side. (A run that vanished in the
// middle of a transfer is followed at once by the next: the end-to-end signal test shows it.)
TEST(EcrsimTest, IdleSessionEnds) {
    EcrSimulator sim({"--idle-timeout", "300"});
    ASSERT_FALSE(sim.Tty().empty());
    PcSide idle(sim.Tty()); // a write session that pauses longer than the idle time-out
    idle.Send({6, 2, 2}, 0);
    idle.ReadThrough(ack, 1000);
    EXPECT_EQ(idle.AnswerCode(), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(600));
    idle.Send({0x0C, 0x01, 0x07}, 32);
    idle.ReadThrough(ack, 1000);
    EXPECT_EQ(idle.AnswerCode(), 1); // unknown command: the session has ended
}

TEST(EcrsimTest, SigtermEndsItWhileNobodyReadsTheLine) {
    // Records of about 900 bytes, repeated every millisecond to a PC that reads nothing.
    TempDir data;
    std::string record = "1";
    for (int field = 0; field < 9; ++field) {
        record += ",\"" + std::string(100, 'X') + "\"";
    }
    WriteFile(data.File("section7.csv"), record + "\r\n");
    auto sim = std::make_unique<EcrSimulator>(std::vector<std::string>{
        "--data-dir", data.Path(), "--ack-timeout", "1", "--retries", "1000"});
    ASSERT_FALSE(sim->Tty().empty());
    PcSide pc(sim->Tty());
    pc.Send({7, 1, 2}, 0);
    pc.ReadThrough(ack, 1000);
    ASSERT_EQ(pc.AnswerCode(), 0); // and then the PC reads no more
    // The simulator says so when the line has stayed full for a while; soon after it is full
    // again.
    const auto deadline = Clock::now() + std::chrono::seconds(8);
    while (sim->TrafficLog().find("nobody reads the line") == std::string::npos &&
           Clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    ASSERT_NE(sim->TrafficLog().find("nobody reads the line"), std::string::npos);
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    const auto start = Clock::now();
    sim.reset(); // SIGTERM, and SIGKILL only after 5 s
    EXPECT_LT(SecondsSince(start), 1.0);
}

} // namespace
