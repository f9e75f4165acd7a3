#include "BmpFile.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>
#include <unistd.h>

#include "Console.h"
#include "Exceptions.h"
#include "RawFile.h"

namespace {

const uint16_t bitmapSignature = 0x4D42; // "BM"
const int fileHeaderSize = 14;
const int infoHeaderSize = 40;
const int paletteSize = 8;
const int pixelDataOffset = fileHeaderSize + infoHeaderSize + paletteSize;
// Entry 0 white, entry 1 black: a set bit is a dark pixel.
const unsigned char writtenPalette[paletteSize] = {255, 255, 255, 0, 0, 0, 0, 0};
// Only the third byte of each palette entry is compared on reading.
const int paletteCompareByte = 2;

uint16_t GetU16(const unsigned char* p) {
    return static_cast<uint16_t>(p[0] | (p[1] << 8));
}

uint32_t GetU32(const unsigned char* p) {
    return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) |
           (static_cast<uint32_t>(p[2]) << 16) | (static_cast<uint32_t>(p[3]) << 24);
}

void PutU16(unsigned char* p, uint32_t value) {
    p[0] = static_cast<unsigned char>(value);
    p[1] = static_cast<unsigned char>(value >> 8);
}

void PutU32(unsigned char* p, uint32_t value) {
    PutU16(p, value);
    PutU16(p + 2, value >> 16);
}

void DecodeHeaders(const unsigned char* data, BITMAPFILEHEADER& file, BITMAPINFOHEADER& info) {
    file.bfType = GetU16(data);
    file.bfSize = GetU32(data + 2);
    file.bfReserved1 = GetU16(data + 6);
    file.bfReserved2 = GetU16(data + 8);
    file.bfOffBits = GetU32(data + 10);
    const unsigned char* p = data + fileHeaderSize;
    info.biSize = GetU32(p);
    info.biWidth = static_cast<int32_t>(GetU32(p + 4));
    info.biHeight = static_cast<int32_t>(GetU32(p + 8));
    info.biPlanes = GetU16(p + 12);
    info.biBitCount = GetU16(p + 14);
    info.biCompression = GetU32(p + 16);
    info.biSizeImage = GetU32(p + 20);
    info.biXPelsPerMeter = static_cast<int32_t>(GetU32(p + 24));
    info.biYPelsPerMeter = static_cast<int32_t>(GetU32(p + 28));
    info.biClrUsed = GetU32(p + 32);
    info.biClrImportant = GetU32(p + 36);
}

void EncodeHeaders(const BITMAPFILEHEADER& file, const BITMAPINFOHEADER& info,
                   unsigned char* data) {
    PutU16(data, file.bfType);
    PutU32(data + 2, file.bfSize);
    PutU16(data + 6, file.bfReserved1);
    PutU16(data + 8, file.bfReserved2);
    PutU32(data + 10, file.bfOffBits);
    unsigned char* p = data + fileHeaderSize;
    PutU32(p, info.biSize);
    PutU32(p + 4, static_cast<uint32_t>(info.biWidth));
    PutU32(p + 8, static_cast<uint32_t>(info.biHeight));
    PutU16(p + 12, info.biPlanes);
    PutU16(p + 14, info.biBitCount);
    PutU32(p + 16, info.biCompression);
    PutU32(p + 20, info.biSizeImage);
    PutU32(p + 24, static_cast<uint32_t>(info.biXPelsPerMeter));
    PutU32(p + 28, static_cast<uint32_t>(info.biYPelsPerMeter));
    PutU32(p + 32, info.biClrUsed);
    PutU32(p + 36, info.biClrImportant);
}

// Closes the file on every way out of BmpFileReader::Open.
class FileCloser {
public:
    explicit FileCloser(FILE* file) : m_file(file) {}
    ~FileCloser() { std::fclose(m_file); }
    FileCloser(const FileCloser&) = delete;
    FileCloser& operator=(const FileCloser&) = delete;

private:
    FILE* m_file;
};

std::vector<unsigned char> AllocateBytes(int64_t count) {
    try {
        return std::vector<unsigned char>(static_cast<size_t>(count));
    } catch (const std::bad_alloc&) {
        throw new SystemException("Not enough memory");
    } catch (const std::length_error&) {
        throw new SystemException("Not enough memory");
    }
}

