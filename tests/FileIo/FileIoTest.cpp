// The kinds of data file and the files behind them: detection, the factories, raw records,
// checked writes, bitmaps, and CSV files with the problems their lines are reported for.
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "BmpFile.h"
#include "CsvFile.h"
#include "Exceptions.h"
#include "FileErrors.h"
#include "FileIo.h"
#include "Logging.h"
#include "RawFile.h"
#include "TestSupport.h"

namespace {

using testsupport::ThrownBy;

// Records of a file, or what a test makes of them.
using Rows = std::vector<std::string>;

// value as width bytes, least significant first.
std::string Le(uint32_t value, int width) {
    std::string bytes;
    for (int i = 0; i < width; ++i) {
        bytes += static_cast<char>(value >> (8 * i));
    }
    return bytes;
}

const std::string whiteFirst("\xff\xff\xff\x00\x00\x00\x00\x00", 8);

// Ten pixels wide: pixels 0 and 9 dark in the top row, pixels 1 and 2 in the bottom row. Fill
// bits (pixels 10 to 15) arrive as 1 with a white-first palette; with a black-first one the
// stored bits are inverted, and the fill bits with them.
const Rows whiteFirstRows = {"\x01\xfe", "\x06\xfc"};
const Rows blackFirstRows = {"\x01\x02", std::string("\x06\x00", 2)};

// A one-bit bitmap file with the pixel data as it is stored, bottom row first.
std::string Bitmap(int32_t width, int32_t height, const std::string& pixelData,
                   const std::string& palette = whiteFirst) {
    const uint32_t size = static_cast<uint32_t>(pixelData.size());
    return "BM" + Le(62 + size, 4) + Le(0, 4) + Le(62, 4) + Le(40, 4) + Le(width, 4) +
           Le(height, 4) + Le(1, 2) + Le(1, 2) + Le(0, 4) + Le(size, 4) + std::string(16, '\0') +
           palette + pixelData;
}

// content with the field at offset replaced by value, in width bytes.
std::string Patched(std::string content, size_t offset, uint32_t value, int width = 4) {
    return content.replace(offset, static_cast<size_t>(width), Le(value, width));
}

class FileIoTest : public ::testing::Test {
protected:
    void SetUp() override { testsupport::LoadConfiguration(dir.File("missing.ini")); }
    // Every test leaves the problem counts at zero, as a run starts.
    void TearDown() override { FileErrors::Reset(); }

    // The records of a bitmap file of that content, or the one line "<exit status> <message>" when
    // it cannot be read.
    Rows ReadRows(const std::string& content, int bufferSize = 1024) {
        testsupport::WriteFile(dir.File("in.bmp"), content);
        BmpFileReader reader;
        // A reader that failed to open holds no rows.
        const std::string failure = ThrownBy([&] { reader.Open(dir.File("in.bmp")); });
        Rows rows;
        char buffer[1024];
        while (const int length = reader.Read(static_cast<int>(rows.size()), buffer, bufferSize)) {
            rows.emplace_back(buffer, static_cast<size_t>(length));
        }
        EXPECT_EQ(reader.Read(-1, buffer, bufferSize), 0);
        reader.Close();
        EXPECT_EQ(reader.Read(0, buffer, bufferSize), 0);
        return failure.empty() ? rows : Rows{failure};
    }

    // The bitmap file a writer makes of the rows.
    std::string Written(const Rows& rows) {
        BmpFileWriter writer;
        writer.Open(dir.File("out.bmp"));
        for (const std::string& row : rows) {
            writer.Write(row.data(), static_cast<int>(row.size()));
        }
        writer.Close();
        return testsupport::ReadFile(dir.File("out.bmp"));
    }

