#include "EcrComm/CommChannels/TcFrame.h"

#include <gtest/gtest.h>

#include "EcrComm/CommChannels/Compatibility/TcFrame_v1.h"
#include "EcrComm/CommChannels/Compatibility/TcFrame_v2.h"
#include "EcrComm/LinkTestSupport.h"

using namespace linktest;

namespace {

// Build and Parse of one version behind a common signature; version 1 ignores the number and
// reports none (seqNo untouched).
struct Codec {
    int version;
    uint16 (*build)(const byte* data, uint16 size, byte seqNo, byte* frame, uint16 bufSize);
    uint16 (*parse)(const byte* frame, uint16 size, byte& seqNo, byte* data, uint16 bufSize);
};

uint16 BuildV1(const byte* data, uint16 size, byte, byte* frame, uint16 bufSize) {
    return TcFrame_v1::Build(data, size, frame, bufSize);
}
uint16 ParseV1(const byte* frame, uint16 size, byte&, byte* data, uint16 bufSize) {
    return TcFrame_v1::Parse(frame, size, data, bufSize);
}

const Codec codecs[] = {
    {3, &TcFrame::Build, &TcFrame::Parse},
    {2, &TcFrame_v2::Build, &TcFrame_v2::Parse},
    {1, &BuildV1, &ParseV1},
};

Bytes Build(const Codec& codec, const Bytes& payload, byte seqNo, uint16 bufSize = 2048) {
    Bytes frame(bufSize);
    frame.resize(codec.build(payload.data(), static_cast<uint16>(payload.size()), seqNo,
                             frame.data(), bufSize));
    return frame;
}

// Parses frame in place, as the port does; returns the payload length (0: refused).
uint16 Parse(const Codec& codec, Bytes& frame, byte& seqNo) {
    return codec.parse(frame.data(), static_cast<uint16>(frame.size()), seqNo, frame.data(),
                       static_cast<uint16>(frame.size()));
}

struct Example {
    const char* payload;
    byte seqNo;
    const char* frames[3]; // versions 3, 2, 1; null where not pinned down
};

const Example examples[] = {
    {"01 02 41",
     0x20,
     {"02 20 01 10 A2 41 62 67 03", "02 20 01 10 A2 41 62 64 03", "02 01 10 A2 41 42 7A 03"}},
    {"10 03",
     0x21,
     {"02 21 10 B0 10 A3 32 36 03", "02 21 10 B0 10 A3 32 34 03", "02 10 B0 10 A3 13 DA 03"}},
    {"", 0x20, {"02 20 20 20 03", "02 20 20 20 03", "02 00 00 03"}},
    {"55", 0xFF, {"02 FF 55 AA 55 03", "02 FF 55 AA 54 03", "02 55 55 56 03"}},
    // Check bytes that are control values are escaped: 20 ^ E2 = C2, 20 + E2 + 1 = 03 (ETX).
    {"E2", 0x20, {"02 20 E2 C2 10 A3 03", nullptr, nullptr}},
    // Version 1: 01 ^ 02 = 03, -(03 + 03) = FA.
    {"01 02", 0, {nullptr, nullptr, "02 01 10 A2 10 A3 FA 03"}},
};

} // namespace

TEST(TcFrameTest, ExamplesBuildAndParseInEveryVersion) {
    for (const Example& example : examples) {
        for (int i = 0; i < 3; ++i) {
            if (example.frames[i] == nullptr) {
                continue;
            }
            const Codec& codec = codecs[i];
            SCOPED_TRACE("version " + std::to_string(codec.version) + " '" + example.payload + "'");
            const Bytes payload = HexBytes(example.payload);
            Bytes frame = HexBytes(example.frames[i]);
            EXPECT_EQ(ToHex(Build(codec, payload, example.seqNo)), ToHex(frame));
            byte seqNo = 0x77;
            const uint16 length = Parse(codec, frame, seqNo);
            EXPECT_EQ(ToHex(Bytes(frame.begin(), frame.begin() + length)), ToHex(payload));
            EXPECT_EQ(seqNo, codec.version == 1 ? 0x77 : example.seqNo);
        }
    }
}

