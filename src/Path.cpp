#include "Path.h"

#include <algorithm>

namespace {
const char separators[] = {Path::DirectorySeparatorChar, Path::AltDirectorySeparatorChar, '\0'};
}

std::string Path::Normalize(const std::string& p) {
    std::string result(p);
    std::replace(result.begin(), result.end(), AltDirectorySeparatorChar, DirectorySeparatorChar);
    return result;
}

std::string Path::GetExtension(const std::string& p) {
    const std::string normalized = Normalize(p);
    const size_t dot = normalized.rfind('.');
    return dot == std::string::npos ? std::string() : normalized.substr(dot + 1);
}

std::string Path::GetFileName(const std::string& p) {
    const size_t separator = p.find_last_of(separators);
    return separator == std::string::npos ? p : p.substr(separator + 1);
}

std::string Path::GetDirectoryName(const std::string& p) {
    const size_t separator = p.find_last_of(separators);
    return separator == std::string::npos ? std::string() : p.substr(0, separator + 1);
}

std::string Path::Combine(const std::string& a, const std::string& b) {
    if (a.empty()) {
        return b;
    }
    std::string result = Normalize(a);
    if (result.back() != DirectorySeparatorChar) {
        result += DirectorySeparatorChar;
    }
    return result + Normalize(b);
}
