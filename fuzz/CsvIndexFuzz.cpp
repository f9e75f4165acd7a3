// Indexes arbitrary bytes as a CSV input file the way Send opens it (the first byte picks the
// delimiter and whether lines are sorted) and reads every record back.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

#include "AppConfig.h"
#include "CsvFile.h"
#include "Exceptions.h"
#include "FileErrors.h"

namespace {

const char delimiters[] = {',', ';', '\t', '|'};

std::string TemporaryPath() {
    return "/tmp/fuzz_csv_index_" + std::to_string(getpid()) + ".csv";
}

bool WriteInput(const std::string& path, const uint8_t* data, size_t size) {
    FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) {
        return false;
    }
    const bool written = std::fwrite(data, 1, size, file) == size;
    return std::fclose(file) == 0 && written;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static bool quiet = std::freopen("/dev/null", "w", stdout) != nullptr;
    (void)quiet;
    if (size < 1) {
        return 0;
    }
    AppConfig::SetParameter("Delimiter", std::string(1, delimiters[data[0] % 4]), false);
    AppConfig::SetParameter("SortInputFileLines", (data[0] & 0x80) != 0 ? "0" : "1", false);
    const std::string path = TemporaryPath();
    if (!WriteInput(path, data + 1, size - 1)) {
        return 0;
    }
    FileErrors::Reset();
    CsvFileReaderImpl reader;
    try {
        reader.Open(path);
    } catch (Exception* e) {
        delete e;
        std::abort(); // an existing file is always indexed
    }
    // Every indexed line has text, so a record reads empty only past the end of the index.
    char buffer[1024];
    int previousLine = 0;
    for (int record = 0;; ++record) {
        const int length = reader.Read(record, buffer, sizeof(buffer));
        const int line = reader.GetLineNumber(record);
        if (length == 0) {
            if (line != -1) {
                std::abort();
            }
            break;
        }
        if (length >= static_cast<int>(sizeof(buffer)) || line < 1 || line == previousLine ||
            record > static_cast<int>(size)) {
            std::abort();
        }
        previousLine = line;
    }
    reader.Close();
    std::remove(path.c_str());
    return 0;
}