TEST(TcFrameTest, ControlBytesAreEscapedAndLongPayloadsRoundTrip) {
    const Bytes controlBytes = HexBytes("02 03 06 10 15");
    Bytes longPayload(600);
    for (size_t i = 0; i < longPayload.size(); ++i) {
        longPayload[i] = static_cast<byte>(i * 7);
    }
    for (const Codec& codec : codecs) {
        SCOPED_TRACE("version " + std::to_string(codec.version));
        const Bytes frame = Build(codec, controlBytes, 0x40);
        const size_t start = codec.version == 1 ? 1 : 2;
        ASSERT_GE(frame.size(), start + 10 + 3);
        EXPECT_EQ(ToHex(Bytes(frame.begin() + start, frame.begin() + start + 10)),
                  "10 A2 10 A3 10 A6 10 B0 10 B5");
        // The exact size fits; one byte less is refused and nothing is written.
        EXPECT_EQ(Build(codec, controlBytes, 0x40, static_cast<uint16>(frame.size())), frame);
        Bytes tooSmall(frame.size() - 1, 0xEE);
        EXPECT_EQ(codec.build(controlBytes.data(), 5, 0x40, tooSmall.data(),
                              static_cast<uint16>(tooSmall.size())),
                  0);
        EXPECT_EQ(tooSmall, Bytes(frame.size() - 1, 0xEE));

        Bytes longFrame = Build(codec, longPayload, 0x90);
        byte seqNo = 0;
        ASSERT_EQ(Parse(codec, longFrame, seqNo), longPayload.size());
        EXPECT_TRUE(std::equal(longPayload.begin(), longPayload.end(), longFrame.begin()));
    }
}

TEST(TcFrameTest, SequenceNumbersOneToThirtyOneAreRefused) {
    const Bytes payload = HexBytes("41");
    for (const Codec& codec : {codecs[0], codecs[1]}) {
        SCOPED_TRACE("version " + std::to_string(codec.version));
        EXPECT_TRUE(Build(codec, payload, 1).empty());
        EXPECT_TRUE(Build(codec, payload, 31).empty());
        EXPECT_FALSE(Build(codec, payload, 32).empty());
        // The number is reported even when it makes the frame invalid.
        Bytes frame = Build(codec, payload, 0);
        byte seqNo = 0xAA;
        EXPECT_EQ(Parse(codec, frame, seqNo), 1);
        EXPECT_EQ(seqNo, 0);
        frame = Build(codec, payload, 0);
        frame[1] = 0x1F;
        EXPECT_EQ(Parse(codec, frame, seqNo), 0);
        EXPECT_EQ(seqNo, 0x1F);
    }
}

TEST(TcFrameTest, CorruptedTruncatedOrMisescapedFramesAreRejected) {
    const Bytes payload = HexBytes("00 41 FF 10 7E 03 80 15");
    // A DLE in a check position, and a DLE right before ETX that would swallow it when
    // unescaped: refused without reading past the frame (checked under ASan).
    const Bytes strayDles[] = {HexBytes("02 20 41 10 62 03"), HexBytes("02 20 10 10 03"),
                               HexBytes("02 10 10 10 03")};
    for (const Codec& codec : codecs) {
        SCOPED_TRACE("version " + std::to_string(codec.version));
        const Bytes frame = Build(codec, payload, 0x33);
        byte data[64];
        byte seqNo = 0;
        for (size_t pos = 0; pos < frame.size(); ++pos) {
            for (byte flip : {0x01, 0x20, 0x80}) {
                Bytes corrupted = frame;
                corrupted[pos] ^= flip;
                EXPECT_EQ(Parse(codec, corrupted, seqNo), 0) << ToHex(corrupted);
            }
            EXPECT_EQ(codec.parse(frame.data(), static_cast<uint16>(pos), seqNo, data, 64), 0);
        }
        for (Bytes stray : strayDles) {
            EXPECT_EQ(
                codec.parse(stray.data(), static_cast<uint16>(stray.size()), seqNo, data, 0xFFFF),
                0)
                << ToHex(stray);
        }
    }
}
