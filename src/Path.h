// Path manipulation that accepts both slash and backslash as separators.
#pragma once

#include <string>

class Path {
public:
    static constexpr char DirectorySeparatorChar = '/';
    static constexpr char AltDirectorySeparatorChar = '\\';

    // Every backslash replaced by a slash.
    static std::string Normalize(const std::string& p);
    // The text after the last '.', separators not considered; "" without a '.'.
    static std::string GetExtension(const std::string& p);
    // The text after the last separator of either kind; all of p without one.
    static std::string GetFileName(const std::string& p);
    // The text up to and including the last separator, as given; "" without one.
    static std::string GetDirectoryName(const std::string& p);
    // a and b joined by one '/', both normalized; b unchanged when a is empty.
    static std::string Combine(const std::string& a, const std::string& b);
};
