#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <unistd.h>
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

// A bitmap file with the given header fields; pixelData is stored as it is.
struct BitmapSpec {
    int32_t width = 8;
    int32_t height = 1;
    uint16_t planes = 1;
    uint16_t bitCount = 1;
    uint32_t compression = 0;
    uint32_t offBits = 62;
    std::string signature = "BM";
    std::string palette = std::string("\xff\xff\xff\x00\x00\x00\x00\x00", 8);
    std::string pixelData;

    std::string Build() const {
        std::string data(54, '\0');
        data[0] = signature[0];
        data[1] = signature[1];
        PutLittleEndian(data, 2, static_cast<uint32_t>(62 + pixelData.size()), 4);
        PutLittleEndian(data, 10, offBits, 4);
        PutLittleEndian(data, 14, 40, 4);
        PutLittleEndian(data, 18, static_cast<uint32_t>(width), 4);
        PutLittleEndian(data, 22, static_cast<uint32_t>(height), 4);
        PutLittleEndian(data, 26, planes, 2);
        PutLittleEndian(data, 28, bitCount, 2);
        PutLittleEndian(data, 30, compression, 4);
        return data + palette + pixelData;
    }
};

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
        const std::string path = dir.File("in.bmp");
        testsupport::WriteFile(path, content);
        return ReadRows(path);
    }

    // The message of the FileIoException that opening content raises; "" when none.
    std::string OpenFailure(const std::string& content) {
        const std::string path = dir.File("bad.bmp");
        testsupport::WriteFile(path, content);
        BmpFileReader reader;
        try {
            reader.Open(path);
        } catch (Exception* e) {
            const std::string message = e->GetDisplayMessage();
            EXPECT_EQ(e->GetReturnCode(), ReturnCode_FileIoError);
            delete e;
            return message;
        }
        return "";
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

TEST_F(BmpFileTest, WriterStoresRowsBottomUpWithPadding) {
    const std::string path = dir.File("logo.bmp");
    WriteRows(path, {"\x01\x02\x03", "\x80\x40\x20", std::string("\xff\x00\x0f", 3)});
    BitmapSpec expected;
    expected.width = 24;
    expected.height = 3;
    expected.pixelData = std::string("\xff\x00\xf0\x00\x01\x02\x04\x00\x80\x40\xc0\x00", 12);
    std::string content = expected.Build();
    PutLittleEndian(content, 34, 12, 4); // biSizeImage
    const std::string written = testsupport::ReadFile(path);
    EXPECT_EQ(written, content);
    EXPECT_EQ(written.size(), 74u);
}

TEST_F(BmpFileTest, WrittenRowsReadBackUnchanged) {
    Rows rows;
    for (int r = 0; r < 9; ++r) {
        std::string row(5, '\0');
        for (size_t k = 0; k < row.size(); ++k) {
            row[k] = static_cast<char>(r * 37 + static_cast<int>(k) * 101);
        }
        rows.push_back(row);
    }
    const std::string path = dir.File("round.bmp");
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
            EXPECT_EQ(e->GetReturnCode(), ReturnCode_SystemError);
            EXPECT_EQ(e->GetDisplayMessage(),
                      SystemException("Unconsequent line length").GetDisplayMessage());
            delete e;
        }
    }
    // The row accepted before is still written when the writer goes away.
    EXPECT_EQ(ReadRows(path), Rows{"\x01"});

    WriteRows(path, {});
    EXPECT_EQ(testsupport::ReadFile(path), "");
}

TEST_F(BmpFileTest, PaletteOrderAndFillBits) {
    // Ten pixels wide: pixels 0 and 9 dark in the top row, pixels 1 and 2 in the bottom row.
    BitmapSpec whiteFirst;
    whiteFirst.width = 10;
    whiteFirst.height = 2;
    whiteFirst.pixelData = std::string("\x60\x00\x00\x00\x80\x40\x00\x00", 8);
    EXPECT_EQ(ReadRowsOf(whiteFirst.Build()), (Rows{"\x01\xfe", "\x06\xfc"}));

    // The same picture with black first: the bits are inverted, and the fill bits with them.
    BitmapSpec blackFirst = whiteFirst;
    blackFirst.palette = std::string("\x00\x00\x00\x00\xff\xff\xff\x00", 8);
    blackFirst.pixelData = std::string("\x9f\xff\x00\x00\x7f\xbf\x00\x00", 8);
    EXPECT_EQ(ReadRowsOf(blackFirst.Build()), (Rows{"\x01\x02", std::string("\x06\x00", 2)}));

    // Only the third byte of each palette entry is compared.
    BitmapSpec redDarker = blackFirst;
    redDarker.palette = std::string("\xff\xff\x10\x00\x00\x00\x20\x00", 8);
    EXPECT_EQ(ReadRowsOf(redDarker.Build()), ReadRowsOf(blackFirst.Build()));
    BitmapSpec redLighter = whiteFirst;
    redLighter.palette = std::string("\x00\x00\x20\x00\xff\xff\x10\x00", 8);
    EXPECT_EQ(ReadRowsOf(redLighter.Build()), ReadRowsOf(whiteFirst.Build()));
}

