// General helpers: fixed directories, strings, formatting, files, sleeping and local time.
#pragma once

#include <cstdint>
#include <string>

std::string GetAppDirectory();
std::string GetLogDirectory();
std::string GetConfigDirectory();

std::string TrimLeft(const std::string& s, const std::string& chars);
std::string TrimRight(const std::string& s, const std::string& chars);
std::string Trim(const std::string& s, const std::string& chars);
// Right-aligns s in width characters; a longer s keeps only its last width characters.
std::string Align(const std::string& s, int width, char fill);
std::string ToUpper(const std::string& s);
std::string ToLower(const std::string& s);
// Every item followed by separator, with the final separator removed. With no items and a
// non-empty separator there is nothing to remove and std::out_of_range is thrown.
std::string Join(const std::string* items, int count, const std::string& separator);
// printf-style formatting into a new string of any length.
std::string Format(const char* format, ...) __attribute__((format(printf, 1, 2)));

class File {
public:
    static bool Exists(const std::string& path);
    static bool Delete(const std::string& path);
    // Last modification time in ctime() form, trailing newline included.
    static std::string Modified(const std::string& path);
};

class Directory {
public:
    static bool Exists(const std::string& path);
    // Creates one directory level (mode 0755); parents are not created.
    static bool Create(const std::string& path);
};

// Sleeps units x 10 ms. The whole delay goes into the nanoseconds field, so 100 units or more
// (a full second) are refused by nanosleep and do not pause at all; the pauses between ECR
// sessions rely on this.
void Sleep(int units);

struct tagSYSTEMTIME {
    uint16_t wYear;
    uint16_t wMonth;
    uint16_t wDayOfWeek; // 1 = Sunday ... 7 = Saturday
    uint16_t wDay;
    uint16_t wHour;
    uint16_t wMinute;
    uint16_t wSecond;
    uint16_t wMilliseconds;
};

void GetLocalTime(tagSYSTEMTIME* time);
