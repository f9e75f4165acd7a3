// Feeds arbitrary bytes to the three frame parsers, as a frame and as a payload to build and
// parse back. Parsers must never read or write outside their buffers, and whatever Build
// makes, Parse must accept with the same payload and number.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "EcrComm/CommChannels/Compatibility/TcFrame_v1.h"
#include "EcrComm/CommChannels/Compatibility/TcFrame_v2.h"
#include "EcrComm/CommChannels/TcFrame.h"

namespace {

typedef uint16 (*BuildFunction)(const byte*, uint16, byte, byte*, uint16);
typedef uint16 (*ParseFunction)(const byte*, uint16, byte&, byte*, uint16);

uint16 BuildV1(const byte* data, uint16 size, byte, byte* frame, uint16 bufSize) {
    return TcFrame_v1::Build(data, size, frame, bufSize);
}
uint16 ParseV1(const byte* frame, uint16 size, byte& seqNo, byte* data, uint16 bufSize) {
    seqNo = 0;
    return TcFrame_v1::Parse(frame, size, data, bufSize);
}

struct Version {
    BuildFunction build;
    ParseFunction parse;
    bool hasSeqNo;
};

const Version versions[] = {
    {&TcFrame::Build, &TcFrame::Parse, true},
    {&TcFrame_v2::Build, &TcFrame_v2::Parse, true},
    {&BuildV1, &ParseV1, false},
};

void ParseAsFrame(const Version& version, const uint8_t* input, uint16 size, uint16 dataBufSize) {
    // Exactly sized heap buffers, so that any overrun is caught.
    std::vector<byte> frame(input, input + size);
    std::vector<byte> data(dataBufSize);
    byte seqNo = 0;
    const uint16 length =
        version.parse(frame.data(), size, seqNo, data.empty() ? nullptr : data.data(), dataBufSize);
    if (length > dataBufSize) {
        std::abort();
    }
    // In place, as the port parses.
    std::vector<byte> inPlace(frame);
    byte seqNoInPlace = 0;
    const uint16 lengthInPlace =
        version.parse(inPlace.data(), size, seqNoInPlace, inPlace.data(), size);
    if (lengthInPlace != 0 && size <= dataBufSize &&
        (lengthInPlace != length || std::memcmp(inPlace.data(), data.data(), length) != 0)) {
        std::abort();
    }
}

void BuildAndParseBack(const Version& version, const uint8_t* input, uint16 size) {
    const byte seqNo = size > 0 ? input[0] : 0;
    const byte* payload = size > 0 ? input + 1 : input;
    const uint16 payloadSize = size > 0 ? static_cast<uint16>(size - 1) : 0;
    std::vector<byte> frame(2 * payloadSize + 8);
    const uint16 frameSize =
        version.build(payload, payloadSize, seqNo, frame.data(), static_cast<uint16>(frame.size()));
    if (frameSize == 0) {
        return; // an invalid sequence number
    }
    frame.resize(frameSize);
    std::vector<byte> parsed(payloadSize + 1);
    byte parsedSeqNo = 0;
    const uint16 length = version.parse(frame.data(), frameSize, parsedSeqNo, parsed.data(),
                                        static_cast<uint16>(parsed.size()));
    if (length != payloadSize || std::memcmp(parsed.data(), payload, payloadSize) != 0 ||
        (version.hasSeqNo && parsedSeqNo != seqNo)) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* input, size_t inputSize) {
    if (inputSize < 2 || inputSize > 4096) {
        return 0;
    }
    // The first two bytes choose the parser's output buffer size.
    const uint16 dataBufSize = static_cast<uint16>(input[0] | (input[1] << 8)) % 2048;
    const uint8_t* frame = input + 2;
    const uint16 frameSize = static_cast<uint16>(inputSize - 2);
    for (const Version& version : versions) {
        ParseAsFrame(version, frame, frameSize, dataBufSize);
        BuildAndParseBack(version, frame, frameSize);
    }
    return 0;
}
