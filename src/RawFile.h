// Raw files: records concatenated without header, trailer or separators. A record read is 64
// bytes (the last one may be shorter); a record written is exactly the bytes given.
#pragma once

#include <cstdio>
#include <string>

#include "FileIo.h"

// An output file whose every write is checked, the final flush to the disk and the close
// included, so that a full disk or a vanished device never passes for a complete file.
class CheckedOutputFile {
public:
    CheckedOutputFile() = default;
    CheckedOutputFile(const CheckedOutputFile&) = delete;
    CheckedOutputFile& operator=(const CheckedOutputFile&) = delete;
    // Closes quietly, as CloseQuietly does.
    ~CheckedOutputFile();

    // Creates or truncates the file for binary writing, closing any file held before. Raises
    // FileIoException "Unable to open file '<filename>'" (exit status 13).
    void Open(const std::string& filename);
    bool IsOpen() const { return m_file != nullptr; }
    // Appends size bytes. Raises FileIoException "File '<name>' write error" (exit status 13).
    void Write(const void* data, size_t size);
    // Flushes the buffered bytes, makes the device hold them (fsync, where the file supports
    // it) and closes the file. Raises FileIoException "File '<name>' write error"; the file is
    // closed either way. Does nothing when no file is open.
    void Close();
    // Closes without reporting errors: the way out of a transfer that already failed.
    void CloseQuietly();

private:
    [[noreturn]] void Fail(int errnoValue);

    FILE* m_file = nullptr;
    std::string m_name;
};

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
    ~RawFileWriter() override = default;

    FileType GetType() override { return FileType_RAW; }
    void Open(const std::string& filename) override;
    // Raises FileIoException "File '<name>' write error" (exit status 13) when the bytes
    // cannot be written.
    void Write(const char* data, int length) override;
    // Flushes the file to the disk and closes it; raises FileIoException "File '<name>' write
    // error" when any of that fails. The destructor closes without reporting.
    void Close() override;

protected:
    CheckedOutputFile ioFile;
};

// Opens an input file for binary reading. Raises FileIoException "Unable to open file
// '<filename>'" (exit status 13), after writing the cause to standard error, when fopen fails
// or the name is neither a regular file nor a character device (a directory, a pipe).
FILE* OpenInputFile(const std::string& filename);

// Raises what OpenInputFile raises for a name that it would refuse; returns for a file that
// opens. Used to refuse an input before anything irreversible happens.
void CheckInputFile(const std::string& filename);

const int rawRecordSize = 64;
