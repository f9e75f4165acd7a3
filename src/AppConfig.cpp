#include "AppConfig.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>

#include "Console.h"
#include "IniFile.h"
#include "Path.h"
#include "Tools.h"

const char iniFileName[] = "TAVO.ini";
const char commonSection[] = "Common";
const char ecrSectionPrefix[] = "ECR_";

std::map<std::string, std::string> AppConfig::m_parameters;
std::string AppConfig::m_ecrSection;

void AppConfig::Clear() {
    m_parameters.clear();
    m_ecrSection.clear();
}

void AppConfig::SetParameter(const std::string& name, const std::string& value, bool persistent) {
    m_parameters[name] = value;
    if (persistent) {
        IniFile::SetString(m_ecrSection.empty() ? commonSection : m_ecrSection, name, value);
    }
}

std::string AppConfig::GetParameter(const std::string& name, const std::string& defValue) {
    std::string value = m_parameters[name];
    if (value.empty() && !m_ecrSection.empty()) {
        value = IniFile::GetString(m_ecrSection, name, "");
    }
    if (value.empty()) {
        value = IniFile::GetString(commonSection, name, "");
    }
    return value.empty() ? defValue : value;
}

namespace {

// Tells once per setting and text when a number setting holds something that is not a whole
// number; its value is still what strtol makes of it (0 for text without digits).
void WarnIfNotWholeNumber(const std::string& name, const std::string& value, long number) {
    static std::set<std::string> warned;
    const char* end = value.c_str();
    std::strtol(value.c_str(), const_cast<char**>(&end), 10);
    const bool hasDigits = end != value.c_str();
    while (*end != '\0' && std::isspace(static_cast<unsigned char>(*end))) {
        ++end;
    }
    if ((hasDigits && *end == '\0') || !warned.insert(name + "=" + value).second) {
        return;
    }
    ReportCause(name + "=" + value, "not a whole number",
                Format("using %d", static_cast<int>(number)));
}

} // namespace

int AppConfig::GetParameter(const std::string& name, int defValue) {
    const std::string value = GetParameter(name, std::string());
    if (value.empty()) {
        return defValue;
    }
    const long number = std::strtol(value.c_str(), nullptr, 10);
    WarnIfNotWholeNumber(name, value, number);
    return static_cast<int>(number);
}

bool AppConfig::HasParameter(const std::string& name) {
    return !GetParameter(name, std::string()).empty();
}

void AppConfig::Initialize() {
    std::string configFilePath = m_parameters["ConfigFilePath"];
    if (configFilePath.empty()) {
        configFilePath = GetConfigFilePath();
    }
    IniFile::SetFile(configFilePath, false);
    if (HasParameter("ECR")) {
        // Taken from the command line only: an "ECR" found just in "Common" selects the bare
        // prefix as section name.
        m_ecrSection = ecrSectionPrefix + m_parameters["ECR"];
    }
    if (m_ecrSection.empty()) {
        m_ecrSection = GetDefaultEcrName();
    }
}

std::string AppConfig::GetConfigFilePath() {
    const std::string candidate = Path::Combine(GetAppDirectory(), iniFileName);
    if (File::Exists(candidate)) {
        return candidate;
    }
    return Path::Combine(GetConfigDirectory(), iniFileName);
}

std::string AppConfig::GetDefaultEcrName() {
    const std::string defaultEcr = IniFile::GetString(commonSection, "DefaultECR", "");
    if (!defaultEcr.empty()) {
        return ecrSectionPrefix + defaultEcr;
    }
    FILE* file = std::fopen(IniFile::GetFile().c_str(), "r");
    if (file == nullptr) {
        return "";
    }
    // The scan reads at most 255 characters at a time, so a longer line is seen in pieces.
    char buffer[256];
    int ecrSectionCount = 0;
    std::string ecrName;
    const size_t prefixLength = std::strlen(ecrSectionPrefix);
    while (std::fgets(buffer, sizeof(buffer), file) != nullptr) {
        const std::string line = Trim(buffer, " \t\r\n");
        if (line.size() < 2 || line.front() != '[' || line.back() != ']') {
            continue;
        }
        const std::string heading = line.substr(1, line.size() - 2);
        if (heading.compare(0, prefixLength, ecrSectionPrefix) == 0) {
            ecrName = heading.substr(prefixLength);
            ++ecrSectionCount;
        }
    }
    std::fclose(file);
    return ecrSectionCount == 1 ? ecrSectionPrefix + ecrName : "";
}
