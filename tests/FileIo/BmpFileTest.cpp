#include <gtest/gtest.h>

#include <cstdint>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "BmpFile.h"
#include "Exceptions.h"
#include "TestSupport.h"

namespace {

using Rows = std::vector<std::string>;

void PutLittleEndian(std::string& data, size_t offset, uint32_t value, int width) {
    for (int i = 0; i < width; ++i) {
        data[offset + static_cast<size_t>(i)] = static_cast<char>(value >> (8 * i));
    }
}

const std::string whiteFirstPalette("\xff\xff\xff\x00\x00\x00\x00\x00", 8);

// A one-bit bitmap file; the pixel data is stored as it is.
std::string Bitmap(int32_t width, int32_t height, const std::string& pixelData,
                   const std::string& palette = whiteFirstPalette) {
    std::string data(54, '\0');
    PutLittleEndian(data, 0, 'B' + ('M' << 8), 2);
    PutLittleEndian(data, 2, static_cast<uint32_t>(62 + pixelData.size()), 4);
    PutLittleEndian(data, 10, 62, 4); // pixel data offset
    PutLittleEndian(data, 14, 40, 4); // header size
    PutLittleEndian(data, 18, static_cast<uint32_t>(width), 4);
    PutLittleEndian(data, 22, static_cast<uint32_t>(height), 4);
    PutLittleEndian(data, 26, 1, 2); // planes
    PutLittleEndian(data, 28, 1, 2); // bits a pixel
    return data + palette + pixelData;
}

class BmpFileTest : public ::testing::Test {
protected:
    Rows ReadRows(const std::string& path, int bufferSize = 1024) {
        BmpFileReader reader;
        reader.Open(path);
        Rows rows;
        std::vector<char> buffer(1024);
        for (int record = 0;; ++record) {
            const int length = reader.Read(record, buffer.data(), bufferSize);
            if (length == 0) {
                return rows;
            }
            rows.emplace_back(buffer.data(), static_cast<size_t>(length));
        }
    }

    Rows ReadRowsOf(const std::string& content) {
        testsupport::WriteFile(dir.File("in.bmp"), content);
        return ReadRows(dir.File("in.bmp"));
    }

    // The message of the FileIoException that opening content raises; "" when none.
    std::string OpenFailure(const std::string& content) {
        testsupport::WriteFile(dir.File("bad.bmp"), content);
        BmpFileReader reader;
        try {
            reader.Open(dir.File("bad.bmp"));
            return "";
        } catch (Exception* e) {
            const std::unique_ptr<Exception> owned(e);
            const bool memory = e->GetDisplayMessage() == "System error: Not enough memory";
            EXPECT_EQ(e->GetReturnCode(), memory ? ReturnCode_SystemError : ReturnCode_FileIoError);
            return e->GetDisplayMessage();
        }
    }

    void WriteRows(const std::string& path, const Rows& rows) {
        BmpFileWriter writer;
        writer.Open(path);
        for (const std::string& row : rows) {
            writer.Write(row.data(), static_cast<int>(row.size()));
        }
    }

