// The ECR simulator itself: its command line, its line model, how it ends stale sessions, and
// that it can always be stopped. The test plays the PC on the simulator's pseudo-terminal; what
// tavo sees of the simulator is pinned by the end-to-end tests of the commands.
#include <gtest/gtest.h>

#include <chrono>
#include <fcntl.h>
#include <memory>
#include <poll.h>
#include <thread>
#include <tuple>
#include <unistd.h>

#include "EcrComm/EcrComm.h"
#include "EcrComm/LinkTestSupport.h"
#include "SimulatorSupport.h"

namespace {

using linktest::Bytes;
using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// The PC's end of the simulator's line, which the simulator has made raw.
struct PcSide {
    explicit PcSide(const std::string& tty) : fd(open(("/dev/" + tty).c_str(), O_RDWR)) {}
    ~PcSide() { close(fd); }

    // Sends the application data app in a frame of the protocol, in a TC frame numbered seqNo;
    // returns the bytes it took on the line.
    size_t Send(Bytes app, byte seqNo, byte protocol = Protocol_Standard_Set1) {
        const auto size = static_cast<uint16>(app.size());
        app.insert(app.begin(), {protocol, static_cast<byte>(size), static_cast<byte>(size >> 8)});
        const Bytes tc = linktest::BuildFrame(3, app, seqNo);
        EXPECT_EQ(write(fd, tc.data(), tc.size()), static_cast<ssize_t>(tc.size()));
        return tc.size();
    }
    // Bytes through the next end byte, or what came within timeoutMs.
    Bytes ReadThrough(byte end, int timeoutMs) {
        Bytes got;
        const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
        for (byte b = 0; b != end && Clock::now() < deadline;) {
            pollfd pfd = {fd, POLLIN, 0};
            if (poll(&pfd, 1, 10) > 0 && read(fd, &b, 1) == 1) {
                got.push_back(b);
            }
        }
        return got;
    }
    // Sends a standard frame and returns the code of the answer (its first data byte, after the
    // ACK, 02, seq and 3 header bytes), which it acknowledges; -1 when no answer came.
    int Exchange(const Bytes& data, byte seqNo) {
        Send(data, seqNo);
        const Bytes got = ReadThrough(tcframe::ETX, 3000);
        EXPECT_EQ(write(fd, &tcframe::ACK, 1), 1);
        return got.size() > 6 ? got[6] : -1;
    }