// Raises SystemException "Not enough memory" (exit status 50) when count bytes cannot be had.
// More than the machine has is refused without asking the allocator.
std::unique_ptr<unsigned char[]> AllocateUninitialised(int64_t count) {
    const uint64_t machineBytes = static_cast<uint64_t>(sysconf(_SC_PHYS_PAGES)) *
                                  static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
    if (static_cast<uint64_t>(count) > machineBytes) {
        throw new SystemException("Not enough memory");
    }
    std::unique_ptr<unsigned char[]> bytes(
        new (std::nothrow) unsigned char[static_cast<size_t>(count)]);
    if (bytes == nullptr) {
        throw new SystemException("Not enough memory");
    }
    return bytes;
}

} // namespace

unsigned char SwapByte(unsigned char b) {
    b = static_cast<unsigned char>((b & 0xF0) >> 4 | (b & 0x0F) << 4);
    b = static_cast<unsigned char>((b & 0xCC) >> 2 | (b & 0x33) << 2);
    b = static_cast<unsigned char>((b & 0xAA) >> 1 | (b & 0x55) << 1);
    return b;
}

namespace {

// Reads both headers; raises FileIoException "Wrong bitmap file format" for anything but a
// 1-bit, uncompressed, single-plane, bottom-up picture.
void ReadHeaders(FILE* file, BITMAPFILEHEADER& fileHeader, BITMAPINFOHEADER& infoHeader) {
    unsigned char headers[fileHeaderSize + infoHeaderSize];
    const bool complete = std::fread(headers, 1, sizeof(headers), file) == sizeof(headers);
    if (complete) {
        DecodeHeaders(headers, fileHeader, infoHeader);
    }
    // Top-down pictures (negative height) are not supported either.
    if (!complete || fileHeader.bfType != bitmapSignature || infoHeader.biPlanes != 1 ||
        infoHeader.biBitCount != 1 || infoHeader.biCompression != 0 || infoHeader.biWidth < 0 ||
        infoHeader.biHeight < 0) {
        throw new FileIoException("Wrong bitmap file format");
    }
}

// Whether the file's bits must be inverted to make 1 a dark pixel: entry 0 of the palette is
// the darker colour. Bytes missing from a truncated file count as zero: only pixel data that
// is short makes the file unreadable.
bool PaletteIsInverted(FILE* file) {
    unsigned char palette[paletteSize];
    const size_t paletteRead = std::fread(palette, 1, sizeof(palette), file);
    std::fill(palette + paletteRead, palette + paletteSize, 0);
    return palette[paletteCompareByte] < palette[4 + paletteCompareByte];
}

// Allocated before reading, and left uninitialised: a header that promises more than the file
// holds costs no memory that is touched, and fails as a short read.
std::unique_ptr<unsigned char[]> ReadPixelData(FILE* file, const std::string& filename,
                                               uint32_t offset, int64_t size) {
    std::unique_ptr<unsigned char[]> pixelData = AllocateUninitialised(size);
    if (std::fseek(file, static_cast<long>(offset), SEEK_SET) != 0 ||
        std::fread(pixelData.get(), 1, static_cast<size_t>(size), file) !=
            static_cast<size_t>(size)) {
        ReportCause(filename, "the file is shorter than its bitmap header says");
        throw new FileIoException("File '" + filename + "' read error");
    }
    return pixelData;
}

// Turns one stored row into record form: leftmost pixel in the lowest bit, 1 dark.
void ToRecordRow(const unsigned char* fileRow, int64_t rowSize, int width, bool invert,
                 unsigned char* recordRow) {
    const int unusedBits = width % 8;
    for (int64_t k = 0; k < rowSize; ++k) {
        unsigned char value = fileRow[k];
        // The fill bits are set before the inversion, so they end as 1 with a white-first
        // palette and as 0 with a black-first one. The ECR has always received them so.
        if (k == rowSize - 1 && unusedBits != 0) {
            value = static_cast<unsigned char>(value | (0xFF >> unusedBits));
        }
        value = SwapByte(value);
        if (invert) {
            value = static_cast<unsigned char>(~value);
        }
        recordRow[k] = value;
    }
}

} // namespace

