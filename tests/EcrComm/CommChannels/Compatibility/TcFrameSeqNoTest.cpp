#include "EcrComm/CommChannels/Compatibility/TcFrameSeqNo.h"

#include <gtest/gtest.h>

TEST(TcFrameSeqNoTest, ValidNumbersAndTheirCycle) {
    for (int value = 0; value < 256; ++value) {
        EXPECT_EQ(TcFrameSeqNo::IsValid(static_cast<byte>(value)), value == 0 || value >= 32)
            << value;
    }
    EXPECT_EQ(TcFrameSeqNo::Next(0), 32);
    EXPECT_EQ(TcFrameSeqNo::Next(255), 32);
    EXPECT_EQ(TcFrameSeqNo::Next(32), 33);

    // From a reset counter: 0, then 224 distinct valid numbers before the cycle repeats.
    byte seqNo = TcFrameSeqNo::Next(0);
    for (int step = 0; step < 224; ++step) {
        ASSERT_TRUE(TcFrameSeqNo::IsValid(seqNo));
        ASSERT_NE(seqNo, 0);
        const byte next = TcFrameSeqNo::Next(seqNo);
        EXPECT_EQ(next, seqNo == 255 ? 32 : seqNo + 1);
        seqNo = next;
    }
    EXPECT_EQ(seqNo, 32);
}
