#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "CsvFile.h"
#include "Exceptions.h"
#include "FileErrors.h"
#include "TestSupport.h"
#include "TextFileLineIndex.h"

namespace {

std::vector<int> emptyLines;
std::vector<int> badLines;

void RecordEmpty(int lineNumber) {
    emptyLines.push_back(lineNumber);
}

void RecordBad(int lineNumber) {
    badLines.push_back(lineNumber);
}

class CsvFileTest : public ::testing::Test {
protected:
    void SetUp() override {
        Configure({});
        FileErrors::Reset();
        emptyLines.clear();
        badLines.clear();
    }
    void TearDown() override { FileErrors::Reset(); }

    void Configure(const std::vector<std::pair<std::string, std::string>>& parameters) {
        testsupport::LoadConfiguration(dir.File("missing.ini"), parameters);
    }

    std::string WriteInput(const std::string& content) {
        const std::string path = dir.File("input.csv");
        testsupport::WriteFile(path, content);
        return path;
    }

    // Opens the file as Send does; returns what the reader printed.
    std::string Open(CsvFileReaderImpl& reader, const std::string& content) {
        const std::string path = WriteInput(content);
        ::testing::internal::CaptureStdout();
        reader.Open(path);
        return ::testing::internal::GetCapturedStdout();
    }

    // Every record in index order as "line:text".
    static std::vector<std::string> Records(CsvFileReaderImpl& reader) {
        std::vector<std::string> records;
        char buffer[1024];
        for (int record = 0;; ++record) {
            const int length = reader.Read(record, buffer, sizeof(buffer));
            if (length == 0) {
                EXPECT_EQ(reader.GetLineNumber(record), -1);
                return records;
            }
            records.push_back(std::to_string(reader.GetLineNumber(record)) + ":" +
                              std::string(buffer, static_cast<size_t>(length)));
        }
    }

    testsupport::TempDir dir;
};

TEST_F(CsvFileTest, IndexClassifiesEveryLine) {
    const std::string content = "\"Header\",\"Name\"\r\n"   // 1: text first field, key 0
                                "\r\n"                      // 2: empty
                                "12,\"a\"\n"                // 3: key 12
                                " \t \n"                    // 4: empty after trimming
                                ",1\n"                      // 5: empty first field
                                "-1,\"minus one\"\n"        // 6: key -1 is refused
                                "7\n"                       // 7: a number alone has key 0
                                "12.5,\"scaled\"\n"         // 8: key 125
                                "1x,2\n"                    // 9: not a number
                                "0x01,3\n"                  // 10: binary first field, key 0
                                "-0.1,\"also minus one\"\n" // 11: scaled key -1
                                "\"unterminated,5";         // 12: no newline at the end
    const std::string path = WriteInput(content);
    TextFileLineIndex index;
    ::testing::internal::CaptureStdout();
    const int count = index.Build(path, RecordEmpty, RecordBad);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(),
              "Preparing data ...\r" + std::string(18, ' ') + "\r");
    EXPECT_EQ(emptyLines, (std::vector<int>{2, 4}));
    EXPECT_EQ(badLines, (std::vector<int>{5, 6, 9, 11}));
    ASSERT_EQ(count, 6);
    const int64_t keys[] = {0, 12, 0, 125, 0, 0};
    const int lines[] = {1, 3, 7, 8, 10, 12};
    for (int i = 0; i < count; ++i) {
        const TextFileLineIndex::FileLine& entry = index.GetEntry(i);
        EXPECT_EQ(entry.lineKey, keys[i]) << i;
        EXPECT_EQ(entry.lineNumber, lines[i]) << i;
    }
    EXPECT_EQ(index.GetEntry(1).lineOffset, content.find("12,"));
    EXPECT_EQ(index.GetEntry(5).lineOffset, content.find("\"unterminated"));
    char buffer[1024];
    EXPECT_EQ(index.ReadLine(0, buffer, sizeof(buffer)), 15);
    EXPECT_STREQ(buffer, "\"Header\",\"Name\"");
    EXPECT_EQ(index.ReadLine(0, buffer, 9), 8); // at most bufferSize - 1 characters
    EXPECT_STREQ(buffer, "\"Header\"");
    EXPECT_EQ(index.ReadLine(6, buffer, sizeof(buffer)), 0);

