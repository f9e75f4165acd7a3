// Feeds arbitrary bytes to the binary record parser as an ECR record, converts them to a CSV
// line and a raw record, and checks that a CSV line that came out converts back to the same
// binary record it would have been sent as.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "AppConfig.h"
#include "DataConverter.h"
#include "Formatting/BinaryDataParser.h"

namespace {

const uint16 bufferSize = 1024;

// Walks the fields one by one with a small buffer, the way no converter does.
void WalkFields(const byte* data, uint16 length) {
    BinaryDataParser parser(data, length);
    for (int guard = 0; guard < length + 1; ++guard) {
        char text[16];
        byte binary[16];
        uint16 binaryLength = 0;
        Decimal number;
        switch (parser.GetFieldType()) {
        case FieldType_None:
            return;
        case FieldType_String:
            if (!parser.GetString(text, sizeof(text))) {
                return;
            }
            break;
        case FieldType_Number:
            if (!parser.GetNumber(number)) {
                return;
            }
            break;
        case FieldType_Binary:
            if (!parser.GetBinary(binary, sizeof(binary), binaryLength)) {
                return;
            }
            break;
        default:
            return;
        }
    }
    std::abort(); // every successful read consumes at least one byte
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > 4096) {
        return 0;
    }
    AppConfig::SetParameter("Delimiter", ",", false);
    const uint16 length = static_cast<uint16>(size);
    // Exact-size copies, so that any read past the record is caught.
    std::vector<byte> record(data, data + size);
    WalkFields(record.data(), length);

    std::vector<byte> raw(bufferSize);
    DataConverter::Initialize(FileType_RAW);
    DataConverter::EcrToPc(record.data(), length, raw.data(), bufferSize);

    DataConverter::Initialize(FileType_CSV);
    std::vector<byte> line(bufferSize);
    const uint16 lineLength =
        DataConverter::EcrToPc(record.data(), length, line.data(), bufferSize);
    if (lineLength == 0) {
        return 0;
    }
    if (line[lineLength] != 0) {
        std::abort();
    }
    // A line that came from the ECR and converts back must convert back identically the
    // second time round (the first pass may normalise numbers).
    std::vector<byte> first(bufferSize);
    const uint16 firstLength =
        DataConverter::PcToEcr(line.data(), lineLength, first.data(), bufferSize);
    if (firstLength == 0) {
        return 0;
    }
    std::vector<byte> again(bufferSize);
    const uint16 againLength =
        DataConverter::EcrToPc(first.data(), firstLength, again.data(), bufferSize);
    if (againLength == 0) {
        return 0;
    }
    std::vector<byte> second(bufferSize);
    const uint16 secondLength =
        DataConverter::PcToEcr(again.data(), againLength, second.data(), bufferSize);
    if (secondLength != firstLength || std::memcmp(first.data(), second.data(), firstLength) != 0) {
        std::abort();
    }
    return 0;
}
