// Monochrome bitmap files (logos): 1 bit per pixel, uncompressed, rows stored bottom-up.
// A record is one pixel row, top row first: ceil(width / 8) bytes, pixel x in bit x % 8 of
// byte x / 8 (leftmost pixel in the least significant bit), 1 for a dark pixel.
#pragma once

#include <cstdint>
#include <cstdio>
#include <vector>

#include "FileIo.h"
#include "RawFile.h"

// The 14-byte file header, held in host order; the file stores it little-endian, unpadded.
struct BITMAPFILEHEADER {
    uint16_t bfType;      // "BM" (0x4D42)
    uint32_t bfSize;      // size of the whole file in bytes
    uint16_t bfReserved1; // 0
    uint16_t bfReserved2; // 0
    uint32_t bfOffBits;   // offset of the pixel data from the start of the file
};

// The 40-byte information header, held in host order; the file stores it little-endian.
struct BITMAPINFOHEADER {
    uint32_t biSize;         // 40
    int32_t biWidth;         // pixels per row; never negative here
    int32_t biHeight;        // rows; bottom-up, so never negative here
    uint16_t biPlanes;       // 1
    uint16_t biBitCount;     // 1
    uint32_t biCompression;  // 0: uncompressed
    uint32_t biSizeImage;    // bytes of pixel data, rows padded to 4 bytes
    int32_t biXPelsPerMeter; // not used; written as 0
    int32_t biYPelsPerMeter; // not used; written as 0
    uint32_t biClrUsed;      // not used; written as 0
    uint32_t biClrImportant; // not used; written as 0
};

// Reverses the order of the eight bits: the file keeps the leftmost pixel in the most
// significant bit, a record in the least significant one.
unsigned char SwapByte(unsigned char b);

// Reads the whole picture at Open and hands out its rows from memory.
class BmpFileReader : public FileReader {
public:
    // Always FileType_BMP.
    FileType GetType() override { return FileType_BMP; }
    // Loads and converts the whole picture, replacing any earlier one, and closes the file.
    // Raises FileIoException (exit status 13) as OpenInputFile does, "Wrong bitmap file format"
    // for anything but a bottom-up 1-bit uncompressed bitmap, "File '<name>' read error" for
    // short pixel data; SystemException "Not enough memory" (50) for a picture too large.
    void Open(const std::string& filename) override;
    // Copies (min(bufferSize, width) + 7) / 8 bytes of row recordNumber and returns that count;
    // 0 when no picture is loaded or there is no such row. bufferSize is compared with the width
    // in pixels, not bytes: with the usual 1024 rows up to 1024 pixels come whole and wider
    // rows are cut to 128 bytes, as the ECR has always been sent them.
    int Read(int recordNumber, char* buffer, int bufferSize) override;
    // Frees the picture; Read returns 0 until the next Open. No file is held open in between.
    void Close() override;

private:
    // Rows in record form, top row first, each (bitmapWidth + 7) / 8 bytes.
    std::vector<unsigned char> bitmapBytes;
    int bitmapHeight = 0;
    int bitmapWidth = 0;
};

// Collects the rows in memory and writes the picture at Close, when the height is known.
class BmpFileWriter : public FileWriter {
public:
    // A writer with no file open.
    BmpFileWriter() = default;
    // Not copyable: it owns the open file.
    BmpFileWriter(const BmpFileWriter&) = delete;
    BmpFileWriter& operator=(const BmpFileWriter&) = delete;
    // Completes the file like Close, without reporting errors: the rows accepted before a
    // failed transfer are still written as a picture.
    ~BmpFileWriter() override;

    // Always FileType_BMP.
    FileType GetType() override { return FileType_BMP; }
    // Creates or truncates the file and forgets any earlier rows. Raises FileIoException
    // "Unable to open file '<name>'" (exit status 13), the cause on standard error.
    void Open(const std::string& filename) override;
    // Stores a copy of one row of length bytes (length * 8 pixels); the first row fixes the
    // width. A row of another length raises SystemException "Unconsequent line length" (exit
    // status 50; the text is spelled so on purpose): the ECR sent rows of different lengths.
    // InternalException (exit status 99) for a negative length or a width beyond 32 bits.
    void Write(const char* data, int length) override;
    // Writes the headers, the palette (white, black) and the rows bottom-up, then flushes the
    // file to the disk and closes it. Without rows (or with empty rows only) the file stays
    // empty. Raises FileIoException "File '<name>' write error" (exit status 13) when any of that
    // fails; the file is closed either way. Does nothing when no file is open.
    void Close() override;

private:
    void WritePicture();

    CheckedOutputFile ioFile;
    BITMAPFILEHEADER bitmapFileHeader{};
    BITMAPINFOHEADER bitmapInfoHeader{};
    std::vector<std::vector<unsigned char>> bitmapBody;
};
