#include "SectionStore.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

#include "DataConverter.h"
#include "Formatting/BinaryDataParser.h"

namespace {

const long long unnumberedBase = 1LL << 62;

std::string Problem(const std::string& what, const std::string& path) {
    return what + " " + path + ": " + std::strerror(errno);
}

void ReportUnsaved(const std::string& path) {
    std::fprintf(stderr, "ecrsim: cannot write %s: %s\n", path.c_str(), std::strerror(errno));
}

} // namespace

std::string SectionStore::PrepareDataDir(const std::string& dataDir) {
    if (dataDir.empty()) {
        return "";
    }
    // Each missing directory on the way, from the top down.
    for (size_t slash = dataDir.find('/', 1);; slash = dataDir.find('/', slash + 1)) {
        const std::string path = dataDir.substr(0, slash);
        if (mkdir(path.c_str(), 0777) != 0 && errno != EEXIST) {
            return Problem("cannot create the data directory", path);
        }
        if (slash == std::string::npos) {
            break;
        }
    }
    struct stat info;
    if (stat(dataDir.c_str(), &info) != 0) {
        return Problem("cannot use the data directory", dataDir);
    }
    if (!S_ISDIR(info.st_mode)) {
        errno = ENOTDIR;
        return Problem("cannot use the data directory", dataDir);
    }
    if (access(dataDir.c_str(), W_OK | X_OK) != 0) {
        return Problem("cannot write into the data directory", dataDir);
    }
    return "";
}

std::string RecordAsCsv(const std::vector<byte>& record) {
    DataConverter::Initialize(FileType_CSV);
    byte text[4096];
    const uint16 length = DataConverter::EcrToPc(record.data(), static_cast<uint16>(record.size()),
                                                 text, sizeof(text));
    return length == 0 ? std::string("?") : std::string(reinterpret_cast<char*>(text), length);
}

SectionStore::SectionStore(const std::string& dataDir) : m_dataDir(dataDir) {
    if (!m_dataDir.empty()) {
        Load();
    }
}

long long SectionStore::RecordKey(const std::vector<byte>& record) {
    BinaryDataParser parser(record.data(), static_cast<uint16>(record.size()));
    Decimal key;
    if (parser.GetFieldType() != FieldType_Number || !parser.GetNumber(key)) {
        return -1;
    }
    return key.ToInt64();
}

void SectionStore::Put(int section, const std::vector<byte>& record) {
    long long key = RecordKey(record);
    if (key < 0) {
        key = unnumberedBase + m_nextUnnumbered[section]++;
    }
    m_sections[section][key] = record;
}

void SectionStore::Remove(int section, const std::vector<byte>& record) {
    m_sections[section].erase(RecordKey(record));
}

void SectionStore::Clear(int section) {
    m_sections[section].clear();
    m_nextUnnumbered[section] = 0;
}

std::vector<std::vector<byte>> SectionStore::Records(int section) const {
    std::vector<std::vector<byte>> records;
    const auto found = m_sections.find(section);
    if (found != m_sections.end()) {
        for (const auto& entry : found->second) {
            records.push_back(entry.second);
        }
    }
    return records;
}

std::string SectionStore::SectionPath(int section) const {
    return m_dataDir + "/section" + std::to_string(section) + ".csv";
}

void SectionStore::Save(int section) const {
    if (m_dataDir.empty()) {
        return;
    }
    const std::string path = SectionPath(section);
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    for (const std::vector<byte>& record : Records(section)) {
        out << RecordAsCsv(record) << "\r\n";
    }
    out.close();
    if (!out) {
        ReportUnsaved(path);
    }
}

void SectionStore::Journal(const std::vector<byte>& command) const {
    if (m_dataDir.empty()) {
        return;
    }
    const std::string path = m_dataDir + "/fiscal.csv";
    std::ofstream out(path, std::ios::binary | std::ios::app);
    std::vector<byte> data(command.begin() + 1, command.end());
    out << static_cast<int>(command[0]);
    if (!data.empty()) {
        out << "," << RecordAsCsv(data);
    }
    out << "\r\n";
    out.close();
    if (!out) {
        ReportUnsaved(path);
    }
}

void SectionStore::Load() {
    DIR* dir = opendir(m_dataDir.c_str());
    if (dir == nullptr) {
        return;
    }
    DataConverter::Initialize(FileType_CSV);
    while (const dirent* entry = readdir(dir)) {
        int section = 0;
        char tail[8] = {0};
        if (std::sscanf(entry->d_name, "section%d.%4s", &section, tail) != 2 ||
            std::string(tail) != "csv") {
            continue;
        }
        const std::string path = m_dataDir + "/" + entry->d_name;
        std::ifstream in(path, std::ios::binary);
        std::string line;
        for (int lineNumber = 1; std::getline(in, line); ++lineNumber) {
            if (!line.empty() && line.back() == '\r') {
                line.pop_back();
            }
            byte record[1024];
            const uint16 length =
                DataConverter::PcToEcr(reinterpret_cast<const byte*>(line.data()),
                                       static_cast<uint16>(line.size()), record, sizeof(record));
            if (length > 0) {
                Put(section, std::vector<byte>(record, record + length));
            } else if (!line.empty()) {
                std::fprintf(stderr, "ecrsim: %s line %d is not a record; left out\n", path.c_str(),
                             lineNumber);
            }
        }
    }
    closedir(dir);
}
