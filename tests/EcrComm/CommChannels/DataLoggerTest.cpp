#include "EcrComm/CommChannels/DataLogger.h"

#include <gtest/gtest.h>

namespace {
const byte sample[] = {0x01, 0x02, 0x00, 0x41, 0xFE};
const long long nsPerMs = 1000000;
} // namespace

TEST(DataLoggerTest, BlockLineFormat) {
    const struct {
        unsigned int size;
        long long durationNs;
        int direction;
        const char *comment, *line;
    } cases[] = {
        {5, 3310000, Direction_PcToEcr, "", "PC->ECR  5 bytes in    3.3 ms : 01 02 00 41 fe"},
        {2, 0, Direction_EcrToPc, " (ignored by STCP)",
         "PC<-ECR  2 bytes in    0.0 ms : (ignored by STCP) 01 02"},
        {0, 0, Direction_ClientToServer, "", "SRV<-CL  0 bytes in    0.0 ms :"},
        {1, 0, Direction_ServerToClient, "", "SRV->CL  1 bytes in    0.0 ms : 01"},
        {1, 0, 7, "", "  1 bytes in    0.0 ms : 01"},
        // One decimal up to 10000 ms, none above.
        {1, 10000 * nsPerMs, Direction_PcToEcr, "", "PC->ECR  1 bytes in 10000.0 ms : 01"},
        {1, 10000 * nsPerMs + 100000, Direction_PcToEcr, "", "PC->ECR  1 bytes in  10000 ms : 01"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(DataLogger::FormatBlock(sample, c.size, 1000, 1000 + c.durationNs,
                                          static_cast<Direction>(c.direction), c.comment),
                  c.line);
    }
}
