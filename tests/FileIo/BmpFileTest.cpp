#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "BmpFile.h"
#include "FileIo/Failure.h"
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

// Ten pixels wide: pixels 0 and 9 dark in the top row, pixels 1 and 2 in the bottom row. Fill
// bits (pixels 10 to 15) arrive as 1 with a white-first palette; with a black-first one the
// stored bits are inverted, and the fill bits with them.
const std::string picture = "P1\n10 2\n1 0 0 0 0 0 0 0 0 1\n0 1 1 0 0 0 0 0 0 0\n";
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

class BmpFileTest : public ::testing::Test {
protected:
    // The records of a file of that content, or the one line "<exit status> <message>" when it
    // cannot be read.
    Rows ReadRows(const std::string& content, int bufferSize = 1024) {
        testsupport::WriteFile(dir.File("in.bmp"), content);
        BmpFileReader reader;
        const std::string failure = Failure([&] { reader.Open(dir.File("in.bmp")); });
        if (!failure.empty()) {
            return {failure};
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

    // The file a writer makes of the rows.
    std::string Written(const Rows& rows) {
        BmpFileWriter writer;
        writer.Open(dir.File("out.bmp"));
        for (const std::string& row : rows) {
            writer.Write(row.data(), static_cast<int>(row.size()));
        }
        writer.Close();
        return testsupport::ReadFile(dir.File("out.bmp"));
    }

    testsupport::TempDir dir;
};

TEST_F(BmpFileTest, WriterKeepsRowsOfTheFirstLengthBottomUp) {
    EXPECT_EQ(Written({"\x01\x02\x03", "\x80\x40\x20", "\xff\x01\x0f"}),
              Bitmap(24, 3, std::string("\xff\x80\xf0\x00\x01\x02\x04\x00\x80\x40\xc0\x00", 12)));
    {
        BmpFileWriter writer;
        writer.Open(dir.File("logo.bmp"));
        writer.Write("\x55\x55", 2); // forgotten by the next Open
        writer.Open(dir.File("logo.bmp"));
        writer.Write("\x01", 1);
        EXPECT_EQ(Failure([&] { writer.Write("\x01\x02", 2); }),
                  "50 System error: Unconsequent line length");
        EXPECT_EQ(Failure([&] { writer.Write("\x01", -1); }), "99 Internal error");
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

TEST_F(BmpFileTest, PaletteDecidesWhichBitIsDark) {
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

TEST_F(BmpFileTest, UnsupportedOrDamagedFilesAreRefused) {
    const std::string valid = Bitmap(8, 1, std::string(4, '\0'));
    EXPECT_EQ(ReadRows(valid), Rows{std::string(1, '\0')});
    for (const std::string& content :
         {Patched(valid, 28, 4, 2), Patched(valid, 30, 1), Patched(valid, 26, 2, 2),
          Patched(valid, 0, 0x424d, 2), Patched(valid, 18, 0xffffffff),
          Patched(valid, 22, 0xffffffff), std::string("BM"), std::string()}) {
        EXPECT_EQ(ReadRows(content), Rows{"13 Wrong bitmap file format"});
    }
    // Headers that promise more pixel data than the file holds are a read error, and more than
    // memory can hold is refused before any is read.
    for (const std::string& content :
         {Patched(valid, 22, 3), Patched(valid, 10, 0xfffffff0), valid.substr(0, 58)}) {
        EXPECT_EQ(ReadRows(content), Rows{"13 File '" + dir.File("in.bmp") + "' read error"});
    }
    EXPECT_EQ(ReadRows(Patched(Patched(valid, 18, 0x7fffffff), 22, 0x7fffffff)),
              Rows{"50 System error: Not enough memory"});
    // An empty picture has no records, and no pixel data or palette to be missing.
    const std::string empty = Patched(valid, 22, 0);
    for (const std::string& content : {empty, empty.substr(0, 56), Patched(empty, 10, 0x10000),
                                       Patched(Patched(valid, 18, 0), 22, 0x7fffffff)}) {
        EXPECT_EQ(ReadRows(content), Rows{});
    }
}

TEST_F(BmpFileTest, ReadsBitmapsMadeByImageMagick) {
    // The bitmap convert makes of the picture with the options; "" when it fails.
    const auto convert = [this](const std::string& pbm, std::vector<std::string> options) {
        testsupport::WriteFile(dir.File("picture.pbm"), pbm);
        options.insert(options.begin(), {"-c", "convert \"$@\"", "-", dir.File("picture.pbm")});
        options.push_back("BMP3:" + dir.File("made.bmp"));
        const bool made = testsupport::RunProcess("/bin/sh", options).exitStatus == 0;
        return made ? testsupport::ReadFile(dir.File("made.bmp")) : "";
    };
    if (testsupport::RunProcess("/bin/sh", {"-c", "convert -version"})
            .output.find("Version: ImageMagick") != 0) {
        GTEST_SKIP() << "ImageMagick's convert is not installed (apt-get install imagemagick)";
    }
    // -monochrome writes black first; negating before and after gives the same picture with
    // white first.
    const std::string blackFirst = convert(picture, {"-monochrome"});
    const std::string whiteFirstFile = convert(picture, {"-negate", "-monochrome", "-negate"});
    ASSERT_EQ(blackFirst.substr(54, 3), std::string(3, '\0'));
    ASSERT_EQ(whiteFirstFile.substr(54, 3), "\xff\xff\xff");
    EXPECT_EQ(ReadRows(blackFirst), blackFirstRows);
    EXPECT_EQ(ReadRows(whiteFirstFile), whiteFirstRows);
}

} // namespace
