// Read access to the configuration INI file. Every lookup opens, parses and closes the file,
// so an edit between two lookups is seen by the second.
//
// The dialect: "[name]" starts a section (a repeated heading continues the earlier one);
// "key = value" lines, both trimmed, the value cut to 255 characters before trimming; section
// and key names compare without regard to case; LF, CR and FF end lines, Ctrl-Z ends the file,
// and a NUL byte makes the whole file unreadable. Lines before the first heading belong to the
// unnamed section "". Lines without '=' carry no key.
#pragma once

#include <string>

class IniFile {
public:
    static void SetFile(const std::string& iniFilePath, bool checkIfExists);
    static void SetSection(const std::string& section, bool checkIfExists);
    static std::string GetFile();
    static std::string GetSection();

    // The value, "" for a key with an empty value; defValue when the file, the section or the
    // key is missing or the file is unreadable.
    static std::string GetString(const std::string& section, const std::string& key,
                                 const std::string& defValue);
    static std::string GetString(const std::string& key, const std::string& defValue);
    static int GetNumber(const std::string& section, const std::string& key, int defValue);
    static int GetNumber(const std::string& key, int defValue);
    static bool ContainsKey(const std::string& section, const std::string& key);
    static bool ContainsKey(const std::string& key);
    // The configuration file is never written: this does nothing.
    static void SetString(const std::string& section, const std::string& key,
                          const std::string& value);

private:
    static std::string iniFile;
    static std::string section;
};
