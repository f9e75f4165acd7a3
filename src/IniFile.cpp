#include "IniFile.h"

#include "Exceptions.h"
#include "IniReader.h"
#include "Tools.h"

std::string IniFile::iniFile;
std::string IniFile::section;

namespace {

// Looks the key up in a freshly opened reader; false when the file, section or key is missing.
bool LocateValue(const std::string& path, const std::string& section, const std::string& key,
                 std::string& value) {
    IniHandle* ini = ini_open(path);
    if (ini == nullptr) {
        return false;
    }
    const bool found = ini_locateHeading(ini, section) && ini_locateKey(ini, key);
    if (found) {
        value = ini_readString(ini);
    }
    ini_close(ini);
    return found;
}

} // namespace

void IniFile::SetFile(const std::string& iniFilePath, bool checkIfExists) {
    if (checkIfExists && !File::Exists(iniFilePath)) {
        throw new ConfigurationException("INI-file '" + iniFilePath + "' not found");
    }
    iniFile = iniFilePath;
}

void IniFile::SetSection(const std::string& sectionName, bool checkIfExists) {
    if (checkIfExists) {
        IniHandle* ini = ini_open(iniFile);
        const bool found = ini != nullptr && ini_locateHeading(ini, sectionName);
        if (ini != nullptr) {
            ini_close(ini);
        }
        if (!found) {
            throw new ConfigurationException("INI-file section [" + sectionName + "] not found");
        }
    }
    section = sectionName;
}

std::string IniFile::GetFile() {
    return iniFile;
}

std::string IniFile::GetSection() {
    return section;
}

std::string IniFile::GetString(const std::string& sectionName, const std::string& key,
                               const std::string& defValue) {
    std::string value;
    return LocateValue(iniFile, sectionName, key, value) ? value : defValue;
}

std::string IniFile::GetString(const std::string& key, const std::string& defValue) {
    return GetString(section, key, defValue);
}

int IniFile::GetNumber(const std::string& sectionName, const std::string& key, int defValue) {
    std::string value;
    if (!LocateValue(iniFile, sectionName, key, value)) {
        return defValue;
    }
    return static_cast<int>(std::strtol(value.c_str(), nullptr, 10));
}

int IniFile::GetNumber(const std::string& key, int defValue) {
    return GetNumber(section, key, defValue);
}

bool IniFile::ContainsKey(const std::string& sectionName, const std::string& key) {
    return !GetString(sectionName, key, "").empty();
}

bool IniFile::ContainsKey(const std::string& key) {
    return ContainsKey(section, key);
}

void IniFile::SetString(const std::string&, const std::string&, const std::string&) {}
