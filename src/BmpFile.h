// Monochrome bitmap files (logos): 1 bit per pixel, uncompressed, rows stored bottom-up.
// A record is one pixel row, top row first: ceil(width / 8) bytes, pixel x in bit x % 8 of
// byte x / 8 (leftmost pixel in the least significant bit), 1 for a dark pixel.
#pragma once

#include <cstdint>
#include <cstdio>
#include <vector>

#include "FileIo.h"
#include "RawFile.h"

struct BITMAPFILEHEADER {
    uint16_t bfType;
    uint32_t bfSize;
    uint16_t bfReserved1;
    uint16_t bfReserved2;
    uint32_t bfOffBits;
};

struct BITMAPINFOHEADER {
    uint32_t biSize;
    int32_t biWidth;
    int32_t biHeight;
    uint16_t biPlanes;
    uint16_t biBitCount;
    uint32_t biCompression;
    uint32_t biSizeImage;
    int32_t biXPelsPerMeter;
    int32_t biYPelsPerMeter;
    uint32_t biClrUsed;
    uint32_t biClrImportant;
};

// Reverses the order of the eight bits: the file keeps the leftmost pixel in the most
// significant bit, a record in the least significant one.
unsigned char SwapByte(unsigned char b);

class BmpFileReader : public FileReader {
public:
    FileType GetType() override { return FileType_BMP; }
    // Loads and converts the whole picture, then closes the file. Raises FileIoException
    // "Wrong bitmap file format" for anything but a 1-bit uncompressed single-plane bitmap and
    // "File '<name>' read error" when the pixel data is shorter than the headers promise.
    void Open(const std::string& filename) override;
    // Copies (min(bufferSize, width) + 7) / 8 bytes of row recordNumber: bufferSize is compared
    // with the width in pixels, so rows wider than bufferSize pixels are cut.
    int Read(int recordNumber, char* buffer, int bufferSize) override;
    void Close() override;

private:
    // Rows in record form, top row first, each (bitmapWidth + 7) / 8 bytes.
    std::vector<unsigned char> bitmapBytes;
    int bitmapHeight = 0;
    int bitmapWidth = 0;
};

class BmpFileWriter : public FileWriter {
public:
    BmpFileWriter() = default;
    BmpFileWriter(const BmpFileWriter&) = delete;
    BmpFileWriter& operator=(const BmpFileWriter&) = delete;
    // Completes the file like Close, without reporting errors.
    ~BmpFileWriter() override;

    FileType GetType() override { return FileType_BMP; }
    void Open(const std::string& filename) override;
    // Stores one row; every row must have the first row's length, otherwise SystemException
    // "Unconsequent line length".
    void Write(const char* data, int length) override;
    // Writes the headers, the palette (white, black) and the rows bottom-up, then flushes the
    // file to the disk and closes it. Without rows the file stays empty. Raises FileIoException
    // "File '<name>' write error" (exit status 13) when any of that fails.
    void Close() override;

private:
    void WritePicture();

    CheckedOutputFile ioFile;
    BITMAPFILEHEADER bitmapFileHeader{};
    BITMAPINFOHEADER bitmapInfoHeader{};
    std::vector<std::vector<unsigned char>> bitmapBody;
};
