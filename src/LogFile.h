// One log file whose lines of the current run can be taken back when the run ends.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

class LogFile {
public:
    LogFile();
    ~LogFile(); // closes with save = true
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    // Opens for appending, creating the directory (one level) and the file when missing.
    void Open(const std::string& path);
    bool IsOpened() const;
    // Keeps what was written (save) or cuts the file back to its size at Open. An empty file
    // is deleted.
    void Close(bool save);
    // One line, flushed at once, with "dd.mm.yyyy hh:mm:ss.mmm " before it when addTime.
    void AddMessage(const std::string& message, bool addTime);

private:
    static std::string GetCurrentTime();

    FILE* m_file;
    std::string m_filePath;
    int32_t m_originalFileSize;
};
