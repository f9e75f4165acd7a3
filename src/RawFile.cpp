#include "RawFile.h"

#include "Exceptions.h"

FILE* OpenDataFile(const std::string& filename, const char* mode) {
    FILE* file = std::fopen(filename.c_str(), mode);
    if (file == nullptr) {
        throw new FileIoException("Unable to open file '" + filename + "'");
    }
    return file;
}

RawFileReader::~RawFileReader() {
    Close();
}

void RawFileReader::Open(const std::string& filename) {
    Close();
    ioFile = OpenDataFile(filename, "rb");
}

int RawFileReader::Read(int recordNumber, char* buffer, int) {
    if (ioFile == nullptr || recordNumber < 0) {
        return 0;
    }
    const long offset = static_cast<long>(recordNumber) * rawRecordSize;
    if (std::fseek(ioFile, offset, SEEK_SET) != 0) {
        return 0;
    }
    return static_cast<int>(std::fread(buffer, 1, rawRecordSize, ioFile));
}

void RawFileReader::Close() {
    if (ioFile != nullptr) {
        std::fclose(ioFile);
        ioFile = nullptr;
    }
}

RawFileWriter::~RawFileWriter() {
    Close();
}

void RawFileWriter::Open(const std::string& filename) {
    Close();
    ioFile = OpenDataFile(filename, "wb");
}

void RawFileWriter::Write(const char* data, int length) {
    if (ioFile == nullptr) {
        THROW_INTERNAL_ERROR();
    }
    if (length > 0) {
        std::fwrite(data, 1, static_cast<size_t>(length), ioFile);
    }
}

void RawFileWriter::Close() {
    if (ioFile != nullptr) {
        std::fclose(ioFile);
        ioFile = nullptr;
    }
}
