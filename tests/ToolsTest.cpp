#include <gtest/gtest.h>

#include <chrono>
#include <stdexcept>

#include "Exceptions.h"
#include "Path.h"
#include "Tools.h"
#include "Wrapper/LinuxFunctionWrapper.h"

namespace {

TEST(ToolsTest, TrimRemovesCharacterSetsFromEitherEnd) {
    EXPECT_EQ(Trim("  ", " "), "");
    EXPECT_EQ(Trim("xabx", "x"), "ab");
    EXPECT_EQ(Trim("\t a b \r\n", " \t\r\n"), "a b");
    EXPECT_EQ(TrimLeft("xxaxx", "x"), "axx");
    EXPECT_EQ(TrimRight("xxaxx", "x"), "xxa");
    EXPECT_EQ(Trim("abcba", "ab"), "c"); // a set of characters, not a substring
}

TEST(ToolsTest, AlignPadsOnTheLeftAndCutsFromTheLeft) {
    EXPECT_EQ(Align("12345", 3, ' '), "345");
    EXPECT_EQ(Align("7", 3, '0'), "007");
    EXPECT_EQ(Align("", 0, ' '), "");
    EXPECT_EQ(Align("abc", 3, ' '), "abc");
    try {
        Align("abc", -1, ' ');
        FAIL() << "negative width accepted";
    } catch (Exception* e) {
        EXPECT_EQ(e->GetReturnCode(), ReturnCode_InternalError);
        EXPECT_NE(e->GetLogMessage().find("src/Tools.cpp"), std::string::npos);
        delete e;
    }
}

TEST(ToolsTest, CaseConversionTouchesAsciiLettersOnly) {
    EXPECT_EQ(ToUpper("readAndClear-1\xe4"), "READANDCLEAR-1\xe4");
    EXPECT_EQ(ToLower("ECR_Shop1"), "ecr_shop1");
}

TEST(ToolsTest, JoinDropsTheLastSeparatorAndFailsOnNothing) {
    const std::string items[] = {"a", "b"};
    EXPECT_EQ(Join(items, 2, ", "), "a, b");
    EXPECT_EQ(Join(items, 1, ","), "a");
    EXPECT_EQ(Join(items, 0, ""), "");
    EXPECT_THROW(Join(items, 0, ","), std::out_of_range);
}

TEST(ToolsTest, FormatGrowsPastTheFixedBuffer) {
    EXPECT_EQ(Format("%s-%03d", "x", 7), "x-007");
    const std::string longText(5000, 'q');
    EXPECT_EQ(Format("<%s>", longText.c_str()), "<" + longText + ">");
}

TEST(PathTest, SplitsAndCombinesWithBothSeparators) {
    EXPECT_EQ(Path::Normalize("a\\b\\c"), "a/b/c");
    EXPECT_EQ(Path::GetExtension("dir/plu.CSV"), "CSV");
    EXPECT_EQ(Path::GetExtension("a.b/c"), "b/c");
    EXPECT_EQ(Path::GetExtension("a.b\\c"), "b/c");
    EXPECT_EQ(Path::GetExtension("noext"), "");
    EXPECT_EQ(Path::GetFileName("a/b\\c.txt"), "c.txt");
    EXPECT_EQ(Path::GetFileName("c.txt"), "c.txt");
    EXPECT_EQ(Path::GetDirectoryName("file.csv"), "");
    EXPECT_EQ(Path::GetDirectoryName("a/b\\c.txt"), "a/b\\");
    EXPECT_EQ(Path::GetDirectoryName("/var/log/tavo/TAVO.log"), "/var/log/tavo/");
    EXPECT_EQ(Path::Combine("", "x"), "x");
    EXPECT_EQ(Path::Combine("", "a\\b"), "a\\b");
    EXPECT_EQ(Path::Combine("/etc/", "a/b"), "/etc/a/b");
    EXPECT_EQ(Path::Combine("/etc", "a\\b"), "/etc/a/b");
    EXPECT_EQ(Path::Combine("c:\\x\\", "/abs"), "c:/x//abs");
}

TEST(ToolsTest, SleepCountsTenMillisecondUnitsBelowOneSecond) {
    using Clock = std::chrono::steady_clock;
    auto elapsedMs = [](int units) {
        const auto start = Clock::now();
        Sleep(units);
        return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
    };
    EXPECT_GE(elapsedMs(50), 490);
    EXPECT_LT(elapsedMs(100), 50);
    EXPECT_LT(elapsedMs(200), 50);
    EXPECT_LT(elapsedMs(-5), 50);
}

TEST(ToolsTest, LocalTimeCountsWeekdaysFromSunday) {
    tagSYSTEMTIME now;
    GetLocalTime(&now);
    const time_t seconds = time(nullptr);
    struct tm local;
    localtime_r(&seconds, &local);
    EXPECT_EQ(now.wDayOfWeek, local.tm_wday + 1);
    EXPECT_EQ(now.wYear, local.tm_year + 1900);
    EXPECT_EQ(now.wMonth, local.tm_mon + 1);
    EXPECT_LT(now.wMilliseconds, 1000);
}

TEST(ToolsTest, FilesAndDirectories) {
    EXPECT_TRUE(Directory::Exists("/tmp"));
    EXPECT_FALSE(Directory::Exists("/proc/self/exe")); // exists, but no directory
    EXPECT_TRUE(File::Exists("/proc/self/exe"));
    EXPECT_FALSE(Directory::Create("/nonexistent/a/b")); // parents are not created
    const std::string modified = File::Modified("/");
    ASSERT_FALSE(modified.empty());
    EXPECT_EQ(modified.back(), '\n');
    const std::string appDirectory = GetAppDirectory();
    EXPECT_EQ(appDirectory.back(), '/');
    EXPECT_TRUE(File::Exists(appDirectory + "tavo_tests"));
}

TEST(WrapperTest, BoundedCopiesTruncateSilently) {
    char buffer[4] = {'x', 'x', 'x', 'x'};
    EXPECT_EQ(strcpy_s(buffer, sizeof(buffer), "abcdef"), buffer);
    EXPECT_STREQ(buffer, "abc");
    EXPECT_EQ(strcpy_s(buffer, 0, "z"), nullptr);
    EXPECT_STREQ(buffer, "abc");
    FILE* file = reinterpret_cast<FILE*>(1);
    EXPECT_EQ(fopen_s(&file, "/nonexistent/x", "r"), 0);
    EXPECT_EQ(file, nullptr);
}

} // namespace
