#include "EcrComm/CommChannels/TcFrame.h"

#include <gtest/gtest.h>

#include "EcrComm/CommChannels/Compatibility/TcFrameSeqNo.h"
#include "EcrComm/CommChannels/Compatibility/TcFrame_v1.h"
#include "EcrComm/CommChannels/Compatibility/TcFrame_v2.h"
#include "EcrComm/LinkTestSupport.h"

using linktest::Bytes;
using linktest::HexBytes;
using linktest::ToHex;

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

Bytes Build(const Codec& codec, const Bytes& payload, byte seqNo, uint16 bufSize = 1024) {
    Bytes frame(bufSize);
    const uint16 size = codec.build(payload.data(), static_cast<uint16>(payload.size()), seqNo,
                                    frame.data(), bufSize);
    frame.resize(size);
    return frame;
}

struct WorkedExample {
    const char* payload;
    byte seqNo;
    const char* frames[3]; // versions 3, 2, 1
};

const WorkedExample workedExamples[] = {
    {"01 02 41",
     0x20,
     {"02 20 01 10 A2 41 62 67 03", "02 20 01 10 A2 41 62 64 03", "02 01 10 A2 41 42 7A 03"}},
    {"10 03",
     0x21,
     {"02 21 10 B0 10 A3 32 36 03", "02 21 10 B0 10 A3 32 34 03", "02 10 B0 10 A3 13 DA 03"}},
    {"", 0x20, {"02 20 20 20 03", "02 20 20 20 03", "02 00 00 03"}},
    {"55", 0xFF, {"02 FF 55 AA 55 03", "02 FF 55 AA 54 03", "02 55 55 56 03"}},
};

} // namespace

TEST(TcFrameTest, WorkedExamplesBuildAndParseInEveryVersion) {
    for (const WorkedExample& example : workedExamples) {
        for (int i = 0; i < 3; ++i) {
            const Codec& codec = codecs[i];
            SCOPED_TRACE("version " + std::to_string(codec.version) + " payload '" +
                         example.payload + "'");
            const Bytes payload = HexBytes(example.payload);
            const Bytes expected = HexBytes(example.frames[i]);
            EXPECT_EQ(ToHex(Build(codec, payload, example.seqNo)), ToHex(expected));

            // Parsed in place, as the port does: the payload ends up at the buffer's start.
            Bytes buffer = expected;
            buffer.resize(1024);
            byte seqNo = 0x77;
            const uint16 length = codec.parse(buffer.data(), static_cast<uint16>(expected.size()),
                                              seqNo, buffer.data(), 1024);
            EXPECT_EQ(length, payload.size());
            EXPECT_EQ(ToHex(Bytes(buffer.begin(), buffer.begin() + length)), ToHex(payload));
            EXPECT_EQ(seqNo, codec.version == 1 ? 0x77 : example.seqNo);
        }
    }
}

TEST(TcFrameTest, BuildSizesEscapedFramesExactly) {
    const Bytes controlBytes = HexBytes("02 03 06 10 15");
    for (const Codec& codec : codecs) {
        SCOPED_TRACE("version " + std::to_string(codec.version));
        const Bytes frame = Build(codec, controlBytes, 0x40);
        const size_t overhead = codec.version == 1 ? 4 : 5;
        ASSERT_GE(frame.size(), 2 * controlBytes.size() + overhead);
        EXPECT_EQ(ToHex(Bytes(frame.begin() + overhead - 3, frame.begin() + overhead + 7)),
                  "10 A2 10 A3 10 A6 10 B0 10 B5");

        Bytes exact(frame.size(), 0xEE);
        EXPECT_EQ(codec.build(controlBytes.data(), 5, 0x40, exact.data(),
                              static_cast<uint16>(exact.size())),
                  frame.size());
        // One byte short: refused, and nothing is written.
        Bytes tooSmall(frame.size() - 1, 0xEE);
        EXPECT_EQ(codec.build(controlBytes.data(), 5, 0x40, tooSmall.data(),
                              static_cast<uint16>(tooSmall.size())),
                  0);
        EXPECT_EQ(tooSmall, Bytes(frame.size() - 1, 0xEE));
    }
}