    testsupport::TempDir dir;
};

TEST_F(BmpFileTest, WriterStoresRowsBottomUpAndTheyReadBack) {
    const std::string path = dir.File("logo.bmp");
    WriteRows(path, {"\x01\x02\x03", "\x80\x40\x20", std::string("\xff\x00\x0f", 3)});
    std::string content =
        Bitmap(24, 3, std::string("\xff\x00\xf0\x00\x01\x02\x04\x00\x80\x40\xc0\x00", 12));
    PutLittleEndian(content, 34, 12, 4); // biSizeImage
    EXPECT_EQ(testsupport::ReadFile(path), content);

    const Rows rows = {"\x12\x34\x56\x78\x9a", "\xbc\xde\xf0\x01\x23", "\x45\x67\x89\xab\xcd"};
    WriteRows(path, rows);
    EXPECT_EQ(ReadRows(path), rows);

    // Rows wider than the caller's buffer in pixels are cut: 1200 pixels arrive as 128 bytes.
    WriteRows(path, {std::string(150, '\x5a'), std::string(150, '\x5a')});
    EXPECT_EQ(ReadRows(path), Rows(2, std::string(128, '\x5a')));
    EXPECT_EQ(ReadRows(path, 12), Rows(2, std::string(2, '\x5a')));
}

TEST_F(BmpFileTest, WriterRefusesRowsOfAnotherLength) {
    const std::string path = dir.File("odd.bmp");
    {
        BmpFileWriter writer;
        writer.Open(path);
        writer.Write("\x01", 1);
        try {
            writer.Write("\x01\x02", 2);
            ADD_FAILURE() << "a longer row was accepted";
        } catch (Exception* e) {
            const std::unique_ptr<Exception> owned(e);
            EXPECT_EQ(e->GetReturnCode(), ReturnCode_SystemError);
            EXPECT_EQ(e->GetDisplayMessage(),
                      SystemException("Unconsequent line length").GetDisplayMessage());
        }
    }
    // The row accepted before is still written when the writer goes away.
    EXPECT_EQ(ReadRows(path), Rows{"\x01"});
    WriteRows(path, {});
    EXPECT_EQ(testsupport::ReadFile(path), "");
}

TEST_F(BmpFileTest, PaletteOrderAndFillBits) {
    // Ten pixels wide: pixels 0 and 9 dark in the top row, pixels 1 and 2 in the bottom row.
    const std::string whitePixels("\x60\x00\x00\x00\x80\x40\x00\x00", 8);
    const std::string blackPixels("\x9f\xff\x00\x00\x7f\xbf\x00\x00", 8);
    const Rows whiteRows = {"\x01\xfe", "\x06\xfc"};
    // With black first the bits are inverted, and the fill bits with them.
    const Rows blackRows = {"\x01\x02", std::string("\x06\x00", 2)};
    const std::string blackFirst("\x00\x00\x00\x00\xff\xff\xff\x00", 8);
    EXPECT_EQ(ReadRowsOf(Bitmap(10, 2, whitePixels)), whiteRows);
    EXPECT_EQ(ReadRowsOf(Bitmap(10, 2, blackPixels, blackFirst)), blackRows);
    // Only the third byte of each palette entry is compared.
    const std::string redDarker("\xff\xff\x10\x00\x00\x00\x20\x00", 8);
    const std::string redLighter("\x00\x00\x20\x00\xff\xff\x10\x00", 8);
    EXPECT_EQ(ReadRowsOf(Bitmap(10, 2, blackPixels, redDarker)), blackRows);
    EXPECT_EQ(ReadRowsOf(Bitmap(10, 2, whitePixels, redLighter)), whiteRows);
}

TEST_F(BmpFileTest, UnsupportedOrDamagedFilesAreRefused) {
    const std::string valid = Bitmap(8, 1, std::string(4, '\0'));
    struct Field {
        size_t offset;
        uint32_t value;
        int width;
    };
    auto patched = [&](std::vector<Field> fields) {
        std::string content = valid;
        for (const Field& field : fields) {
            PutLittleEndian(content, field.offset, field.value, field.width);
        }
        return content;
    };
    const std::string wrongFormat = "Wrong bitmap file format";
    const std::string readError = "File '" + dir.File("bad.bmp") + "' read error";
    const struct {
        std::string content;
        std::string failure;
    } cases[] = {
        {patched({{28, 4, 2}}), wrongFormat},          // four bits a pixel
        {patched({{30, 1, 4}}), wrongFormat},          // compressed
        {patched({{26, 2, 2}}), wrongFormat},          // two planes
        {patched({{0, 0x424d, 2}}), wrongFormat},      // "MB"
        {patched({{22, 0xffffffff, 4}}), wrongFormat}, // top-down
        {"BM", wrongFormat},
        {"", wrongFormat},
        // Headers that promise more pixel data or palette than the file holds.
        {patched({{22, 3, 4}}), readError},
        // Allocated before it is read: more than memory can hold is a lack of memory.
        {patched({{18, 0x7fffffff, 4}, {22, 0x7fffffff, 4}}), "System error: Not enough memory"},
        {patched({{10, 0xfffffff0, 4}}), readError},
        {valid.substr(0, 58), readError},
        // An empty picture has no records, and no pixel data to be missing.
        {patched({{22, 0, 4}}), ""},
        {patched({{22, 0, 4}}).substr(0, 56), ""},
        {patched({{22, 0, 4}, {10, 0x10000, 4}}), ""},
        {patched({{18, 0, 4}, {22, 0x7fffffff, 4}}), ""},
    };
    for (size_t i = 0; i < std::size(cases); ++i) {
        EXPECT_EQ(OpenFailure(cases[i].content), cases[i].failure) << "case " << i;
        if (cases[i].failure.empty()) {
            EXPECT_TRUE(ReadRowsOf(cases[i].content).empty()) << "case " << i;
        }
    }
    EXPECT_EQ(ReadRowsOf(valid), Rows{std::string(1, '\0')});
}

TEST_F(BmpFileTest, ReadsBitmapsMadeByImageMagick) {
    auto convert = [](std::vector<std::string> args) {
        args.insert(args.begin(), {"-c", "convert \"$@\"", "convert"});
        return testsupport::RunProcess("/bin/sh", args);
    };
    if (convert({"-version"}).output.find("Version: ImageMagick") != 0) {
        GTEST_SKIP() << "ImageMagick's convert is not installed (apt-get install imagemagick)";
    }
    // A 37 x 5 pattern as a plain PBM, where 1 is a black pixel.
    std::string pbm = "P1\n37 5\n";
    Rows expectedBlackFirst(5, std::string(5, '\0'));
    for (int y = 0; y < 5; ++y) {
        for (int x = 0; x < 37; ++x) {
            const bool dark = (x * 3 + y * 5) % 7 < 3;
            pbm += dark ? "1 " : "0 ";
            char& bits = expectedBlackFirst[y][x / 8];
            bits = static_cast<char>(bits | (dark << (x % 8)));
        }
    }
    // Fill bits (pixels 37 to 39) arrive as 0 with a black-first palette and as 1 with a
    // white-first one.
    Rows expectedWhiteFirst = expectedBlackFirst;
    for (std::string& row : expectedWhiteFirst) {
        row.back() = static_cast<char>(row.back() | 0xE0);
    }
    const std::string source = dir.File("pattern.pbm");
    testsupport::WriteFile(source, pbm);

    // -monochrome writes black first; negating before and after gives the same picture with
    // white first.
    const std::string blackFirst = dir.File("black-first.bmp");
    const std::string whiteFirst = dir.File("white-first.bmp");
    ASSERT_EQ(convert({source, "-monochrome", "BMP3:" + blackFirst}).exitStatus, 0);
    ASSERT_EQ(
        convert({source, "-negate", "-monochrome", "-negate", "BMP3:" + whiteFirst}).exitStatus, 0);
    ASSERT_EQ(testsupport::ReadFile(blackFirst).substr(54, 3), std::string(3, '\0'));
    ASSERT_EQ(testsupport::ReadFile(whiteFirst).substr(54, 3), "\xff\xff\xff");
    EXPECT_EQ(ReadRows(blackFirst), expectedBlackFirst);
    EXPECT_EQ(ReadRows(whiteFirst), expectedWhiteFirst);
}

} // namespace
