// General helpers: fixed directories, strings, formatting, files, sleeping and local time.
// Nothing here throws unless its comment says so.
#pragma once

#include <cstdint>
#include <string>

// The directory of the running program, with a trailing '/'; found once and kept. Raises
// SystemException "readlink() failed" (exit status 50) when it cannot be found.
std::string GetAppDirectory();
// "/var/log/tavo/": the log directory when "LogFilePath" is not set.
std::string GetLogDirectory();
// "/etc/tavo/": where the configuration file is looked for after the program's directory.
std::string GetConfigDirectory();

// s without the leading, trailing, or both leading and trailing characters that occur in
// chars; "" when every character does.
std::string TrimLeft(const std::string& s, const std::string& chars);
std::string TrimRight(const std::string& s, const std::string& chars);
std::string Trim(const std::string& s, const std::string& chars);
// Right-aligns s in width characters; a longer s keeps only its last width characters.
// InternalException (exit status 99) for a negative width.
std::string Align(const std::string& s, int width, char fill);
// s with every byte converted by toupper or tolower in the C locale: ASCII letters only.
std::string ToUpper(const std::string& s);
std::string ToLower(const std::string& s);
// Every item followed by separator, with the final separator removed. With no items and a
// non-empty separator there is nothing to remove and std::out_of_range is thrown.
std::string Join(const std::string* items, int count, const std::string& separator);
// printf-style formatting into a new string of any length; "" when the format cannot be
// formatted.
std::string Format(const char* format, ...) __attribute__((format(printf, 1, 2)));

class File {
public:
    // True when anything (a directory too) exists at path.
    static bool Exists(const std::string& path);
    // Removes the file (or empty directory); false when that fails.
    static bool Delete(const std::string& path);
    // Last modification time in ctime() form, trailing newline included; the time 0 (1970, in
    // local time) for a path that does not exist.
    static std::string Modified(const std::string& path);
    // Makes a file this run has just created in a shared directory (one whose group is set
    // on new files, as the package sets up the log directory) writable by that group, so the
    // next user of the group can append to it; elsewhere the file keeps its mode.
    static void ShareWithGroupOfDirectory(int fd, const std::string& directory);
};

class Directory {
public:
    // True when path names a directory, symbolic links followed.
    static bool Exists(const std::string& path);
    // Creates one directory level (mode 0755); parents are not created. False when it fails,
    // also when the directory exists already; errno tells why.
    static bool Create(const std::string& path);
};

// Sleeps units x 10 ms. The whole delay goes into the nanoseconds field, so 100 units or more
// (a full second) are refused by nanosleep and do not pause at all, nor does 0 or below. That
// is kept, and with it the fact that the default pauses around closing the ECR link are none.
void Sleep(int units);

// A local time broken into its parts.
struct tagSYSTEMTIME {
    uint16_t wYear;         // four digits
    uint16_t wMonth;        // 1 = January ... 12 = December
    uint16_t wDayOfWeek;    // 1 = Sunday ... 7 = Saturday
    uint16_t wDay;          // 1 ... 31
    uint16_t wHour;         // 0 ... 23
    uint16_t wMinute;       // 0 ... 59
    uint16_t wSecond;       // 0 ... 60 (a leap second)
    uint16_t wMilliseconds; // 0 ... 999
};

// Fills *time with the current local time, to the millisecond. REQUIRES: time is not null.
void GetLocalTime(tagSYSTEMTIME* time);
