#include "RawFile.h"

#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

#include "Console.h"
#include "Exceptions.h"

namespace {

[[noreturn]] void FailToOpen(const std::string& filename, const std::string& reason) {
    ReportCause(filename, reason);
    throw new FileIoException("Unable to open file '" + filename + "'");
}

[[noreturn]] void FailToOpen(const std::string& filename, int errnoValue) {
    FailToOpen(filename, std::strerror(errnoValue));
}

// Input is read by record number, so it must be a file that holds still: a regular file, or a
// character device such as /dev/stdin on a terminal. A directory opens for reading but fails
// later; a pipe would block the open until a writer came.
void RefuseUnreadableKind(const std::string& filename) {
    struct stat status;
    if (stat(filename.c_str(), &status) != 0 || S_ISREG(status.st_mode) ||
        S_ISCHR(status.st_mode)) {
        return;
    }
    if (S_ISDIR(status.st_mode)) {
        FailToOpen(filename, EISDIR);
    }
    FailToOpen(filename, "not a regular file");
}

// fsync is refused by files that have no disk behind them (pipes, terminals, /dev/null):
// for them there is nothing to wait for.
bool SyncFailed(FILE* file) {
    return fsync(fileno(file)) != 0 && errno != EINVAL && errno != ENOTSUP && errno != EROFS;
}

} // namespace

FILE* OpenInputFile(const std::string& filename) {
    RefuseUnreadableKind(filename);
    FILE* file = std::fopen(filename.c_str(), "rb");
    if (file == nullptr) {
        FailToOpen(filename, errno);
    }
    return file;
}

void CheckInputFile(const std::string& filename) {
    std::fclose(OpenInputFile(filename));
}

CheckedOutputFile::~CheckedOutputFile() {
    CloseQuietly();
}

void CheckedOutputFile::Open(const std::string& filename) {
    CloseQuietly();
    m_file = std::fopen(filename.c_str(), "wb");
    if (m_file == nullptr) {
        FailToOpen(filename, errno);
    }
    m_name = filename;
}

void CheckedOutputFile::Write(const void* data, size_t size) {
    if (m_file == nullptr) {
        THROW_INTERNAL_ERROR();
    }
    if (size > 0 && std::fwrite(data, 1, size, m_file) != size) {
        Fail(errno);
    }
}

void CheckedOutputFile::Close() {
    if (m_file == nullptr) {
        return;
    }
    FILE* file = m_file;
    m_file = nullptr;
    const bool written = std::fflush(file) == 0 && !std::ferror(file) && !SyncFailed(file);
    const int writeErrno = errno;
    const bool closed = std::fclose(file) == 0;
    if (!written || !closed) {
        Fail(written ? errno : writeErrno);
    }
}

void CheckedOutputFile::CloseQuietly() {
    if (m_file != nullptr) {
        std::fclose(m_file);
        m_file = nullptr;
    }
}

void CheckedOutputFile::Fail(int errnoValue) {
    CloseQuietly();
    ReportSystemCause(m_name, errnoValue);
    throw new FileIoException("File '" + m_name + "' write error");
}

RawFileReader::~RawFileReader() {
    RawFileReader::Close();
}

void RawFileReader::Open(const std::string& filename) {
    Close();
    ioFile = OpenInputFile(filename);
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

void RawFileWriter::Open(const std::string& filename) {
    ioFile.Open(filename);
}

void RawFileWriter::Write(const char* data, int length) {
    ioFile.Write(data, length > 0 ? static_cast<size_t>(length) : 0);
}

void RawFileWriter::Close() {
    ioFile.Close();
}
