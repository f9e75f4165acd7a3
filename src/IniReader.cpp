#include "IniReader.h"

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <vector>

#include "Tools.h"

namespace {

const char lineEnds[] = "\n\r\f";
const char endOfFileMark = 26; // Ctrl-Z

struct CaseInsensitiveLess {
    bool operator()(const std::string& a, const std::string& b) const {
        return ToLower(a) < ToLower(b);
    }
};

using KeyMap = std::map<std::string, std::string, CaseInsensitiveLess>;

bool IsSpace(char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

std::string TrimSpace(const std::string& s) {
    size_t first = 0;
    size_t last = s.size();
    while (first < last && IsSpace(s[first])) {
        ++first;
    }
    while (last > first && IsSpace(s[last - 1])) {
        --last;
    }
    return s.substr(first, last - first);
}

// Reads the whole file; false when it cannot be read, holds a NUL byte before the Ctrl-Z end
// mark, or is too large for the reader's 32-bit position counter.
bool ReadContent(const std::string& path, std::string& content) {
    FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) {
        return false;
    }
    content.clear();
    std::vector<char> chunk(65536);
    size_t got;
    bool ok = true;
    while ((got = std::fread(chunk.data(), 1, chunk.size(), file)) > 0) {
        content.append(chunk.data(), got);
        if (content.size() > UINT32_MAX) {
            std::printf("INI file is too large\n");
            std::fflush(stdout);
            ok = false;
            break;
        }
    }
    if (std::ferror(file)) {
        ok = false;
    }
    std::fclose(file);
    if (!ok) {
        return false;
    }
    const size_t end = content.find(endOfFileMark);
    if (end != std::string::npos) {
        content.resize(end);
    }
    return content.find('\0') == std::string::npos;
}

} // namespace

struct IniHandle {
    std::map<std::string, KeyMap, CaseInsensitiveLess> sections;
    const KeyMap* currentSection = nullptr;
    const std::string* currentValue = nullptr;
};

namespace {

void ParseLine(IniHandle& ini, KeyMap*& section, const std::string& line) {
    const size_t first = line.find_first_not_of(" \t\v");
    if (first != std::string::npos && line[first] == '[') {
        const size_t close = line.find(']', first + 1);
        const size_t nameLength =
            close == std::string::npos ? std::string::npos : close - first - 1;
        section = &ini.sections[TrimSpace(line.substr(first + 1, nameLength))];
        return;
    }
    const size_t equals = line.find('=');
    if (equals == std::string::npos) {
        return; // neither heading nor key
    }
    const std::string key = TrimSpace(line.substr(0, equals));
    if (key.empty()) {
        return;
    }
    (*section)[key] = TrimSpace(line.substr(equals + 1, iniMaxValueLength));
}

} // namespace

IniHandle* ini_open(const std::string& path) {
    std::string content;
    if (!ReadContent(path, content)) {
        return nullptr;
    }
    IniHandle* ini = new IniHandle;
    KeyMap* section = &ini->sections[""];
    size_t start = 0;
    while (start <= content.size()) {
        size_t end = content.find_first_of(lineEnds, start);
        if (end == std::string::npos) {
            end = content.size();
        }
        ParseLine(*ini, section, content.substr(start, end - start));
        start = end + 1;
    }
    return ini;
}

bool ini_locateHeading(IniHandle* ini, const std::string& section) {
    const auto found = ini->sections.find(section);
    ini->currentSection = found == ini->sections.end() ? nullptr : &found->second;
    ini->currentValue = nullptr;
    return ini->currentSection != nullptr;
}

bool ini_locateKey(IniHandle* ini, const std::string& key) {
    ini->currentValue = nullptr;
    if (ini->currentSection == nullptr) {
        return false;
    }
    const auto found = ini->currentSection->find(key);
    if (found != ini->currentSection->end()) {
        ini->currentValue = &found->second;
    }
    return ini->currentValue != nullptr;
}

std::string ini_readString(IniHandle* ini) {
    return ini->currentValue == nullptr ? std::string() : *ini->currentValue;
}

int ini_readInt(IniHandle* ini) {
    return static_cast<int>(std::strtol(ini_readString(ini).c_str(), nullptr, 10));
}

void ini_close(IniHandle* ini) {
    delete ini;
}
