// The simulated cash register's memory: the records of every section, ordered by record
// number (the first field of a record), kept as the ECR's binary records. With a data
// directory each section is also a CSV file there, sectionN.csv.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "EcrComm/CommBase.h"

class SectionStore {
public:
    // Loads the sections found in dataDir (none when it is empty: memory only). The directory
    // must exist (see PrepareDataDir).
    explicit SectionStore(const std::string& dataDir);

    // Creates dataDir and the directories above it when they are missing. Returns an empty
    // text when the directory is there and writable, else what is wrong, naming the path.
    static std::string PrepareDataDir(const std::string& dataDir);

    // Adds or replaces the record with the same number.
    void Put(int section, const std::vector<byte>& record);
    void Remove(int section, const std::vector<byte>& record);
    void Clear(int section);
    std::vector<std::vector<byte>> Records(int section) const;
    // Writes the section's file, when there is a data directory; a failure is reported on
    // standard error and the section stays in memory.
    void Save(int section) const;
    // Appends one executed fiscal command to the journal, reporting a failure as Save does.
    void Journal(const std::vector<byte>& command) const;

    // The record's number: its first field when that is a number, else -1.
    static long long RecordKey(const std::vector<byte>& record);

private:
    void Load();
    std::string SectionPath(int section) const;

    std::string m_dataDir;
    // Records without a number are kept in arrival order after the numbered ones.
    std::map<int, std::map<long long, std::vector<byte>>> m_sections;
    std::map<int, long long> m_nextUnnumbered;
};

// The record as a CSV line (without line end); "?" for a record that cannot be shown.
std::string RecordAsCsv(const std::vector<byte>& record);
