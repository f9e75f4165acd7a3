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

using Lines = std::vector<std::string>;

std::vector<int> emptyLines;
std::vector<int> badLines;

class CsvFileTest : public ::testing::Test {
protected:
    void SetUp() override {
        Configure({});
        FileErrors::Reset();
    }
    void TearDown() override { FileErrors::Reset(); }

    void Configure(const std::vector<std::pair<std::string, std::string>>& parameters) {
        testsupport::LoadConfiguration(dir.File("missing.ini"), parameters);
    }

    std::string WriteInput(const std::string& content) {
        testsupport::WriteFile(dir.File("input.csv"), content);
        return dir.File("input.csv");
    }

    // Opens the content as Send does with fresh error counters; keeps what the reader printed
    // and returns every record in index order as "line:text".
    Lines Load(const std::string& content) {
        FileErrors::Reset();
        CsvFileReaderImpl reader;
        ::testing::internal::CaptureStdout();
        reader.Open(WriteInput(content));
        output = ::testing::internal::GetCapturedStdout();
        Lines records;
        char buffer[1024];
        for (int record = 0;; ++record) {
            const int length = reader.Read(record, buffer, sizeof(buffer));
            if (length == 0) {
                EXPECT_EQ(reader.GetLineNumber(record), -1);
                break;
            }
            records.push_back(std::to_string(reader.GetLineNumber(record)) + ":" +
                              std::string(buffer, static_cast<size_t>(length)));
        }
        EXPECT_EQ(reader.GetLineNumber(-1), -1);
        reader.Close();
        EXPECT_EQ(reader.Read(0, buffer, sizeof(buffer)), 0);
        return records;
    }

    bool Reported(const std::string& message) const {
        return output.find(message) != std::string::npos;
    }

    testsupport::TempDir dir;
    std::string output;
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
    TextFileLineIndex index;
    ::testing::internal::CaptureStdout();
    const int count = index.Build(
        WriteInput(content), [](int line) { emptyLines.push_back(line); },
        [](int line) { badLines.push_back(line); });
    // Captured output is no terminal: the progress text is left out.
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(emptyLines, (std::vector<int>{2, 4}));
    EXPECT_EQ(badLines, (std::vector<int>{5, 6, 9, 11}));
    Lines entries;
    for (int i = 0; i < count; ++i) {
        const TextFileLineIndex::FileLine& entry = index.GetEntry(i);
        entries.push_back(std::to_string(entry.lineNumber) + ":" + std::to_string(entry.lineKey));
    }
    EXPECT_EQ(entries, (Lines{"1:0", "3:12", "7:0", "8:125", "10:0", "12:0"}));
    char buffer[1024];
    EXPECT_EQ(index.ReadLine(0, buffer, 9), 8); // at most bufferSize - 1 characters
    EXPECT_STREQ(buffer, "\"Header\"");
    try {
        index.SortRange(0, count);
        ADD_FAILURE() << "sorted past the end";
    } catch (Exception* e) {
        EXPECT_EQ(e->GetReturnCode(), ReturnCode_InternalError);
        EXPECT_NE(e->GetLogMessage().find("src/TextFileLineIndex.cpp"), std::string::npos);
        delete e;
    }
}

