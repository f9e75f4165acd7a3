#include "Wrapper/LinuxFunctionWrapper.h"

#include <algorithm>
#include <cstring>

char* strcpy_s(char* dest, size_t size, const char* src) {
    if (size == 0) {
        return nullptr;
    }
    const size_t length = std::min(size - 1, std::strlen(src));
    std::memcpy(dest, src, length);
    dest[length] = '\0';
    return dest;
}

int strncpy_s(char* dest, size_t size, const char* src, size_t count) {
    std::strncpy(dest, src, std::min(size, count));
    return 0;
}

int vsprintf_s(char* dest, size_t size, const char* format, va_list args) {
    return std::vsnprintf(dest, size, format, args);
}

int fopen_s(FILE** file, const char* path, const char* mode) {
    *file = std::fopen(path, mode);
    return 0;
}