TEST(TcFrameTest, CheckBytesThatAreControlValuesAreEscaped) {
    // seq 20, payload E2: Part1 = 20 ^ E2 = C2, Part2 = 20 + E2 + 1 = 03 (ETX) in version 3.
    const Bytes frame = Build(codecs[0], HexBytes("E2"), 0x20);
    EXPECT_EQ(ToHex(frame), "02 20 E2 C2 10 A3 03");
    byte seqNo = 0;
    byte data[8];
    EXPECT_EQ(TcFrame::Parse(frame.data(), static_cast<uint16>(frame.size()), seqNo, data, 8), 1);
    EXPECT_EQ(data[0], 0xE2);

    // Version 1, payload 01 02: Part1 = 03, Part2 = -(03 + 03) = FA.
    const Bytes frameV1 = Build(codecs[2], HexBytes("01 02"), 0);
    EXPECT_EQ(ToHex(frameV1), "02 01 10 A2 10 A3 FA 03");
    EXPECT_EQ(TcFrame_v1::Parse(frameV1.data(), static_cast<uint16>(frameV1.size()), data, 8), 2);
}

TEST(TcFrameTest, SequenceNumbersOneToThirtyOneAreRefused) {
    const Bytes payload = HexBytes("41");
    for (const Codec& codec : {codecs[0], codecs[1]}) {
        SCOPED_TRACE("version " + std::to_string(codec.version));
        EXPECT_TRUE(Build(codec, payload, 1).empty());
        EXPECT_TRUE(Build(codec, payload, 31).empty());
        EXPECT_FALSE(Build(codec, payload, 0).empty());
        EXPECT_FALSE(Build(codec, payload, 32).empty());

        // The number is reported even when it makes the frame invalid.
        Bytes frame = Build(codec, payload, 0);
        ASSERT_FALSE(frame.empty());
        byte data[8];
        byte seqNo = 0xAA;
        EXPECT_EQ(codec.parse(frame.data(), static_cast<uint16>(frame.size()), seqNo, data, 8), 1);
        EXPECT_EQ(seqNo, 0);
        frame[1] = 0x1F;
        EXPECT_EQ(codec.parse(frame.data(), static_cast<uint16>(frame.size()), seqNo, data, 8), 0);
        EXPECT_EQ(seqNo, 0x1F);
    }
}

TEST(TcFrameTest, AnyCorruptedByteIsRejected) {
    const Bytes payload = HexBytes("00 41 FF 10 7E 03 80 15");
    for (const Codec& codec : codecs) {
        SCOPED_TRACE("version " + std::to_string(codec.version));
        const Bytes frame = Build(codec, payload, 0x33);
        for (size_t pos = 0; pos < frame.size(); ++pos) {
            for (byte flip : {0x01, 0x20, 0x80}) {
                Bytes corrupted = frame;
                corrupted[pos] ^= flip;
                byte data[64];
                byte seqNo = 0;
                EXPECT_EQ(codec.parse(corrupted.data(), static_cast<uint16>(corrupted.size()),
                                      seqNo, data, sizeof(data)),
                          0)
                    << "byte " << pos << " flipped by " << int(flip) << ": " << ToHex(corrupted);
            }
        }
        // Truncated frames and missing delimiters.
        byte data[64];
        byte seqNo = 0;
        for (size_t size = 0; size < frame.size(); ++size) {
            EXPECT_EQ(codec.parse(frame.data(), static_cast<uint16>(size), seqNo, data, 64), 0);
        }
    }
}

TEST(TcFrameTest, StrayDleGivesWrongLengthButNoOverrun) {
    // A DLE in a check position, and a DLE right before ETX that would swallow it when
    // unescaped: both must be refused without reading past the frame (checked under ASan).
    const Bytes strayCheck = HexBytes("02 20 41 10 62 03");
    const Bytes dleBeforeEtx = HexBytes("02 20 10 10 03");
    const Bytes onlyDle = HexBytes("02 10 10 10 03");
    for (const Codec& codec : codecs) {
        for (const Bytes& frame : {strayCheck, dleBeforeEtx, onlyDle}) {
            Bytes exact(frame);
            byte data[1024];
            byte seqNo = 0;
            EXPECT_EQ(
                codec.parse(exact.data(), static_cast<uint16>(exact.size()), seqNo, data, 0xFFFF),
                0)
                << "version " << codec.version << ": " << ToHex(frame);
        }
    }
}

TEST(TcFrameTest, PayloadsAbove255BytesRoundTrip) {
    Bytes payload(600);
    for (size_t i = 0; i < payload.size(); ++i) {
        payload[i] = static_cast<byte>(i * 7);
    }
    for (const Codec& codec : codecs) {
        Bytes frame = Build(codec, payload, 0x90, 2000);
        ASSERT_FALSE(frame.empty());
        byte seqNo = 0;
        const uint16 length = codec.parse(frame.data(), static_cast<uint16>(frame.size()), seqNo,
                                          frame.data(), static_cast<uint16>(frame.size()));
        ASSERT_EQ(length, payload.size()) << "version " << codec.version;
        EXPECT_TRUE(std::equal(payload.begin(), payload.end(), frame.begin()));
    }
}
