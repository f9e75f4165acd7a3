// The settings store. Lookup order: command line (and values stored at run time), the ECR's
// INI section "ECR_" + name, the INI section "Common", the caller's default. An empty value at
// one level does not hide the next. Names compare exactly on the command line and without
// regard to case in the INI file. Process-wide static state, without locks. Only Initialize
// and GetConfigFilePath raise anything.
#pragma once

#include <map>
#include <string>

class AppConfig {
public:
    // Forgets every stored value and the ECR section; the INI file stays the one chosen.
    static void Clear();
    // Stores value under name ahead of the INI file, replacing any earlier value; an empty value
    // lets the lookup fall through to the INI file. persistent values would also go to the INI
    // file, which is never written, so they live until the process ends like the others.
    static void SetParameter(const std::string& name, const std::string& value, bool persistent);
    // The first non-empty value by the lookup order, else defValue. Values found only in the INI
    // file are read from it again on every call.
    static std::string GetParameter(const std::string& name, const std::string& defValue);
    static std::string GetParameter(const std::string& name, const char* defValue) {
        return GetParameter(name, std::string(defValue != nullptr ? defValue : ""));
    }
    // The value by strtol rules (base 10, overflow not detected); defValue only when absent or
    // empty. Text without leading digits gives 0, not defValue. A value that is not exactly a
    // whole number is reported once per setting and value on standard error ("<name>=<value>:
    // not a whole number; using <n>"), and the run goes on with <n>.
    static int GetParameter(const std::string& name, int defValue);
    // True when the setting has a non-empty value at some level; a setting given as empty
    // counts as absent.
    static bool HasParameter(const std::string& name);
    // Called once the command line is stored. Chooses the INI file (the command line's
    // "ConfigFilePath", else GetConfigFilePath(); it need not exist) and the ECR section ("ECR_"
    // + the command line's "ECR", else GetDefaultEcrName(); an "ECR" only in the INI file gives
    // the bare "ECR_", as it always has). Raises what GetConfigFilePath raises.
    static void Initialize();
    // "TAVO.ini" in the program's directory when a file exists there, else "/etc/tavo/TAVO.ini"
    // whether it exists or not. Raises SystemException "readlink() failed" (exit status 50).
    static std::string GetConfigFilePath();
    // "ECR_" + the "Common" key "DefaultECR" when set; otherwise the only section of the INI file
    // whose heading starts with "ECR_" (case-sensitive here, unlike lookups); "" when there is
    // none, more than one, or no readable file.
    static std::string GetDefaultEcrName();
    // The chosen ECR section ("ECR_" + name), or "" when none is; "" before Initialize.
    static std::string GetEcrSection() { return m_ecrSection; }

private:
    static std::map<std::string, std::string> m_parameters;
    static std::string m_ecrSection;
};

// "TAVO.ini": the configuration file's name in either directory.
extern const char iniFileName[];
// "Common": the section every ECR shares.
extern const char commonSection[];
// "ECR_": prefix of an ECR's own section name.
extern const char ecrSectionPrefix[];
