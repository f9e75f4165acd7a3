// One log file whose lines of the current run can be taken back when the run ends.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

class LogFile {
public:
    // A log with no file open.
    LogFile();
    ~LogFile(); // closes with save = true
    // Not copyable: it owns the open file.
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    // Opens for appending, creating the directory (one level) and the file when missing, and
    // remembers the file's size for Close. Raises SystemException "Log file directory create
    // failed" (exit status 50), FileIoException "Can't open file '<path>'" (exit status 13), each
    // with the cause on standard error, and InternalException (99) when a file is open already.
    void Open(const std::string& path);
    // True between a successful Open and Close.
    bool IsOpened() const;
    // Keeps what was written (save) or cuts the file back to its size at Open. An empty file
    // is deleted. Does nothing when no file is open; raises nothing.
    void Close(bool save);
    // One line, flushed at once, with "dd.mm.yyyy hh:mm:ss.mmm " before it when addTime. Write
    // errors are not reported. Raises InternalException (exit status 99) when no file is open:
    // that is how a run with the standard log switched off fails at its first log line, and it
    // is kept so.
    void AddMessage(const std::string& message, bool addTime);

private:
    static std::string GetCurrentTime();

    FILE* m_file;
    std::string m_filePath;
    int32_t m_originalFileSize;
};