    // Building again starts afresh; null callbacks are allowed.
    EXPECT_EQ(index.Build(path, nullptr, nullptr), 6);
    index.Close();
    EXPECT_EQ(index.GetCount(), 0);
    EXPECT_EQ(index.ReadLine(0, buffer, sizeof(buffer)), 0);
}

TEST_F(CsvFileTest, HeaderStaysFirstAndRecordsComeBackAscending) {
    CsvFileReaderImpl reader;
    const std::string output =
        Open(reader, "\"No\",\"Name\"\r\n30,\"c\"\r\n20,\"b\"  \r\n10,\"a\"\t\r\n");
    EXPECT_EQ(output.find("Line"), std::string::npos);
    EXPECT_EQ(Records(reader), (std::vector<std::string>{"1:\"No\",\"Name\"", "4:10,\"a\"",
                                                         "3:20,\"b\"", "2:30,\"c\""}));
    EXPECT_EQ(reader.GetLineNumber(-1), -1);
    reader.Close();
    char buffer[16];
    EXPECT_EQ(reader.Read(0, buffer, sizeof(buffer)), 0);
}

TEST_F(CsvFileTest, DuplicatesKeepTheLastLineAndReportThePairsSecondEntry) {
    CsvFileReaderImpl sorted;
    // Already in order: each compared pair names its second line, the earlier line goes.
    std::string output = Open(sorted, "1,\"a\"\n2,\"b\"\n2,\"c\"\n2,\"d\"\n3,\"e\"\n");
    EXPECT_EQ(output.find("Line 3     - Record number is not unique   \n"
                          "Line 4     - Record number is not unique   \n"),
              output.find("Line"));
    EXPECT_EQ(FileErrors::GetDuplicateRecordCount(), 2);
    EXPECT_EQ(Records(sorted), (std::vector<std::string>{"1:1,\"a\"", "4:2,\"d\"", "5:3,\"e\""}));

    // The sort puts line 3 before line 1, so the report names line 1 although line 3 is the
    // one that is kept.
    FileErrors::Reset();
    CsvFileReaderImpl unsorted;
    output = Open(unsorted, "5,\"first\"\n3,\"b\"\n5,\"last\"\n");
    EXPECT_NE(output.find("Line 1     - Record number is not unique"), std::string::npos);
    EXPECT_EQ(output.find("Line 3"), std::string::npos);
    EXPECT_EQ(FileErrors::GetDuplicateRecordCount(), 1);
    EXPECT_EQ(Records(unsorted), (std::vector<std::string>{"2:3,\"b\"", "3:5,\"last\""}));
}

TEST_F(CsvFileTest, UnnumberedLinesOrTheSettingKeepFileOrder) {
    const std::string withText = "3,\"c\"\n1,\"a\"\n\"note\",1\n1,\"again\"\n";
    CsvFileReaderImpl textInMiddle;
    Open(textInMiddle, withText);
    EXPECT_EQ(Records(textInMiddle).size(), 4u);
    EXPECT_EQ(Records(textInMiddle).front(), "1:3,\"c\"");
    EXPECT_EQ(FileErrors::GetDuplicateRecordCount(), 0);

    CsvFileReaderImpl numberAlone;
    Open(numberAlone, "3,\"c\"\n9\n1,\"a\"\n");
    EXPECT_EQ(Records(numberAlone), (std::vector<std::string>{"1:3,\"c\"", "2:9", "3:1,\"a\""}));

    Configure({{"SortInputFileLines", "0"}});
    CsvFileReaderImpl unsorted;
    Open(unsorted, "3,\"c\"\n1,\"a\"\n3,\"c2\"\n");
    EXPECT_EQ(Records(unsorted),
              (std::vector<std::string>{"1:3,\"c\"", "2:1,\"a\"", "3:3,\"c2\""}));
    EXPECT_EQ(FileErrors::GetDuplicateRecordCount(), 0);
}

TEST_F(CsvFileTest, ErrorsAreCountedAndListedByLine) {
    CsvFileReaderImpl onlyEmpty;
    std::string output = Open(onlyEmpty, "\n\r\n  \n");
    EXPECT_EQ(FileErrors::GetEmptyRecordCount(), 3);
    EXPECT_NE(output.find("Line 3     - Record is empty               \n"), std::string::npos);
    EXPECT_TRUE(Records(onlyEmpty).empty());

    FileErrors::Reset();
    CsvFileReaderImpl mixed;
    output = Open(mixed, "2,\"b\"\n\n1,,\"x\"\n1,\"a\"\n");
    EXPECT_EQ(FileErrors::GetEmptyRecordCount(), 1);
    EXPECT_EQ(FileErrors::GetBadFormatRecordCount(), 0); // "1," is a key with a bad field
    EXPECT_EQ(FileErrors::GetDuplicateRecordCount(), 1);
    EXPECT_NE(output.find("Line 2     - Record is empty"), std::string::npos);
    EXPECT_EQ(Records(mixed).size(), 2u);
}

