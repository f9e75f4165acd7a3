#include "EcrComm/CommChannels/DataLogger.h"

#include <gtest/gtest.h>

TEST(DataLoggerTest, BlockLineFormat) {
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
    for (const auto& c : cases) {
        EXPECT_EQ(DataLogger::FormatBlock(sample, c.size, 1000, 1000 + c.durationNs,
                                          static_cast<Direction>(c.direction), c.comment),
                  c.line);
    }
}
