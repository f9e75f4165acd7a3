// Opens arbitrary bytes as a bitmap file, reads every row, and checks that the rows written
// back as a bitmap read back unchanged.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>
#include <vector>

#include "BmpFile.h"
#include "Exceptions.h"

namespace {

std::string TemporaryPath(const char* kind) {
    return std::string("/tmp/fuzz_bmp_") + kind + "_" + std::to_string(getpid()) + ".bmp";
}

bool WriteInput(const std::string& path, const uint8_t* data, size_t size) {
    FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) {
        return false;
    }
    const bool written = std::fwrite(data, 1, size, file) == size;
    return std::fclose(file) == 0 && written;
}

// Every row of the bitmap, or false when it cannot be opened.
bool ReadRows(const std::string& path, std::vector<std::string>& rows) {
    BmpFileReader reader;
    try {
        reader.Open(path);
    } catch (Exception* e) {
        delete e;
        return false;
    }
    char buffer[1024];
    for (int record = 0; record < 100000; ++record) {
        const int length = reader.Read(record, buffer, sizeof(buffer));
        if (length == 0) {
            return true;
        }
        if (length > 128) {
            std::abort();
        }
        rows.emplace_back(buffer, static_cast<size_t>(length));
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string input = TemporaryPath("in");
    if (!WriteInput(input, data, size)) {
        return 0;
    }
    std::vector<std::string> rows;
    const bool opened = ReadRows(input, rows);
    std::remove(input.c_str());
    if (!opened || rows.empty()) {
        return 0;
    }
    const std::string output = TemporaryPath("out");
    {
        BmpFileWriter writer;
        writer.Open(output);
        for (const std::string& row : rows) {
            writer.Write(row.data(), static_cast<int>(row.size()));
        }
    }
    std::vector<std::string> again;
    if (!ReadRows(output, again) || again != rows) {
        std::abort();
    }
    std::remove(output.c_str());
    return 0;
}
