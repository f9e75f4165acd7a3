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

// Process-wide: one current file and one current section.
class IniFile {
public:
    // Makes iniFilePath the current file. With checkIfExists, raises ConfigurationException
    // "INI-file '<path>' not found" (exit status 10) when nothing exists there; without, any
    // path is accepted and a missing file reads as empty.
    static void SetFile(const std::string& iniFilePath, bool checkIfExists);
    // Makes section current. With checkIfExists, raises ConfigurationException "INI-file
    // section [<section>] not found" (exit status 10) when the heading is missing or the file
    // cannot be read. Nothing in the program calls it.
    static void SetSection(const std::string& section, bool checkIfExists);
    // The current file's path; "" until SetFile.
    static std::string GetFile();
    // The current section; "" (the unnamed section) until SetSection.
    static std::string GetSection();

    // The value, "" for a key with an empty value; defValue when the file, the section or the
    // key is missing or the file is unreadable. Raises nothing.
    static std::string GetString(const std::string& section, const std::string& key,
                                 const std::string& defValue);
    // GetString in the current section. As no section is ever made current, this reads key
    // lines before the first heading only; the serial "ComSettings" lookup has always relied on
    // that, and an empty result leaves the port's settings unchanged.
    static std::string GetString(const std::string& key, const std::string& defValue);
    // The value as a decimal number by strtol rules (text without digits gives 0); defValue when
    // the file, the section or the key is missing. Nothing in the program calls them.
    static int GetNumber(const std::string& section, const std::string& key, int defValue);
    static int GetNumber(const std::string& key, int defValue);
    // True when the key has a non-empty value; a key with an empty value counts as absent.
    static bool ContainsKey(const std::string& section, const std::string& key);
    static bool ContainsKey(const std::string& key);
    // The configuration file is never written: this does nothing. Settings marked persistent
    // reach it, and the file must stay as its owner wrote it.
    static void SetString(const std::string& section, const std::string& key,
                          const std::string& value);

private:
    static std::string iniFile;
    static std::string section;
};