TEST_F(CsvFileTest, SortsByKeyAndReportsEmptyAndDuplicateLines) {
    // A text header stays first; blanks after the line are not part of it.
    EXPECT_EQ(Load("\"No\",\"Name\"\r\n30,\"c\"\r\n20,\"b\"  \r\n10,\"a\"\t\r\n"),
              (Lines{"1:\"No\",\"Name\"", "4:10,\"a\"", "3:20,\"b\"", "2:30,\"c\""}));
    EXPECT_FALSE(Reported("Line"));

    // Already in order: each compared pair names its second line, the earlier line goes.
    EXPECT_EQ(Load("1,\"a\"\n2,\"b\"\n2,\"c\"\n2,\"d\"\n3,\"e\"\n"),
              (Lines{"1:1,\"a\"", "4:2,\"d\"", "5:3,\"e\""}));
    EXPECT_EQ(output.substr(output.find("Line")), "Line 3     - Record number is not unique   \n"
                                                  "Line 4     - Record number is not unique   \n");
    EXPECT_EQ(FileErrors::GetDuplicateRecordCount(), 2);

    // The sort puts line 3 before line 1, so the report names line 1 although line 3 is kept.
    EXPECT_EQ(Load("5,\"first\"\n3,\"b\"\n5,\"last\"\n"), (Lines{"2:3,\"b\"", "3:5,\"last\""}));
    EXPECT_TRUE(Reported("Line 1     - Record number is not unique"));
    EXPECT_FALSE(Reported("Line 3"));
    EXPECT_EQ(FileErrors::GetDuplicateRecordCount(), 1);

    EXPECT_TRUE(Load("\n\r\n  \n").empty());
    EXPECT_EQ(FileErrors::GetEmptyRecordCount(), 3);
    EXPECT_TRUE(Reported("Line 3     - Record is empty               \n"));

    EXPECT_EQ(Load("2,\"b\"\n\n1,,\"x\"\n1,\"a\"\n").size(), 2u);
    EXPECT_TRUE(Reported("Line 2     - Record is empty"));
    EXPECT_EQ(FileErrors::GetEmptyRecordCount(), 1);
    EXPECT_EQ(FileErrors::GetBadFormatRecordCount(), 0); // "1," is a key with a bad field
    EXPECT_EQ(FileErrors::GetDuplicateRecordCount(), 1);
}

TEST_F(CsvFileTest, UnnumberedLinesOrTheSettingKeepFileOrder) {
    EXPECT_EQ(Load("3,\"c\"\n1,\"a\"\n\"note\",1\n1,\"again\"\n"),
              (Lines{"1:3,\"c\"", "2:1,\"a\"", "3:\"note\",1", "4:1,\"again\""}));
    EXPECT_EQ(FileErrors::GetDuplicateRecordCount(), 0);
    EXPECT_EQ(Load("3,\"c\"\n9\n1,\"a\"\n"), (Lines{"1:3,\"c\"", "2:9", "3:1,\"a\""}));

    Configure({{"SortInputFileLines", "0"}});
    EXPECT_EQ(Load("3,\"c\"\n1,\"a\"\n3,\"c2\"\n"),
              (Lines{"1:3,\"c\"", "2:1,\"a\"", "3:3,\"c2\""}));
    EXPECT_EQ(FileErrors::GetDuplicateRecordCount(), 0);

    Configure({{"Delimiter", ";"}});
    EXPECT_EQ(Load("2;\"b,c\"\n1;\"a\"\n1,5;\"x\"\n"), (Lines{"2:1;\"a\"", "1:2;\"b,c\""}));
    EXPECT_EQ(FileErrors::GetBadFormatRecordCount(), 1); // "1,5" is not a number
}

TEST_F(CsvFileTest, LongAndHostileLinesAreReadWithinBounds) {
    // A 1498-character line comes in pieces of 1023: the first is keyed 1, the rest counts as
    // line 2 and is malformed.
    const std::string longLine = "1,\"" + std::string(1494, 'x') + "\"";
    EXPECT_EQ(Load(longLine + "\r\n2,\"b\"\r\n,\r\n"),
              (Lines{"1:" + longLine.substr(0, 1023), "3:2,\"b\""}));
    EXPECT_TRUE(Reported("Line 2     - Record has bad format"));
    EXPECT_TRUE(Reported("Line 4     - Record has bad format"));

    std::string content = "3,\"a\"\n";
    content += std::string("4,\0\"hidden\"\n", 12); // the text ends at the zero byte
    content += std::string(100000, ',') + "\n";     // 98 pieces of delimiters
    content += "5,\"b\"\n";
    // "4," alone has key 0 after the first line, so the file keeps its order.
    EXPECT_EQ(Load(content), (Lines{"1:3,\"a\"", "2:4,", "101:5,\"b\""}));
    EXPECT_EQ(FileErrors::GetBadFormatRecordCount(), 98);
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