    const int fd;
};

// A bad command line, or a data directory that cannot be made: nothing starts, standard error
// names the cause, and a bad option points to the help.
TEST(EcrsimTest, RefusedStartNamesItsCause) {
    const std::tuple<std::vector<std::string>, int, std::string> cases[] = {
        {{"--quiet", "--bogus"}, 2, "unknown option --bogus"},
        {{"--baud", "50", "--password"}, 2, "option --password needs a value"},
        {{"--seed", "12x"}, 2, "option --seed needs a number, not '12x'"},
        {{"--baud", "49"}, 2, "option --baud is out of range: 49"},
        {{"--parity", "oo"}, 2, "option --parity takes n, o or e"},
        {{"--corrupt-rate", "2"}, 2, "option --corrupt-rate takes a probability from 0 to 1"},
        {{"--bad-data", "5"}, 2, "option --bad-data takes KEY:FIELD"},
        {{"--data-dir", "/dev/null/sub"},
         1,
         "cannot create the data directory /dev/null/sub: Not a directory"},
        {{"--data-dir", "/dev/null"},
         1,
         "cannot use the data directory /dev/null: Not a directory"},
    };
    for (const auto& [args, status, cause] : cases) {
        const auto r = testsupport::RunProcess(ECRSIM_EXECUTABLE, args);
        EXPECT_EQ(r.exitStatus, status) << cause;
        EXPECT_EQ(r.output, "");
        EXPECT_EQ(r.errors, "ecrsim: " + cause + (status == 2 ? " (see ecrsim --help)\n" : "\n"));
    }
}

// Started, it has a directory where it was told (a file there is refused, as above).
TEST(EcrsimTest, MissingDataDirIsCreated) {
    testsupport::TempDir work;
    const testsupport::EcrSimulator sim({"--data-dir", work.File("new/data")});
    EXPECT_FALSE(sim.Tty().empty());
}

// A long frame in (a fiscal status request padded to 900 bytes); its ACK after the turnaround,
// and right behind the ACK an answer of 960 noise bytes and a frame of about 40. Each arrives no
// sooner than the line allows, counted from the start, and not much later either (0.5 s of slack
// for a loaded machine).
TEST(EcrsimTest, LineModelPacesBothWaysOnlyWhenAsked) {
    const struct {
        std::vector<std::string> options;
        double byteSeconds, turnaroundSeconds;
    } cases[] = {
        {{"--baud", "9600", "--turnaround", "50", "--garbage", "960"}, 10.0 / 9600, 0.05},
        {{"--garbage", "960"}, 0, 0},
    };
    for (const auto& c : cases) {
        testsupport::EcrSimulator sim(c.options);
        PcSide pc(sim.Tty());
        const auto start = Clock::now();
        const size_t sent = pc.Send(Bytes(900, Fiscal_ReadStatusCommand), 0, Protocol_Fiscal_Set1);
        EXPECT_EQ(pc.ReadThrough(tcframe::ACK, 4000), Bytes{tcframe::ACK});
        const double ackAt = SecondsSince(start);
        const Bytes answer = pc.ReadThrough(tcframe::ETX, 4000);
        const double answerAt = SecondsSince(start);
        EXPECT_GE(answer.size(), 990u);
        const double ackDue = static_cast<double>(sent + 1) * c.byteSeconds + c.turnaroundSeconds;
        const double answerDue = ackDue + static_cast<double>(answer.size()) * c.byteSeconds;
        EXPECT_TRUE(ackAt >= ackDue && ackAt < ackDue + 0.5)
            << c.options[0] << ": ACK after " << ackAt << " s, due " << ackDue;
        EXPECT_TRUE(answerAt >= answerDue && answerAt < answerDue + 0.5)
            << c.options[0] << ": answer after " << answerAt << " s, due " << answerDue;
    }
}

// A data session the PC leaves idle ends on the register's side. (A run that vanished in the
// middle of a transfer is followed at once by the next: the end-to-end signal test shows it.)
TEST(EcrsimTest, IdleSessionEnds) {
    testsupport::EcrSimulator sim({"--idle-timeout", "500"});
    PcSide pc(sim.Tty());
    EXPECT_EQ(pc.Exchange({6, Action_Write, StandardRequestVersion}, 0), ResponseCode_OK);
    std::this_thread::sleep_for(std::chrono::milliseconds(200)); // a pause it still waits out
    EXPECT_EQ(pc.Exchange({0x0C, 0x01, 0x07}, 32), ResponseCode_OK);
    std::this_thread::sleep_for(std::chrono::milliseconds(1000));
    EXPECT_EQ(pc.Exchange({0x0C, 0x01, 0x07}, 33), ResponseCode_UnknownCommand);
}

TEST(EcrsimTest, SigtermEndsItWhileNobodyReadsTheLine) {
    // A record of 100 bytes, loaded from the data directory at the start, repeated every
    // millisecond to a PC that reads nothing after the answer to its request. (Without the record
    // the short end of the data would never fill the line.)
    testsupport::TempDir data;
    testsupport::WriteFile(data.File("section7.csv"), "1,\"" + std::string(100, 'X') + "\"\r\n");
    auto sim = std::make_unique<testsupport::EcrSimulator>(std::vector<std::string>{
        "--data-dir", data.Path(), "--ack-timeout", "1", "--retries", "1000"});
    PcSide pc(sim->Tty());
    ASSERT_EQ(pc.Exchange({7, Action_Read, StandardRequestVersion}, 0), ResponseCode_OK);
    // The simulator says so when the line has stayed full for a while; soon after it is full
    // again.
    std::this_thread::sleep_for(std::chrono::seconds(2)); // it waits that long for a reader
    ASSERT_TRUE(testsupport::WaitFor(
        [&] { return sim->TrafficLog().find("nobody reads the line") != std::string::npos; }));
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    const auto start = Clock::now();
    sim.reset(); // SIGTERM, and SIGKILL only after 5 s
    EXPECT_LT(SecondsSince(start), 1.0);
}

} // namespace
