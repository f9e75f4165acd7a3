#include <gtest/gtest.h>

#include <chrono>

#include "Path.h"
#include "Tools.h"
#include "Wrapper/LinuxFunctionWrapper.h"

namespace {

TEST(ToolsTest, TrimRemovesCharacterSetsFromEitherEnd) {
    EXPECT_EQ(Trim("abcba", "ab"), "c"); // a set of characters, not a substring
    EXPECT_EQ(Trim(" \t ", " \t"), "");
}

TEST(ToolsTest, AlignFitsToTheWidthOnTheLeft) {
    EXPECT_EQ(Align("12345", 3, ' '), "345");
    EXPECT_EQ(Align("7", 3, '0'), "007");
    EXPECT_EQ(Align("", 0, ' '), "");
}

TEST(ToolsTest, JoinPutsTheSeparatorBetweenItems) {
    const std::string items[] = {"a", "b"};
    EXPECT_EQ(Join(items, 2, ", "), "a, b");
}

TEST(ToolsTest, FormatGrowsPastTheFixedBuffer) {
    EXPECT_EQ(Format("%s-%03d", "x", 7), "x-007");
    // Around the size of the fixed buffer (1024 with its terminating NUL) and far past it.
    for (const size_t length : {1023, 1024, 5000}) {
        const std::string text(length - 2, 'q');
        EXPECT_EQ(Format("<%s>", text.c_str()), "<" + text + ">") << length;
    }
}

TEST(PathTest, SplitsAndCombinesWithBothSeparators) {
    EXPECT_EQ(Path::GetExtension("dir/plu.CSV"), "CSV");
    EXPECT_EQ(Path::GetExtension("a.b\\c"), "b/c");
    EXPECT_EQ(Path::GetDirectoryName("a/b\\c.txt"), "a/b\\");
    EXPECT_EQ(Path::Combine("/etc/", "a/b"), "/etc/a/b");
    EXPECT_EQ(Path::Combine("c:\\x", "a\\b"), "c:/x/a/b");
}

TEST(ToolsTest, SleepCountsTenMillisecondUnitsBelowOneSecond) {
    for (const int units : {5, 100, -5}) {
        const auto start = std::chrono::steady_clock::now();
        Sleep(units);
        const auto slept = std::chrono::steady_clock::now() - start;
        EXPECT_EQ(slept >= std::chrono::milliseconds(49), units == 5) << units;
    }
}

TEST(ToolsTest, AppDirectoryHoldsTheRunningProgram) {
    EXPECT_TRUE(File::Exists(GetAppDirectory() + "tavo_tests"));
}

TEST(WrapperTest, BoundedCopyTruncatesSilently) {
    char buffer[4];
    EXPECT_STREQ(strcpy_s(buffer, sizeof(buffer), "abcdef"), "abc");
}

} // namespace
