#include <gtest/gtest.h>

#include <chrono>

#include "Path.h"
#include "Tools.h"
#include "Wrapper/LinuxFunctionWrapper.h"

namespace {

using namespace std::chrono_literals;

TEST(ToolsTest, JoinPutsTheSeparatorBetweenItems) {
    const std::string items[] = {"a", "b", "not counted"};
    EXPECT_EQ(Join(items, 2, ", "), "a, b");
}

TEST(ToolsTest, FormatGrowsPastTheFixedBuffer) {
    // Around the size of the fixed buffer (1024 with its terminating NUL) and far past it.
    for (const size_t length : {1023, 1024, 5000}) {
        const std::string text(length - 2, 'q');
        EXPECT_EQ(Format("<%s>", text.c_str()), "<" + text + ">") << length;
    }
}

TEST(PathTest, SplitsAndCombinesWithBothSeparators) {
    EXPECT_EQ(Path::GetExtension("a.b\\c"), "b/c");
    EXPECT_EQ(Path::GetDirectoryName("a/b\\c.txt"), "a/b\\");
    EXPECT_EQ(Path::Combine("c:\\x", "a\\b"), "c:/x/a/b");
}

TEST(ToolsTest, SleepCountsTenMillisecondUnitsBelowOneSecond) {
    for (const int units : {5, 100, -5}) {
        const auto start = std::chrono::steady_clock::now();
        Sleep(units);
        const auto slept = std::chrono::steady_clock::now() - start;
        // Only the 50 ms are slept, and no more than a busy machine adds to them.
        EXPECT_EQ(slept >= 49ms && slept < 1s, units == 5) << units;
    }
}

TEST(WrapperTest, BoundedCopyTruncatesSilently) {
    char buffer[4];
    EXPECT_STREQ(strcpy_s(buffer, sizeof(buffer), "abcdef"), "abc");
}

} // namespace
