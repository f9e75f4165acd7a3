#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "CsvFile.h"
#include "FileErrors.h"
#include "Logging.h"
#include "TestSupport.h"

namespace {

using Lines = std::vector<std::string>;

class CsvFileTest : public ::testing::Test {
protected:
    void SetUp() override { testsupport::LoadConfiguration(dir.File("missing.ini")); }
    void TearDown() override { FileErrors::Reset(); }

    // Opens the content as Send does with fresh error counters, in a reader that had indexed
    // another file before. Returns what the reader reported, one "#<line> <last word of the
    // message>" each ("#2 empty", "#5 format", "#3 unique"), then every record in index order
    // as "<line>:<text>".
    Lines Load(const std::string& content) {
        testsupport::WriteFile(dir.File("input.csv"), content);
        testsupport::WriteFile(dir.File("earlier.csv"), "9,\"earlier\"\n");
        CsvFileReaderImpl reader;
        reader.Open(dir.File("earlier.csv"));
        FileErrors::Reset();
        ::testing::internal::CaptureStdout();
        reader.Open(dir.File("input.csv"));
        std::istringstream reports(::testing::internal::GetCapturedStdout());
        Lines result;
        for (std::string report; std::getline(reports, report);) {
            report.erase(report.find_last_not_of(' ') + 1);
            result.push_back("#" + std::to_string(std::stoi(report.substr(5))) + " " +
                             report.substr(report.rfind(' ') + 1));
        }
        char buffer[1024];
        int record = 0;
        for (; const int length = reader.Read(record, buffer, 1024); ++record) {
            result.push_back(std::to_string(reader.GetLineNumber(record)) + ":" +
                             std::string(buffer, static_cast<size_t>(length)));
        }
        EXPECT_EQ(reader.GetLineNumber(-1), -1);
        EXPECT_EQ(reader.GetLineNumber(record), -1);
        reader.Close();
        EXPECT_EQ(reader.Read(0, buffer, sizeof(buffer)), 0);
        return result;
    }

    testsupport::TempDir dir;
};

TEST_F(CsvFileTest, EveryLineIsARecordEmptyOrMalformed) {
    // A line is keyed by the number in its first field when more fields follow; a key of -1 is
    // refused. A text first field (or a number alone) gives key 0, which after the first line
    // keeps the file in its own order. Blanks after a line are not part of it.
    EXPECT_EQ(
        Load("\"Header\",\"Name\"\r\n\r\n12,\"a\"\n \t \n,1\n-1,\"minus one\"\n7\n"
             "1x,2\n0x01,3\n-0.1,\"also minus one\"\n\"unterminated,5"),
        (Lines{"#2 empty", "#4 empty", "#5 format", "#6 format", "#8 format", "#10 format",
               "1:\"Header\",\"Name\"", "3:12,\"a\"", "7:7", "9:0x01,3", "11:\"unterminated,5"}));
    EXPECT_EQ(Load("\n\r\n  \n"), (Lines{"#1 empty", "#2 empty", "#3 empty"}));
}

TEST_F(CsvFileTest, KeyedLinesAreSortedWithoutDuplicates) {
    // Of two equal neighbours after sorting the one with the smaller line number goes, and the
    // report names the second of the pair: line 1 although line 3 is kept.
    const std::pair<std::string, Lines> cases[] = {
        {"\"No\",\"Name\"\r\n30,\"c\"\r\n20,\"b\"  \r\n10,\"a\"\t\r\n",
         {"1:\"No\",\"Name\"", "4:10,\"a\"", "3:20,\"b\"", "2:30,\"c\""}},
        {"12.5,\"s\"\n13,\"t\"\n", {"2:13,\"t\"", "1:12.5,\"s\""}},
        {"1,\"a\"\n2,\"b\"\n2,\"c\"\n2,\"d\"\n3,\"e\"\n",
         {"#3 unique", "#4 unique", "1:1,\"a\"", "4:2,\"d\"", "5:3,\"e\""}},
        {"5,\"first\"\n3,\"b\"\n5,\"last\"\n", {"#1 unique", "2:3,\"b\"", "3:5,\"last\""}},
        {"2,\"b\"\n\n1,,\"x\"\n1,\"a\"\n", {"#2 empty", "#3 unique", "4:1,\"a\"", "1:2,\"b\""}},
    };
    for (const auto& [content, expected] : cases) {
        EXPECT_EQ(Load(content), expected) << content;
    }
}

TEST_F(CsvFileTest, LongAndHostileLinesAreReadWithinBounds) {
    // A 1024-character line comes in pieces of 1023: the rest, a lone quote, counts as line 2,
    // a record without a number.
    const std::string longLine = "1,\"" + std::string(1020, 'x') + "\"";
    EXPECT_EQ(Load(longLine + "\r\n2,\"b\"\r\n,\r\n"),
              (Lines{"#4 format", "1:" + longLine.substr(0, 1023), "2:\"", "3:2,\"b\""}));
    // The text ends at a zero byte; "4," alone has key 0 after the first line, so the file
    // keeps its order. 100000 delimiters are 98 malformed pieces across the read-ahead block.
    std::string content = std::string("3,\"a\"\n4,\0\"hidden\"\n", 18);
    content += std::string(100000, ',') + "\n5,\"b\"\n";
    const Lines records = Load(content);
    EXPECT_EQ(FileErrors::GetBadFormatRecordCount(), 98);
    EXPECT_EQ(Lines(records.begin() + 98, records.end()),
              (Lines{"1:3,\"a\"", "2:4,", "101:5,\"b\""}));
}

TEST_F(CsvFileTest, ManyScrambledKeysComeBackAscending) {
    std::string content;
    Lines expected(2000);
    for (int line = 1; line <= 2000; ++line) {
        const std::string record = std::to_string(line * 7919 % 2000 + 1) + ",1";
        content += record + "\n";
        expected[static_cast<size_t>(line * 7919 % 2000)] = std::to_string(line) + ":" + record;
    }
    EXPECT_EQ(Load(content), expected);
}

// FileErrors: the counts and the lines that the CSV reader and the transfers report through.
// Raw and bitmap records have no line (0): their problems are counted but not listed.
TEST_F(CsvFileTest, ProblemsAreListedByLineAndCounted) {
    FileErrors::Reset();
    testing::internal::CaptureStdout();
    FileErrors::AddBadDataRecord(12, 0);
    FileErrors::AddBadDataRecord(123456, 1);
    FileErrors::AddCanNotUpdateRecord(0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Line 12    - Some record fields have invalid values\n"
              "Line 123456 - Record field 1 has invalid value\n");
    EXPECT_EQ(FileErrors::GetRejectedByEcrRecordCount(), 3);
}

TEST_F(CsvFileTest, SummaryLogsOnlyTheProblemsThatOccurred) {
    testsupport::LoadConfiguration(
        dir.File("none.ini"),
        {{"StandardLog", "1"}, {"DbgErrorLog", "0"}, {"LogFilePath", dir.Path()}});
    StartLogging();
    FileErrors::Reset();
    FileErrors::Log();
    FileErrors::AddCanNotUpdateRecord(0);
    FileErrors::Log();
    StopLogging(false);
    // One line after its 23-character time stamp; the counts that stayed zero are not logged.
    EXPECT_EQ(testsupport::ReadFile(dir.File("TAVO.log")).substr(23),
              " 1 record(s) rejected by ECR\n");
}

} // namespace
