#include <gtest/gtest.h>

#include <chrono>
#include <sys/time.h>

#include "Path.h"
#include "Tools.h"

namespace {

TEST(ToolsTest, TrimRemovesCharacterSetsFromEitherEnd) {
    EXPECT_EQ(Trim("abcba", "ab"), "c"); // a set of characters, not a substring
    EXPECT_EQ(Trim(" \t ", " \t"), "");
}

TEST(ToolsTest, CaseConversionTouchesAsciiLettersOnly) {
    EXPECT_EQ(ToUpper("readAndClear-1\xe4"), "READANDCLEAR-1\xe4");
    EXPECT_EQ(ToLower("ECR_Shop1"), "ecr_shop1");
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
    EXPECT_EQ(Path::GetExtension("noext"), "");
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

TEST(ToolsTest, LocalTimeCountsMonthsFromOne) {
    // Read between two clock readings of the same second, the milliseconds lie between theirs.
    timeval before;
    timeval after;
    tagSYSTEMTIME now;
    do {
        gettimeofday(&before, nullptr);
        GetLocalTime(&now);
        gettimeofday(&after, nullptr);
    } while (before.tv_sec != after.tv_sec);
    EXPECT_GE(now.wMilliseconds, before.tv_usec / 1000);
    EXPECT_LE(now.wMilliseconds, after.tv_usec / 1000);
    struct tm local;
    localtime_r(&after.tv_sec, &local);
    EXPECT_EQ(now.wYear, local.tm_year + 1900);
    EXPECT_EQ(now.wMonth, local.tm_mon + 1);
}

TEST(ToolsTest, AppDirectoryHoldsTheRunningProgram) {
    EXPECT_TRUE(File::Exists(GetAppDirectory() + "tavo_tests"));
}

} // namespace
