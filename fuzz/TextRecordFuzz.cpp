// Feeds arbitrary bytes to the text record parser as a CSV line (the first byte picks the
// delimiter) and checks that whatever converts to a binary record comes back to the same
// record through its canonical CSV line.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "AppConfig.h"
#include "DataConverter.h"
#include "Formatting/TextDataParser.h"

namespace {

const uint16 bufferSize = 1024;
const char delimiters[] = {',', ';', '\t', '|'};

void WalkFields(const byte* data, uint16 length) {
    TextDataParser parser(data, length);
    for (int guard = 0; guard < length + 2; ++guard) {
        char field[129];
        if (parser.GetField(field, sizeof(field), false) != GetFieldResult_OK) {
            return;
        }
    }
    std::abort(); // every field read moves past at least one character
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1 || size > 2048) {
        return 0;
    }
    const char delimiter = delimiters[data[0] % sizeof(delimiters)];
    AppConfig::SetParameter("Delimiter", std::string(1, delimiter), false);
    const uint16 length = static_cast<uint16>(size - 1);
    std::vector<byte> line(data + 1, data + size);
    WalkFields(line.data(), length);

    DataConverter::Initialize(FileType_CSV);
    std::vector<byte> record(bufferSize);
    const uint16 recordLength =
        DataConverter::PcToEcr(line.data(), length, record.data(), bufferSize);
    if (recordLength == 0) {
        return 0;
    }
    std::vector<byte> canonical(bufferSize);
    const uint16 canonicalLength =
        DataConverter::EcrToPc(record.data(), recordLength, canonical.data(), bufferSize);
    if (canonicalLength == 0) {
        return 0; // e.g. a number whose text is too long for the formatter
    }
    std::vector<byte> again(bufferSize);
    const uint16 againLength =
        DataConverter::PcToEcr(canonical.data(), canonicalLength, again.data(), bufferSize);
    if (againLength != recordLength ||
        std::memcmp(record.data(), again.data(), recordLength) != 0) {
        std::abort();
    }
    return 0;
}
