#include "Tools.h"

#include <cctype>
#include <cstdarg>
#include <ctime>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>
#include <vector>

#include "Exceptions.h"
#include "Path.h"
#include "Wrapper/LinuxFunctionWrapper.h"

std::string GetAppDirectory() {
    static const std::string appDirectory = [] {
        std::vector<char> target(4096);
        const ssize_t length = readlink("/proc/self/exe", target.data(), target.size());
        if (length < 0) {
            throw new SystemException("readlink() failed");
        }
        return Path::GetDirectoryName(std::string(target.data(), static_cast<size_t>(length)));
    }();
    return appDirectory;
}

std::string GetLogDirectory() {
    return "/var/log/tavo/";
}

std::string GetConfigDirectory() {
    return "/etc/tavo/";
}

std::string TrimLeft(const std::string& s, const std::string& chars) {
    const size_t first = s.find_first_not_of(chars);
    return first == std::string::npos ? std::string() : s.substr(first);
}

std::string TrimRight(const std::string& s, const std::string& chars) {
    const size_t last = s.find_last_not_of(chars);
    return last == std::string::npos ? std::string() : s.substr(0, last + 1);
}

std::string Trim(const std::string& s, const std::string& chars) {
    return TrimLeft(TrimRight(s, chars), chars);
}

std::string Align(const std::string& s, int width, char fill) {
    if (width < 0) {
        THROW_INTERNAL_ERROR();
    }
    const size_t w = static_cast<size_t>(width);
    if (s.size() < w) {
        return std::string(w - s.size(), fill) + s;
    }
    return s.substr(s.size() - w);
}

std::string ToUpper(const std::string& s) {
    std::string result(s);
    for (char& c : result) {
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
    return result;
}

std::string ToLower(const std::string& s) {
    std::string result(s);
    for (char& c : result) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return result;
}

std::string Join(const std::string* items, int count, const std::string& separator) {
    std::string result;
    for (int i = 0; i < count; ++i) {
        result += items[i];
        result += separator;
    }
    // Position wraps around for an empty result and a non-empty separator: erase() throws.
    result.erase(result.size() - separator.size());
    return result;
}

std::string Format(const char* format, ...) {
    char buffer[1024];
    va_list args;
    va_start(args, format);
    va_list copy;
    va_copy(copy, args);
    const int length = vsprintf_s(buffer, sizeof(buffer), format, args);
    va_end(args);
    std::string result;
    if (length < 0) {
        va_end(copy);
        return result;
    }
    if (static_cast<size_t>(length) < sizeof(buffer)) {
        result.assign(buffer, static_cast<size_t>(length));
    } else {
        // Longer than the fixed buffer: format again into a buffer of the right size.
        std::vector<char> large(static_cast<size_t>(length) + 1);
        vsprintf_s(large.data(), large.size(), format, copy);
        result.assign(large.data(), static_cast<size_t>(length));
    }
    va_end(copy);
    return result;
}

bool File::Exists(const std::string& path) {
    struct stat info;
    return stat(path.c_str(), &info) == 0;
}

void File::ShareWithGroupOfDirectory(int fd, const std::string& directory) {
    struct stat info;
    if (stat(directory.empty() ? "." : directory.c_str(), &info) == 0 &&
        (info.st_mode & S_ISGID) != 0) {
        fchmod(fd, 0664);
    }
}

bool File::Delete(const std::string& path) {
    return std::remove(path.c_str()) == 0;
}

std::string File::Modified(const std::string& path) {
    struct stat info = {};
    stat(path.c_str(), &info);
    const time_t modified = info.st_mtime;
    char text[64];
    return ctime_r(&modified, text) ? std::string(text) : std::string();
}

bool Directory::Exists(const std::string& path) {
    struct stat info;
    return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool Directory::Create(const std::string& path) {
    return mkdir(path.c_str(), 0755) == 0;
}

void Sleep(int units) {
    const long long nanoseconds = static_cast<long long>(units) * 10000000LL;
    if (nanoseconds <= 0 || nanoseconds >= 1000000000LL) {
        return; // nanosleep refuses a nanoseconds field outside 0..999999999
    }
    struct timespec delay = {0, static_cast<long>(nanoseconds)};
    nanosleep(&delay, nullptr);
}

void GetLocalTime(tagSYSTEMTIME* time) {
    struct timeval now;
    gettimeofday(&now, nullptr);
    struct tm local;
    localtime_r(&now.tv_sec, &local);
    time->wYear = static_cast<uint16_t>(local.tm_year + 1900);
    time->wMonth = static_cast<uint16_t>(local.tm_mon + 1);
    time->wDayOfWeek = static_cast<uint16_t>(local.tm_wday + 1);
    time->wDay = static_cast<uint16_t>(local.tm_mday);
    time->wHour = static_cast<uint16_t>(local.tm_hour);
    time->wMinute = static_cast<uint16_t>(local.tm_min);
    time->wSecond = static_cast<uint16_t>(local.tm_sec);
    time->wMilliseconds = static_cast<uint16_t>(now.tv_usec / 1000);
}