void BmpFileReader::Open(const std::string& filename) {
    FILE* file = OpenInputFile(filename);
    FileCloser closer(file);
    BITMAPFILEHEADER fileHeader{};
    BITMAPINFOHEADER infoHeader{};
    ReadHeaders(file, fileHeader, infoHeader);
    const bool invert = PaletteIsInverted(file);

    const int height = infoHeader.biHeight;
    const int width = infoHeader.biWidth;
    const int64_t rowSize = (static_cast<int64_t>(width) + 7) / 8;
    const int64_t stride = (rowSize + 3) / 4 * 4;
    // A picture without pixel data reads nothing, wherever its data offset points.
    std::unique_ptr<unsigned char[]> pixelData;
    if (stride * height > 0) {
        pixelData = ReadPixelData(file, filename, fileHeader.bfOffBits, stride * height);
    }

    bitmapBytes.clear();
    bitmapBytes.shrink_to_fit();
    bitmapBytes = AllocateBytes(rowSize * height);
    bitmapHeight = height;
    bitmapWidth = width;
    // A picture without columns has nothing to convert, however many rows it claims.
    const int64_t rowsToConvert = rowSize > 0 ? height : 0;
    for (int64_t row = 0; row < rowsToConvert; ++row) {
        // The last row of the picture is stored first.
        ToRecordRow(pixelData.get() + (height - 1 - row) * stride, rowSize, width, invert,
                    bitmapBytes.data() + row * rowSize);
    }
}

int BmpFileReader::Read(int recordNumber, char* buffer, int bufferSize) {
    if (bitmapBytes.empty() || recordNumber < 0 || recordNumber >= bitmapHeight || bufferSize < 0) {
        return 0;
    }
    const int64_t rowSize = (static_cast<int64_t>(bitmapWidth) + 7) / 8;
    const int count = static_cast<int>((std::min(bufferSize, bitmapWidth) + 7LL) / 8);
    std::memcpy(buffer, bitmapBytes.data() + recordNumber * rowSize, static_cast<size_t>(count));
    return count;
}

void BmpFileReader::Close() {
    bitmapBytes.clear();
    bitmapBytes.shrink_to_fit();
    bitmapHeight = 0;
    bitmapWidth = 0;
}

BmpFileWriter::~BmpFileWriter() {
    // The rows accepted so far are kept even when the transfer failed; errors can no longer
    // be reported here.
    try {
        BmpFileWriter::Close();
    } catch (Exception* e) {
        delete e;
    }
}

void BmpFileWriter::Open(const std::string& filename) {
    ioFile.Open(filename);
    bitmapFileHeader = BITMAPFILEHEADER{};
    bitmapInfoHeader = BITMAPINFOHEADER{};
    bitmapBody.clear();
    bitmapFileHeader.bfType = bitmapSignature;
    bitmapInfoHeader.biSize = infoHeaderSize;
    bitmapInfoHeader.biPlanes = 1;
    bitmapInfoHeader.biBitCount = 1;
    bitmapInfoHeader.biCompression = 0;
}

void BmpFileWriter::Write(const char* data, int length) {
    const int64_t width = static_cast<int64_t>(length) * 8;
    if (length < 0 || width > INT32_MAX) {
        THROW_INTERNAL_ERROR();
    }
    if (bitmapBody.empty()) {
        bitmapInfoHeader.biWidth = static_cast<int32_t>(width);
    } else if (width != bitmapInfoHeader.biWidth) {
        throw new SystemException("Unconsequent line length");
    }
    bitmapBody.emplace_back(data, data + length);
}

void BmpFileWriter::Close() {
    if (!ioFile.IsOpen()) {
        return;
    }
    if (bitmapInfoHeader.biWidth != 0) {
        WritePicture();
    }
    ioFile.Close();
}

void BmpFileWriter::WritePicture() {
    const uint32_t stride = (static_cast<uint32_t>(bitmapInfoHeader.biWidth) + 31) / 32 * 4;
    bitmapInfoHeader.biHeight = static_cast<int32_t>(bitmapBody.size());
    bitmapInfoHeader.biSizeImage = static_cast<uint32_t>(bitmapBody.size()) * stride;
    bitmapFileHeader.bfOffBits = pixelDataOffset;
    bitmapFileHeader.bfSize = bitmapInfoHeader.biSizeImage + pixelDataOffset;

    unsigned char headers[fileHeaderSize + infoHeaderSize];
    EncodeHeaders(bitmapFileHeader, bitmapInfoHeader, headers);
    ioFile.Write(headers, sizeof(headers));
    ioFile.Write(writtenPalette, sizeof(writtenPalette));

    std::vector<unsigned char> fileRow(stride);
    for (auto row = bitmapBody.rbegin(); row != bitmapBody.rend(); ++row) {
        std::fill(fileRow.begin(), fileRow.end(), 0);
        std::transform(row->begin(), row->end(), fileRow.begin(), SwapByte);
        ioFile.Write(fileRow.data(), fileRow.size());
    }
}
