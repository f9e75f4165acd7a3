#include "EcrComm/CommChannels/DataLogger.h"

#include <gtest/gtest.h>
#include <sstream>

#include "TestSupport.h"

TEST(DataLoggerTest, TraceHoldsALinePerBlock) {
    const byte sample[] = {0x01, 0x02, 0x00, 0x41, 0xFE};
    const struct {
        unsigned int size, direction;
        long long durationNs;
        const char *comment, *line;
    } cases[] = {
        {5, Direction_PcToEcr, 3310000, "", "PC->ECR  5 bytes in    3.3 ms : 01 02 00 41 fe"},
        {2, Direction_EcrToPc, 0, " (ignored by STCP)",
         "PC<-ECR  2 bytes in    0.0 ms : (ignored by STCP) 01 02"},
        {0, Direction_ServerToClient, 0, "", "SRV->CL  0 bytes in    0.0 ms :"},
        // One decimal up to 10000 ms, none above.
        {1, Direction_PcToEcr, 10000000000, "", "PC->ECR  1 bytes in 10000.0 ms : 01"},
        {1, Direction_PcToEcr, 10000100000, "", "PC->ECR  1 bytes in  10000 ms : 01"},
    };
    const testsupport::TempDir dir;
    testsupport::LoadConfiguration(dir.File("none.ini"), {{"TraceFile", dir.File("trace")}});
    OpenTraceFile("start");
    for (const auto& c : cases) {
        DataLogger::LogBlock(sample, c.size, 1000, 1000 + c.durationNs,
                             static_cast<Direction>(c.direction), c.comment);
    }
    CloseTraceFile();
    // Each line follows the time stamp of the logs, "31.12.2024 23:59:59.999 ".
    std::istringstream trace(testsupport::ReadFile(dir.File("trace")));
    std::string line;
    std::getline(trace, line);
    EXPECT_EQ(line.substr(24), "start");
    for (const auto& c : cases) {
        std::getline(trace, line);
        EXPECT_EQ(line.substr(24), c.line);
    }
}
