#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "BmpFile.h"
#include "Exceptions.h"
#include "TestSupport.h"

namespace {

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

// A one-bit bitmap file with the pixel data as it is stored, bottom row first.
std::string Bitmap(int32_t width, int32_t height, const std::string& pixelData,
                   const std::string& palette = whiteFirst) {
    const uint32_t size = static_cast<uint32_t>(pixelData.size());
    return "BM" + Le(62 + size, 4) + Le(0, 4) + Le(62, 4) + Le(40, 4) + Le(width, 4) +
           Le(height, 4) + Le(1, 2) + Le(1, 2) + Le(0, 4) + Le(size, 4) + std::string(16, '\0') +
           palette + pixelData;
}

class BmpFileTest : public ::testing::Test {
protected:
    // The records of the file, or the one line "<exit status> <message>" when it cannot be read.
    Rows ReadRows(const std::string& path, int bufferSize = 1024) {
        BmpFileReader reader;
        try {
            reader.Open(path);
        } catch (Exception* e) {
            const std::unique_ptr<Exception> owned(e);
            return {std::to_string(e->GetReturnCode()) + " " + e->GetDisplayMessage()};
        }
        Rows rows;
        char buffer[1024];
        while (const int length = reader.Read(static_cast<int>(rows.size()), buffer, bufferSize)) {
            rows.emplace_back(buffer, static_cast<size_t>(length));
        }
        EXPECT_EQ(reader.Read(-1, buffer, bufferSize), 0);
        reader.Close();
        EXPECT_EQ(reader.Read(0, buffer, bufferSize), 0);
        return rows;
    }

    Rows ReadRowsOf(const std::string& content) {
        testsupport::WriteFile(dir.File("in.bmp"), content);
        return ReadRows(dir.File("in.bmp"));
    }

    void WriteRows(const std::string& path, const Rows& rows) {
        BmpFileWriter writer;
        writer.Open(path);
        for (const std::string& row : rows) {
            writer.Write(row.data(), static_cast<int>(row.size()));
        }
        writer.Close();
    }

    testsupport::TempDir dir;
};

TEST_F(BmpFileTest, WriterKeepsRowsOfTheFirstLengthBottomUp) {
    const std::string path = dir.File("logo.bmp");
    {
        BmpFileWriter writer;
        writer.Open(path);
        writer.Write("\x55\x55\x55\x55", 4); // forgotten by the next Open
        writer.Open(path);
        for (const char* row : {"\x01\x02\x03", "\x80\x40\x20", "\xff\x01\x0f"}) {
            writer.Write(row, 3);
        }
        try {
            writer.Write("\x01\x02", 2);
            ADD_FAILURE() << "a shorter row was accepted";
        } catch (Exception* e) {
            EXPECT_EQ(e->GetReturnCode(), ReturnCode_SystemError);
            EXPECT_EQ(e->GetDisplayMessage(), "System error: Unconsequent line length");
            delete e;
        }
    } // the rows accepted before are still written when the writer goes away
    EXPECT_EQ(testsupport::ReadFile(path),
              Bitmap(24, 3, std::string("\xff\x80\xf0\x00\x01\x02\x04\x00\x80\x40\xc0\x00", 12)));

    const Rows rows = {"\x12\x34\x56\x78\x9a", "\xbc\xde\xf0\x01\x23", "\x45\x67\x89\xab\xcd"};
    WriteRows(path, rows);
    EXPECT_EQ(ReadRows(path), rows);
    // Rows wider than the caller's buffer in pixels are cut: 1200 pixels arrive as 128 bytes.
    WriteRows(path, {std::string(150, '\x5a'), std::string(150, '\x5a')});
    EXPECT_EQ(ReadRows(path), Rows(2, std::string(128, '\x5a')));
    EXPECT_EQ(ReadRows(path, 12), Rows(2, std::string(2, '\x5a')));
    // Without a pixel the file stays empty.
    WriteRows(path, {"", ""});
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
    // The valid file with the field at offset replaced by value, in width bytes.
    const auto patched = [&valid](size_t offset, uint32_t value, int width) {
        return std::string(valid).replace(offset, static_cast<size_t>(width), Le(value, width));
    };
    const std::string empty = patched(22, 0, 4);
    const Rows wrongFormat = {"13 Wrong bitmap file format"};
    const Rows readError = {"13 File '" + dir.File("in.bmp") + "' read error"};
    // Headers that promise more pixel data or palette than the file holds are a read error,
    // and more than memory can hold is refused before any is read. An empty picture has no
    // records, and no pixel data to be missing.
    const std::pair<std::string, Rows> cases[] = {
        {valid, {std::string(1, '\0')}},
        {patched(28, 4, 2), wrongFormat},
        {patched(30, 1, 4), wrongFormat},
        {patched(26, 2, 2), wrongFormat},
        {patched(0, 0x424d, 2), wrongFormat},
        {patched(18, 0xffffffff, 4), wrongFormat},
        {patched(22, 0xffffffff, 4), wrongFormat},
        {"BM", wrongFormat},
        {"", wrongFormat},
        {patched(22, 3, 4), readError},
        {patched(10, 0xfffffff0, 4), readError},
        {valid.substr(0, 58), readError},
        {patched(18, 0x7fffffff, 4).replace(22, 4, Le(0x7fffffff, 4)),
         {"50 System error: Not enough memory"}},
        {empty, {}},
        {empty.substr(0, 56), {}},
        {std::string(empty).replace(10, 4, Le(0x10000, 4)), {}},
        {patched(18, 0, 4).replace(22, 4, Le(0x7fffffff, 4)), {}},
    };
    for (size_t i = 0; i < std::size(cases); ++i) {
        EXPECT_EQ(ReadRowsOf(cases[i].first), cases[i].second) << "case " << i;
    }
}

TEST_F(BmpFileTest, ReadsBitmapsMadeByImageMagick) {
    auto convert = [](std::vector<std::string> args) {
        args.insert(args.begin(), {"-c", "convert \"$@\"", "convert"});
        return testsupport::RunProcess("/bin/sh", args);
    };
    if (convert({"-version"}).output.find("Version: ImageMagick") != 0) {
        GTEST_SKIP() << "ImageMagick's convert is not installed (apt-get install imagemagick)";
    }
    // A 37 x 5 pattern as a plain PBM, where 1 is a black pixel. Fill bits (pixels 37 to 39)
    // arrive as 0 with a black-first palette and as 1 with a white-first one.
    std::string pbm = "P1\n37 5\n";
    Rows blackFirstRows(5, std::string(5, '\0'));
    Rows whiteFirstRows(5, std::string(4, '\0') + "\xe0");
    for (int y = 0; y < 5; ++y) {
        for (int x = 0; x < 37; ++x) {
            const bool dark = (x * 3 + y * 5) % 7 < 3;
            pbm += dark ? "1 " : "0 ";
            blackFirstRows[y][x / 8] = static_cast<char>(blackFirstRows[y][x / 8] | dark << x % 8);
            whiteFirstRows[y][x / 8] = static_cast<char>(whiteFirstRows[y][x / 8] | dark << x % 8);
        }
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
    EXPECT_EQ(ReadRows(blackFirst), blackFirstRows);
    EXPECT_EQ(ReadRows(whiteFirst), whiteFirstRows);
}

} // namespace
