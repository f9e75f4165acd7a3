#include "LogFile.h"

#include <cerrno>
#include <unistd.h>

#include "Console.h"
#include "Exceptions.h"
#include "Path.h"
#include "Tools.h"

namespace {

// A shop's account that may not write the log directory is the usual cause after installing.
std::string LogAccessHint(int errnoValue) {
    if (errnoValue != EACCES && errnoValue != EPERM) {
        return std::string();
    }
    return "add the user to group dialout, or set LogFilePath";
}

} // namespace

LogFile::LogFile() : m_file(nullptr), m_originalFileSize(0) {}

LogFile::~LogFile() {
    Close(true);
}

void LogFile::Open(const std::string& path) {
    if (m_file != nullptr) {
        THROW_INTERNAL_ERROR();
    }
    const std::string directory = Path::GetDirectoryName(path);
    if (!directory.empty() && !Directory::Exists(directory) && !Directory::Create(directory)) {
        ReportSystemCause(directory, errno);
        throw new SystemException("Log file directory create failed");
    }
    const bool created = !File::Exists(path);
    FILE* file = std::fopen(path.c_str(), "a");
    if (file == nullptr) {
        ReportSystemCause(path, errno, LogAccessHint(errno));
        throw new FileIoException("Can't open file '" + path + "'");
    }
    if (created) {
        File::ShareWithGroupOfDirectory(fileno(file), directory);
    }
    m_file = file;
    m_filePath = path;
    std::fseek(m_file, 0, SEEK_END);
    m_originalFileSize = static_cast<int32_t>(std::ftell(m_file));
}

bool LogFile::IsOpened() const {
    return m_file != nullptr;
}

void LogFile::Close(bool save) {
    if (m_file == nullptr) {
        return;
    }
    if (!save) {
        std::fflush(m_file);
        if (ftruncate64(fileno(m_file), m_originalFileSize) == 0) {
            std::fseek(m_file, m_originalFileSize, SEEK_SET);
        }
    }
    std::fseek(m_file, 0, SEEK_END);
    const long position = std::ftell(m_file);
    std::fclose(m_file);
    m_file = nullptr;
    if (position == 0) {
        File::Delete(m_filePath);
    }
}

void LogFile::AddMessage(const std::string& message, bool addTime) {
    if (m_file == nullptr) {
        THROW_INTERNAL_ERROR();
    }
    if (addTime) {
        std::fprintf(m_file, "%s ", GetCurrentTime().c_str());
    }
    std::fprintf(m_file, "%s\n", message.c_str());
    std::fflush(m_file);
}

std::string LogFile::GetCurrentTime() {
    tagSYSTEMTIME now;
    GetLocalTime(&now);
    return Format("%02d.%02d.%04d %02d:%02d:%02d.%03d", now.wDay, now.wMonth, now.wYear, now.wHour,
                  now.wMinute, now.wSecond, now.wMilliseconds);
}
