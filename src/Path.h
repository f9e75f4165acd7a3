// Path manipulation that accepts both slash and backslash as separators. Pure text functions:
// nothing here looks at the file system or throws.
#pragma once

#include <string>

class Path {
public:
    // The separator this system uses; Normalize and Combine write it.
    static constexpr char DirectorySeparatorChar = '/';
    // The other separator, accepted on input (paths written for other systems).
    static constexpr char AltDirectorySeparatorChar = '\\';

    // Every backslash replaced by a slash.
    static std::string Normalize(const std::string& p);
    // The text after the last '.', separators not considered (backslashes come back as
    // slashes); "" without a '.'.
    static std::string GetExtension(const std::string& p);
    // The text after the last separator of either kind; all of p without one.
    static std::string GetFileName(const std::string& p);
    // The text up to and including the last separator, as given; "" without one.
    static std::string GetDirectoryName(const std::string& p);
    // a, then '/' unless a ends in one, then b, both normalized; b unchanged when a is empty.
    static std::string Combine(const std::string& a, const std::string& b);
};