    // Opens the content as Send does with fresh error counters, in a reader that had indexed
    // another file before. Returns what the reader reported, one "#<line> <last word of the
    // message>" each ("#2 empty", "#5 format", "#3 unique"), then every record in index order
    // as "<line>:<text>".
    Rows Load(const std::string& content) {
        testsupport::WriteFile(dir.File("input.csv"), content);
        testsupport::WriteFile(dir.File("earlier.csv"), "9,\"earlier\"\n");
        CsvFileReaderImpl reader;
        reader.Open(dir.File("earlier.csv"));
        FileErrors::Reset();
        ::testing::internal::CaptureStdout();
        reader.Open(dir.File("input.csv"));
        std::istringstream reports(::testing::internal::GetCapturedStdout());
        Rows result;
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

TEST_F(FileIoTest, SettingOverridesSectionOverridesExtension) {
    // Setting, file name, section and the kind they give.
    const std::tuple<const char*, const char*, int, FileType> cases[] = {
        {"", "plu.csv", 3, FileType_CSV},      {"", "dump.bin", 3, FileType_RAW},
        {"", "logo.Bmp", 3, FileType_BMP},     {"", "dump.raw", 3, FileType_CSV},
        {"", "dir.bmp/file", 3, FileType_CSV}, {"", "plu.csv", 195, FileType_RAW},
        {"", "logo.bmp", 202, FileType_RAW},   {"raw", "plu.csv", 3, FileType_RAW},
        {"Bmp", "plu.csv", 195, FileType_BMP}, {"CSV", "dump.BIN", 202, FileType_CSV}};
    for (const auto& [setting, name, section, type] : cases) {
        testsupport::LoadConfiguration(dir.File("missing.ini"), {{"FileType", setting}});
        EXPECT_EQ(DetectFileType(name, section), type) << setting << " " << name;
    }
    for (const char* unsupported : {"BIN", "txt", " CSV"}) {
        testsupport::LoadConfiguration(dir.File("missing.ini"), {{"FileType", unsupported}});
        EXPECT_EQ(ThrownBy([] { DetectFileType("plu.csv", 3); }),
                  "10: Configuration error: Unsupported file type");
    }
}

TEST_F(FileIoTest, FactoriesMakeOnlyTheThreeKinds) {
    for (FileType type : {FileType_CSV, FileType_BMP, FileType_RAW}) {
        EXPECT_EQ(std::unique_ptr<FileReader>(CreateFileReader(type))->GetType(), type);
        EXPECT_EQ(std::unique_ptr<FileWriter>(CreateFileWriter(type))->GetType(), type);
    }
    // 3 is the only value beyond the three kinds that a FileType can hold.
    const FileType invalid = static_cast<FileType>(3);
    EXPECT_EQ(ThrownBy([&] { delete CreateFileReader(invalid); }), "99: Internal error");
    EXPECT_EQ(ThrownBy([&] { delete CreateFileWriter(invalid); }), "99: Internal error");
}

TEST_F(FileIoTest, RawRecordsAre64BytesReadInAnyOrder) {
    const std::string content = std::string(64, 'a') + std::string(64, 'b') + "cd";
    testsupport::WriteFile(dir.File("dump.bin"), content);
    RawFileReader reader;
    reader.Open(dir.File("dump.bin"));
    const auto read = [&reader](int record) {
        char buffer[1024];
        return std::string(buffer, static_cast<size_t>(reader.Read(record, buffer, 1024)));
    };
    EXPECT_EQ(read(5), "");
    EXPECT_EQ(read(2), content.substr(128));
    EXPECT_EQ(read(1), content.substr(64, 64));
    reader.Close(); // and again when it goes away
    EXPECT_EQ(read(0), "");
}

TEST_F(FileIoTest, RawWritesAreCheckedToTheDisk) {
    const std::string path = dir.File("dump.bin");
    testsupport::WriteFile(path, "older and longer content");
    const std::string data = std::string("\r\n\0x", 4) + std::string(100000, 'x');
    // Devices without a disk behind them refuse fsync; there is nothing to wait for. A large
    // write onto a full disk fails at once, before the buffer is flushed on closing, and closes
    // the file: nothing more can be written, and closing has nothing left to report.
    const std::string cases[][3] = {
        {path, "", ""},
        {"/dev/null", "", ""},
        {"/dev/full", "13: File '/dev/full' write error", "99: Internal error"}};
    for (const auto& [name, written, writtenAfter] : cases) {
        RawFileWriter writer;
        writer.Open(name);
        EXPECT_EQ(ThrownBy([&] { writer.Write(data.data(), static_cast<int>(data.size())); }),
                  written);
        EXPECT_EQ(ThrownBy([&] { writer.Write("never", -1); }), writtenAfter);
        EXPECT_EQ(ThrownBy([&] { writer.Close(); }), "") << name;
    }
    EXPECT_EQ(testsupport::ReadFile(path), data);
}

TEST_F(FileIoTest, BitmapWriterKeepsRowsOfTheFirstLengthBottomUp) {
    EXPECT_EQ(Written({"\x01\x02\x03", "\x80\x40\x20", "\xff\x01\x0f"}),
              Bitmap(24, 3, std::string("\xff\x80\xf0\x00\x01\x02\x04\x00\x80\x40\xc0\x00", 12)));
    {
        BmpFileWriter writer;
        writer.Open(dir.File("logo.bmp"));
        writer.Write("\x55\x55", 2); // forgotten by the next Open
        writer.Open(dir.File("logo.bmp"));
        writer.Write("\x01", 1);
        EXPECT_EQ(ThrownBy([&] { writer.Write("\x01\x02", 2); }),
                  "50: System error: Unconsequent line length");
        EXPECT_EQ(ThrownBy([&] { writer.Write("\x01", -1); }), "99: Internal error");
    } // the row accepted before is still written when the writer goes away
    EXPECT_EQ(ReadRows(testsupport::ReadFile(dir.File("logo.bmp"))), Rows{"\x01"});
    const Rows rows = {"\x12\x34\x56\x78\x9a", "\xbc\xde\xf0\x01\x23", "\x45\x67\x89\xab\xcd"};
    EXPECT_EQ(ReadRows(Written(rows)), rows);
    // Rows wider than the caller's buffer in pixels are cut: 1200 pixels arrive as 128 bytes.
    const std::string wide = Written(Rows(2, std::string(150, '\x5a')));
    EXPECT_EQ(ReadRows(wide), Rows(2, std::string(128, '\x5a')));
    EXPECT_EQ(ReadRows(wide, 9), Rows(2, std::string(2, '\x5a')));
    // Without a pixel the file stays empty.
    EXPECT_EQ(Written({"", ""}), "");
}

TEST_F(FileIoTest, BitmapPaletteDecidesWhichBitIsDark) {
    const std::string whitePixels("\x60\x00\x00\x00\x80\x40\x00\x00", 8);
    const std::string blackPixels("\x9f\xff\x00\x00\x7f\xbf\x00\x00", 8);
    const std::string blackFirst("\x00\x00\x00\x00\xff\xff\xff\x00", 8);
    EXPECT_EQ(ReadRows(Bitmap(10, 2, whitePixels)), whiteFirstRows);
    EXPECT_EQ(ReadRows(Bitmap(10, 2, blackPixels, blackFirst)), blackFirstRows);
    // Only the third byte of each palette entry is compared.
    const std::string redDarker("\xff\xff\x10\x00\x00\x00\x20\x00", 8);
    const std::string redLighter("\x00\x00\x20\x00\xff\xff\x10\x00", 8);
    EXPECT_EQ(ReadRows(Bitmap(10, 2, blackPixels, redDarker)), blackFirstRows);
    EXPECT_EQ(ReadRows(Bitmap(10, 2, whitePixels, redLighter)), whiteFirstRows);
}

TEST_F(FileIoTest, UnsupportedOrDamagedBitmapsAreRefused) {
    const std::string valid = Bitmap(8, 1, std::string(4, '\0'));
    EXPECT_EQ(ReadRows(valid), Rows{std::string(1, '\0')});
    // The pixel data lies where the header says, after a gap if there is one.
    EXPECT_EQ(ReadRows(Patched(valid.substr(0, 62) + "gap!" + valid.substr(62), 10, 66)),
              Rows{std::string(1, '\0')});
    for (const std::string& content :
         {Patched(valid, 28, 4, 2), Patched(valid, 30, 1), Patched(valid, 26, 2, 2),
          Patched(valid, 0, 0x424d, 2), Patched(valid, 18, 0xffffffff),
          Patched(valid, 22, 0xffffffff), std::string("BM"), std::string()}) {
        EXPECT_EQ(ReadRows(content), Rows{"13: Wrong bitmap file format"});
    }
    // Headers that promise more pixel data than the file holds are a read error.
    for (const std::string& content :
         {Patched(valid, 22, 3), Patched(valid, 10, 0xfffffff0), valid.substr(0, 58)}) {
        EXPECT_EQ(ReadRows(content), Rows{"13: File '" + dir.File("in.bmp") + "' read error"});
    }
    // An empty picture has no records, and no pixel data or palette to be missing.
    const std::string empty = Patched(valid, 22, 0);
    for (const std::string& content : {empty, empty.substr(0, 56), Patched(empty, 10, 0x10000),
                                       Patched(Patched(valid, 18, 0), 22, 0x7fffffff)}) {
        EXPECT_EQ(ReadRows(content), Rows{});
    }
}

TEST_F(FileIoTest, EveryCsvLineIsARecordEmptyOrMalformed) {
    // A line is keyed by the number in its first field when more fields follow; a key of -1 is
    // refused. A text first field (or a number alone) gives key 0, which after the first line
    // keeps the file in its own order. Blanks after a line are not part of it.
    EXPECT_EQ(
        Load("\"Header\",\"Name\"\r\n\r\n12,\"a\"\n \t \n,1\n-1,\"minus one\"\n7\n"
             "1x,2\n0x01,3\n-0.1,\"also minus one\"\n\"unterminated,5"),
        (Rows{"#2 empty", "#4 empty", "#5 format", "#6 format", "#8 format", "#10 format",
              "1:\"Header\",\"Name\"", "3:12,\"a\"", "7:7", "9:0x01,3", "11:\"unterminated,5"}));
    EXPECT_EQ(Load("\n\r\n  \n"), (Rows{"#1 empty", "#2 empty", "#3 empty"}));
}

TEST_F(FileIoTest, KeyedCsvLinesAreSortedWithoutDuplicates) {
    // 2000 keys in a scrambled order, each line "<key>,1".
    std::string scrambled;
    Rows ascending(2000);
    for (int line = 1; line <= 2000; ++line) {
        const std::string record = std::to_string(line * 7919 % 2000 + 1) + ",1";
        scrambled += record + "\n";
        ascending[static_cast<size_t>(line * 7919 % 2000)] = std::to_string(line) + ":" + record;
    }
    // Of two equal neighbours after sorting the one with the smaller line number goes, and the
    // report names the second of the pair: line 1 although line 3 is kept.
    const std::pair<std::string, Rows> cases[] = {
        {scrambled, ascending},
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

TEST_F(FileIoTest, LongAndHostileCsvLinesAreReadWithinBounds) {
    // A 1024-character line comes in pieces of 1023: the rest, a lone quote, counts as line 2,
    // a record without a number.
    const std::string longLine = "1,\"" + std::string(1020, 'x') + "\"";
    EXPECT_EQ(Load(longLine + "\r\n2,\"b\"\r\n,\r\n"),
              (Rows{"#4 format", "1:" + longLine.substr(0, 1023), "2:\"", "3:2,\"b\""}));
    // The text ends at a zero byte; "4," alone has key 0 after the first line, so the file
    // keeps its order. 100000 delimiters are 98 malformed pieces across the read-ahead block.
    std::string content = std::string("3,\"a\"\n4,\0\"hidden\"\n", 18);
    content += std::string(100000, ',') + "\n5,\"b\"\n";
    const Rows records = Load(content);
    EXPECT_EQ(FileErrors::GetBadFormatRecordCount(), 98);
    EXPECT_EQ(Rows(records.begin() + 98, records.end()),
              (Rows{"1:3,\"a\"", "2:4,", "101:5,\"b\""}));
}

// FileErrors: the lines that the CSV reader and the transfers report through, and the summary.
// Raw and bitmap records have no line (0): their problems are counted but not listed.
TEST_F(FileIoTest, ProblemsAreListedByLineAndSummedUpInTheLog) {
    testsupport::LoadConfiguration(
        dir.File("none.ini"),
        {{"StandardLog", "1"}, {"DbgErrorLog", "0"}, {"LogFilePath", dir.Path()}});
    StartLogging();
    FileErrors::Log(); // all counts zero: nothing to log
    testing::internal::CaptureStdout();
    FileErrors::AddBadDataRecord(12, 0);
    FileErrors::AddBadDataRecord(123456, 1);
    FileErrors::AddCanNotUpdateRecord(0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Line 12    - Some record fields have invalid values\n"
              "Line 123456 - Record field 1 has invalid value\n");
    FileErrors::Log();
    StopLogging(false);
    // One line after its 23-character time stamp; the counts that stayed zero are not logged.
    EXPECT_EQ(testsupport::ReadFile(dir.File("TAVO.log")).substr(23),
              " 3 record(s) rejected by ECR\n");
}

} // namespace