TEST_F(BmpFileTest, UnsupportedOrDamagedFilesAreRefused) {
    const std::string wrongFormat = "Wrong bitmap file format";
    BitmapSpec fourBit;
    fourBit.bitCount = 4;
    EXPECT_EQ(OpenFailure(fourBit.Build()), wrongFormat);
    BitmapSpec rle;
    rle.compression = 1;
    EXPECT_EQ(OpenFailure(rle.Build()), wrongFormat);
    BitmapSpec planes;
    planes.planes = 2;
    EXPECT_EQ(OpenFailure(planes.Build()), wrongFormat);
    BitmapSpec signature;
    signature.signature = "MB";
    EXPECT_EQ(OpenFailure(signature.Build()), wrongFormat);
    BitmapSpec topDown;
    topDown.height = -1;
    EXPECT_EQ(OpenFailure(topDown.Build()), wrongFormat);
    EXPECT_EQ(OpenFailure("BM"), wrongFormat);
    EXPECT_EQ(OpenFailure(""), wrongFormat);

    // Headers that promise more pixel data than the file holds.
    const std::string readError = "File '" + dir.File("bad.bmp") + "' read error";
    BitmapSpec shortData;
    shortData.height = 3;
    shortData.pixelData = std::string(8, '\0');
    EXPECT_EQ(OpenFailure(shortData.Build()), readError);
    BitmapSpec huge;
    huge.width = 0x7fffffff;
    huge.height = 0x7fffffff;
    huge.pixelData = std::string(64, '\0');
    EXPECT_EQ(OpenFailure(huge.Build()), readError);
    BitmapSpec farOffset;
    farOffset.offBits = 0xfffffff0;
    farOffset.pixelData = std::string(4, '\0');
    EXPECT_EQ(OpenFailure(farOffset.Build()), readError);
    EXPECT_EQ(OpenFailure(BitmapSpec().Build().substr(0, 58)), readError); // short palette

    // An empty picture has no records, and no pixel data to be missing.
    BitmapSpec empty;
    empty.height = 0;
    EXPECT_TRUE(ReadRowsOf(empty.Build()).empty());
    EXPECT_TRUE(ReadRowsOf(empty.Build().substr(0, 56)).empty());
    BitmapSpec emptyFarOffset = empty;
    emptyFarOffset.offBits = 0x10000;
    EXPECT_EQ(OpenFailure(emptyFarOffset.Build()), "");
    BitmapSpec noWidth;
    noWidth.width = 0;
    noWidth.height = 0x7fffffff;
    EXPECT_TRUE(ReadRowsOf(noWidth.Build()).empty());
}

// The path of ImageMagick's convert, or "" when only something else answers to the name.
std::string FindImageMagickConvert() {
    const char* path = std::getenv("PATH");
    std::string directories = path != nullptr ? path : "/usr/bin";
    size_t start = 0;
    while (start <= directories.size()) {
        size_t end = directories.find(':', start);
        if (end == std::string::npos) {
            end = directories.size();
        }
        const std::string candidate = directories.substr(start, end - start) + "/convert";
        if (access(candidate.c_str(), X_OK) == 0) {
            const testsupport::RunResult version =
                testsupport::RunProcess(candidate, {"-version"}, 10000);
            const bool isImageMagick =
                version.exitStatus == 0 && version.output.find("Version: ImageMagick") == 0;
            return isImageMagick ? candidate : "";
        }
        start = end + 1;
    }
    return "";
}

TEST_F(BmpFileTest, ReadsBitmapsMadeByImageMagick) {
    const std::string convert = FindImageMagickConvert();
    if (convert.empty()) {
        GTEST_SKIP() << "ImageMagick's convert is not installed (apt-get install imagemagick)";
    }
    // A 37 x 5 pattern as a plain PBM, where 1 is a black pixel.
    const int width = 37;
    const int height = 5;
    std::string pbm = "P1\n" + std::to_string(width) + " " + std::to_string(height) + "\n";
    Rows expectedWhiteFirst(height, std::string((width + 7) / 8, '\0'));
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const bool dark = (x * 3 + y * 5) % 7 < 3;
            pbm += dark ? "1 " : "0 ";
            if (dark) {
                expectedWhiteFirst[y][x / 8] =
                    static_cast<char>(expectedWhiteFirst[y][x / 8] | (1 << (x % 8)));
            }
        }
        pbm += "\n";
    }
    // Fill bits arrive as 1 with a white-first palette and as 0 with a black-first one.
    Rows expectedBlackFirst = expectedWhiteFirst;
    for (std::string& row : expectedWhiteFirst) {
        row.back() = static_cast<char>(row.back() | (0xFF << (width % 8)));
    }
    const std::string source = dir.File("pattern.pbm");
    testsupport::WriteFile(source, pbm);

    // -monochrome writes black first; negating before and after gives the same picture with
    // white first.
    const std::string blackFirst = dir.File("black-first.bmp");
    const std::string whiteFirst = dir.File("white-first.bmp");
    ASSERT_EQ(
        testsupport::RunProcess(convert, {source, "-monochrome", "BMP3:" + blackFirst}).exitStatus,
        0);
    ASSERT_EQ(testsupport::RunProcess(
                  convert, {source, "-negate", "-monochrome", "-negate", "BMP3:" + whiteFirst})
                  .exitStatus,
              0);
    ASSERT_EQ(testsupport::ReadFile(blackFirst).substr(54, 3), std::string(3, '\0'));
    ASSERT_EQ(testsupport::ReadFile(whiteFirst).substr(54, 3), "\xff\xff\xff");

    EXPECT_EQ(ReadRows(blackFirst), expectedBlackFirst);
    EXPECT_EQ(ReadRows(whiteFirst), expectedWhiteFirst);
}

} // namespace
