// The settings store. Lookup order: command line (and values stored at run time), the ECR's
// INI section "ECR_" + name, the INI section "Common", the caller's default. An empty value at
// one level does not hide the next.
#pragma once

#include <map>
#include <string>

class AppConfig {
public:
    static void Clear();
    // persistent values would go to the INI file, which is never written.
    static void SetParameter(const std::string& name, const std::string& value, bool persistent);
    static std::string GetParameter(const std::string& name, const std::string& defValue);
    static std::string GetParameter(const std::string& name, const char* defValue) {
        return GetParameter(name, std::string(defValue));
    }
    // strtol rules: text that is not a number gives 0, not defValue.
    static int GetParameter(const std::string& name, int defValue);
    // A setting given as empty counts as absent.
    static bool HasParameter(const std::string& name);
    // Chooses the INI file and the ECR section; called once the command line is stored.
    static void Initialize();
    static std::string GetConfigFilePath();
    static std::string GetDefaultEcrName();
    static std::string GetEcrSection() { return m_ecrSection; }

private:
    static std::map<std::string, std::string> m_parameters;
    static std::string m_ecrSection;
};

extern const char iniFileName[];
extern const char commonSection[];
extern const char ecrSectionPrefix[];