TEST_F(CsvFileTest, LongLinesAreReadInPiecesOf1023Characters) {
    const std::string longLine = "1,\"" + std::string(1494, 'x') + "\"";
    ASSERT_EQ(longLine.size(), 1498u);
    CsvFileReaderImpl reader;
    const std::string output = Open(reader, longLine + "\r\n2,\"b\"\r\n,\r\n");
    // The first piece is keyed 1; the rest of the line is line 2, and is malformed.
    EXPECT_NE(output.find("Line 2     - Record has bad format"), std::string::npos);
    EXPECT_NE(output.find("Line 4     - Record has bad format"), std::string::npos);
    const std::vector<std::string> records = Records(reader);
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0], "1:" + longLine.substr(0, 1023));
    EXPECT_EQ(records[1], "3:2,\"b\"");
}

TEST_F(CsvFileTest, HostileContentIsIndexedWithinBounds) {
    std::string content = "3,\"a\"\n";
    content += std::string("4,\0\"hidden\"\n", 12); // the text ends at the zero byte
    content += std::string(100000, ',') + "\n";     // 98 pieces of delimiters
    content += "5,\"b\"\n";
    CsvFileReaderImpl reader;
    Open(reader, content);
    EXPECT_EQ(FileErrors::GetBadFormatRecordCount(), 98);
    const std::vector<std::string> records = Records(reader);
    // "4," alone has key 0 after the first line, so the file keeps its order.
    ASSERT_EQ(records.size(), 3u);
    EXPECT_EQ(records[1], "2:4,");
    EXPECT_EQ(records[2], "101:5,\"b\"");
}

TEST_F(CsvFileTest, DelimiterSettingAppliesToKeys) {
    Configure({{"Delimiter", ";"}});
    CsvFileReaderImpl reader;
    Open(reader, "2;\"b,c\"\n1;\"a\"\n1,5;\"x\"\n");
    EXPECT_EQ(FileErrors::GetBadFormatRecordCount(), 1); // "1,5" is not a number
    EXPECT_EQ(Records(reader), (std::vector<std::string>{"2:1;\"a\"", "1:2;\"b,c\""}));
}

TEST_F(CsvFileTest, SortRangeOrdersAndChecksPositions) {
    std::string content;
    unsigned seed = 12345;
    for (int i = 0; i < 2000; ++i) {
        seed = seed * 1103515245u + 12345u;
        content += std::to_string(1 + (seed >> 16) % 500) + ",\"r\"\n";
    }
    TextFileLineIndex index;
    ::testing::internal::CaptureStdout();
    ASSERT_EQ(index.Build(WriteInput(content), nullptr, nullptr), 2000);
    ::testing::internal::GetCapturedStdout();
    EXPECT_FALSE(index.IsSorted());
    index.SortRange(0, 1999);
    EXPECT_TRUE(index.IsSorted());
    std::vector<bool> seen(2001, false);
    for (int i = 0; i < 2000; ++i) {
        seen[static_cast<size_t>(index.GetEntry(i).lineNumber)] = true;
    }
    EXPECT_EQ(std::count(seen.begin(), seen.end(), true), 2000);

    try {
        index.SortRange(0, 2000);
        ADD_FAILURE() << "sorted past the end";
    } catch (Exception* e) {
        EXPECT_EQ(e->GetReturnCode(), ReturnCode_InternalError);
        EXPECT_NE(e->GetLogMessage().find("src/TextFileLineIndex.cpp"), std::string::npos);
        delete e;
    }
}

TEST_F(CsvFileTest, WriterEndsRecordsWithCrLf) {
    const std::string path = dir.File("out.csv");
    std::unique_ptr<FileWriter> writer(new CsvFileWriter());
    writer->Open(path);
    writer->Write("1,\"a\"", 5);
    writer->Write("", 0);
    writer.reset();
    EXPECT_EQ(testsupport::ReadFile(path), "1,\"a\"\r\n\r\n");
}

} // namespace
