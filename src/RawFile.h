// Raw files: records concatenated without header, trailer or separators. A record read is 64
// bytes (the last one may be shorter); a record written is exactly the bytes given.
#pragma once

#include <cstdio>

#include "FileIo.h"

class RawFileReader : public FileReader {
public:
    RawFileReader() = default;
    RawFileReader(const RawFileReader&) = delete;
    RawFileReader& operator=(const RawFileReader&) = delete;
    ~RawFileReader() override;

    FileType GetType() override { return FileType_RAW; }
    void Open(const std::string& filename) override;
    // bufferSize is not consulted: callers always pass at least 1024 bytes.
    int Read(int recordNumber, char* buffer, int bufferSize) override;
    void Close() override;

private:
    FILE* ioFile = nullptr;
};

class RawFileWriter : public FileWriter {
public:
    RawFileWriter() = default;
    RawFileWriter(const RawFileWriter&) = delete;
    RawFileWriter& operator=(const RawFileWriter&) = delete;
    ~RawFileWriter() override;

    FileType GetType() override { return FileType_RAW; }
    void Open(const std::string& filename) override;
    // Write errors are not reported: a transfer never stops for them.
    void Write(const char* data, int length) override;
    void Close() override;

protected:
    FILE* ioFile = nullptr;
};

// Raises FileIoException "Unable to open file '<filename>'" when fopen fails.
FILE* OpenDataFile(const std::string& filename, const char* mode);

const int rawRecordSize = 64;
