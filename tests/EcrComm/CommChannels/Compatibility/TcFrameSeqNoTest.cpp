#include "EcrComm/CommChannels/Compatibility/TcFrameSeqNo.h"

#include <gtest/gtest.h>

TEST(TcFrameSeqNoTest, ValidNumbersAndTheirCycle) {
    for (int value = 0; value < 256; ++value) {
        const byte seqNo = static_cast<byte>(value);
        EXPECT_EQ(TcFrameSeqNo::IsValid(seqNo), value == 0 || value >= 32) << value;
        // After a reset (0) and after the last number the count restarts at 32.
        if (value == 0 || value >= 32) {
            EXPECT_EQ(TcFrameSeqNo::Next(seqNo), value == 0 || value == 255 ? 32 : value + 1)
                << value;
        }
    }
}
