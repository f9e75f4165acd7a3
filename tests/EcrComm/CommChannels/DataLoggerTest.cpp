#include "EcrComm/CommChannels/DataLogger.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "EcrComm/CommChannels/Linux/HighResolutionTimer.h"
#include "EcrComm/LinkTestSupport.h"
#include "TestSupport.h"

namespace {
const long long nsPerMs = 1000000;
} // namespace

TEST(DataLoggerTest, LineHasLabelSizeDurationCommentAndHexBytes) {
    ASSERT_TRUE(GetHighResolutionTimer().Supported());
    const byte sample[] = {0x01, 0x02, 0x00, 0x41, 0x42};
    struct Case {
        unsigned int size;
        long long start, end;
        int direction;
        const char* comment;
        const char* line;
    };
    const Case cases[] = {
        {5, 1000, 1000 + 3310000, Direction_PcToEcr, "",
         "PC->ECR  5 bytes in    3.3 ms : 01 02 00 41 42"},
        {2, 0, 0, Direction_EcrToPc, " (ignored by STCP)",
         "PC<-ECR  2 bytes in    0.0 ms : (ignored by STCP) 01 02"},
        {0, 0, 0, Direction_ClientToServer, "", "SRV<-CL  0 bytes in    0.0 ms :"},
        {1, 0, 0, Direction_ServerToClient, "", "SRV->CL  1 bytes in    0.0 ms : 01"},
        {1, 0, 0, 7, "", "  1 bytes in    0.0 ms : 01"},
        // One decimal up to 10000 ms, none above.
        {1, 0, 10000 * nsPerMs, Direction_PcToEcr, "", "PC->ECR  1 bytes in 10000.0 ms : 01"},
        {1, 0, 10000 * nsPerMs + 100000, Direction_PcToEcr, "",
         "PC->ECR  1 bytes in  10000 ms : 01"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(DataLogger::FormatBlock(sample, c.size, c.start, c.end,
                                          static_cast<Direction>(c.direction), c.comment),
                  c.line);
    }

    // A thousand bytes make one unwrapped line.
    byte block[1000];
    for (int i = 0; i < 1000; ++i) {
        block[i] = static_cast<byte>(i);
    }
    const std::string line = DataLogger::FormatBlock(block, 1000, 0, 0, Direction_PcToEcr, "");
    const std::string header = "PC->ECR1000 bytes in    0.0 ms : 00 01 02 03";
    EXPECT_EQ(line.substr(0, header.size()), header);
    EXPECT_EQ(line.size(), header.size() - 12 + 3000);
    EXPECT_EQ(line.substr(line.size() - 6), " e6 e7");

    // The timer counts nanoseconds of the monotonic clock.
    const HighResolutionTimer& timer = GetHighResolutionTimer();
    const long long start = timer.GetValue();
    usleep(20000);
    const double intervalMs = timer.GetIntervalMs(start, timer.GetValue());
    EXPECT_GE(intervalMs, 20.0);
    EXPECT_LT(intervalMs, 2000.0);
    EXPECT_DOUBLE_EQ(timer.GetIntervalMs(0, 2500000), 2.5);
}

TEST(DataLoggerTest, TraceFileTakesTheStartLineAndEveryBlockAsLogLines) {
    testsupport::TempDir dir;
    const byte sample[] = {0x01, 0x02, 0x00, 0x41, 0x42};
    const std::string path = dir.File("trace.txt");
    testsupport::WriteFile(path, "earlier run\n");
    testsupport::LoadConfiguration(dir.File("TAVO.ini"), {{"TraceFile", path}});
    OpenTraceFile("TAVO driver started");
    DataLogger::LogBlock(sample, 5, 1000, 1000 + 3310000, Direction_PcToEcr, "");
    DataLogger::LogBlock(sample, 2, 0, 0, Direction_EcrToPc, " (ignored by STCP)");
    CloseTraceFile();
    DataLogger::LogBlock(sample, 1, 0, 0, Direction_PcToEcr, "");
    const std::string stamp =
        "[0-9]{2}\\.[0-9]{2}\\.[0-9]{4} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3} ";
    EXPECT_THAT(testsupport::ReadFile(path),
                ::testing::MatchesRegex("earlier run\n" + stamp + "TAVO driver started\n" + stamp +
                                        "PC->ECR  5 bytes in    3\\.3 ms : 01 02 00 41 42\n" +
                                        stamp +
                                        "PC<-ECR  2 bytes in    0\\.0 ms : \\(ignored by STCP\\) "
                                        "01 02\n"));

    const std::string unwritable = dir.File("no-such-dir/trace.txt");
    testsupport::LoadConfiguration(dir.File("TAVO.ini"), {{"TraceFile", unwritable}});
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(linktest::ErrorOf([] { OpenTraceFile("start"); }),
              "13: Can't open file '" + unwritable + "'");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "tavo: " + unwritable + ": No such file or directory\n");
}
