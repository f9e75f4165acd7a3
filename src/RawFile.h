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
    // No file open.
    CheckedOutputFile() = default;
    // Not copyable: it owns the open file.
    CheckedOutputFile(const CheckedOutputFile&) = delete;
    CheckedOutputFile& operator=(const CheckedOutputFile&) = delete;
    // Closes quietly, as CloseQuietly does.
    ~CheckedOutputFile();

    // Creates or truncates the file for binary writing, closing any file held before (quietly).
    // Raises FileIoException "Unable to open file '<filename>'" (exit status 13), the cause on
    // standard error.
    void Open(const std::string& filename);
    // True between a successful Open and Close (or a failed Write).
    bool IsOpen() const { return m_file != nullptr; }
    // Appends size bytes. Raises FileIoException "File '<name>' write error" (exit status 13),
    // the cause on standard error, and closes the file; InternalException (99) when no file is
    // open.
    void Write(const void* data, size_t size);
    // Flushes the buffered bytes, makes the device hold them (fsync, where the file supports
    // it) and closes the file. Raises FileIoException "File '<name>' write error" (exit status
    // 13), the cause on standard error; the file is closed either way. Does nothing when no file
    // is open.
    void Close();
    // Closes without reporting errors and without waiting for the disk: the way out of a
    // transfer that already failed. Does nothing when no file is open.
    void CloseQuietly();

private:
    [[noreturn]] void Fail(int errnoValue);

    FILE* m_file = nullptr;
    std::string m_name;
};

class RawFileReader : public FileReader {
public:
    // No file open.
    RawFileReader() = default;
    // Not copyable: it owns the open file.
    RawFileReader(const RawFileReader&) = delete;
    RawFileReader& operator=(const RawFileReader&) = delete;
    // Closes the file.
    ~RawFileReader() override;

    // Always FileType_RAW.
    FileType GetType() override { return FileType_RAW; }
    // Closes any earlier file and opens this one; raises what OpenInputFile raises.
    void Open(const std::string& filename) override;
    // Copies the 64 bytes of record recordNumber (fewer for the last one) and returns the
    // count; 0 past the end, for a negative number, or with no file open. bufferSize is not
    // consulted: callers always pass at least 1024 bytes.
    int Read(int recordNumber, char* buffer, int bufferSize) override;
    // Closes the file; safe to call when none is open.
    void Close() override;

private:
    FILE* ioFile = nullptr;
};

class RawFileWriter : public FileWriter {
public:
    // No file open.
    RawFileWriter() = default;
    // Not copyable: it owns the open file.
    RawFileWriter(const RawFileWriter&) = delete;
    RawFileWriter& operator=(const RawFileWriter&) = delete;
    // Closes without reporting errors and without waiting for the disk; Close is the checked way.
    ~RawFileWriter() override = default;

    // Always FileType_RAW.
    FileType GetType() override { return FileType_RAW; }
    // Creates or truncates the file; raises FileIoException "Unable to open file '<name>'"
    // (exit status 13), the cause on standard error.
    void Open(const std::string& filename) override;
    // Raises FileIoException "File '<name>' write error" (exit status 13) when the bytes
    // cannot be written; a length of 0 or below writes nothing.
    void Write(const char* data, int length) override;
    // Flushes the file to the disk and closes it; raises FileIoException "File '<name>' write
    // error" (exit status 13) when any of that fails. Does nothing when no file is open.
    void Close() override;

protected:
    CheckedOutputFile ioFile;
};

// Opens an input file for binary reading; the caller owns the stream (fclose). Raises
// FileIoException "Unable to open file '<filename>'" (exit status 13), the cause on standard
// error, when fopen fails or the name is neither a regular file nor a character device: records
// are read by number, so the input must hold still, which a directory or a pipe does not.
FILE* OpenInputFile(const std::string& filename);

// Raises what OpenInputFile raises for a name that it would refuse; returns for a file that
// opens. Used to refuse an input before anything irreversible happens.
void CheckInputFile(const std::string& filename);

// Bytes per record of a raw file, as read.
const int rawRecordSize = 64;
