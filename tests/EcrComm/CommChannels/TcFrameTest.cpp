#include "EcrComm/CommChannels/TcFrame.h"

#include <gtest/gtest.h>

// With the frames of versions 1 and 2.
#include "EcrComm/LinkTestSupport.h"

using namespace linktest;

namespace {

// Parses a frame of the version in place, as the port does, with room for bufSize bytes of
// payload; returns the payload, or "refused". Version 1 reports no number: seqNo stays.
std::string Parse(int version, Bytes frame, byte& seqNo, uint16 bufSize = 0xFFFF) {
    byte* data = frame.data();
    const uint16 size = static_cast<uint16>(frame.size());
    const uint16 length = version == 1   ? TcFrame_v1::Parse(data, size, data, bufSize)
                          : version == 2 ? TcFrame_v2::Parse(data, size, seqNo, data, bufSize)
                                         : TcFrame::Parse(data, size, seqNo, data, bufSize);
    return length == 0 ? "refused" : ToHex(Bytes(data, data + length));
}

// The worked examples. Frames are spaced by field: STX, number (none in version 1), escaped
// payload, the two escaped check bytes, ETX.
const struct {
    const char* payload;
    byte seqNo;
    const char *v3, *v2, *v1;
} examples[] = {
    {"010241", 0x20, "02 20 0110A241 6267 03", "02 20 0110A241 6264 03", "02 0110A241 427A 03"},
    {"1003", 0x21, "02 21 10B010A3 3236 03", "02 21 10B010A3 3234 03", "02 10B010A3 13DA 03"},
    {"", 0x20, "02 20 2020 03", "02 20 2020 03", "02 0000 03"},
    {"55", 0xFF, "02 FF 55 AA55 03", "02 FF 55 AA54 03", "02 55 5556 03"},
    // Check bytes that are control values are escaped too.
    {"E2", 0x20, "02 20 E2 C210A3 03", "02 20 E2 C210A2 03", "02 E2 E23C 03"},
    {"0102", 0x00, "02 00 0110A2 10A305 03", "02 00 0110A2 10A310A3 03", "02 0110A2 10A3FA 03"},
    {"0203061015", 0x40, "02 40 10A210A310A610B010B5 4275 03", "02 40 10A210A310A610B010B5 4270 03",
     "02 10A210A310A610B010B5 10A2CE 03"},
};

} // namespace

TEST(TcFrameTest, WorkedExamplesInEveryVersion) {
    for (const auto& example : examples) {
        const char* const frames[] = {example.v1, example.v2, example.v3};
        for (int version = 1; version <= 3; ++version) {
            SCOPED_TRACE("version " + std::to_string(version) + " '" + example.payload + "'");
            const Bytes frame = HexBytes(frames[version - 1]);
            EXPECT_EQ(ToHex(BuildFrame(version, HexBytes(example.payload), example.seqNo)),
                      ToHex(frame));
            byte seqNo = 0x77;
            // An empty payload is reported as a refusal: the length 0 cannot tell them apart.
            EXPECT_EQ(Parse(version, frame, seqNo),
                      example.payload[0] ? ToHex(HexBytes(example.payload)) : "refused");
            EXPECT_EQ(seqNo, version == 1 ? 0x77 : example.seqNo);
        }
    }
}

TEST(TcFrameTest, SequenceNumbersRunFrom32To255) {
    // 0 is the number of the first frame after a reset; 1 to 31 are never valid.
    const struct {
        byte seqNo, next;
        bool valid;
    } numbers[] = {{0, 32, true},  {1, 0, false},    {31, 0, false},
                   {32, 33, true}, {200, 201, true}, {255, 32, true}};
    for (const auto& number : numbers) {
        SCOPED_TRACE(static_cast<int>(number.seqNo));
        EXPECT_EQ(TcFrameSeqNo::IsValid(number.seqNo), number.valid);
        EXPECT_EQ(number.valid ? TcFrameSeqNo::Next(number.seqNo) : 0, number.next);
        EXPECT_EQ(BuildFrame(3, HexBytes("41"), number.seqNo).empty(), !number.valid);
        EXPECT_EQ(BuildFrame(2, HexBytes("41"), number.seqNo).empty(), !number.valid);
    }
}

TEST(TcFrameTest, OnlyWholeFramesInLargeEnoughBuffersAreTaken) {
    // A payload beyond 255 bytes, with control bytes to escape.
    Bytes payload(600);
    for (size_t i = 0; i < payload.size(); ++i) {
        payload[i] = static_cast<byte>(i * 7);
    }
    // A DLE in a check position, and a DLE right before ETX that would swallow it when
    // unescaped: refused without reading past the frame (checked under ASan). Number 1F with
    // the right check bytes (of versions 3 and 2) is refused too.
    const char* const refused[] = {"02 20 41 10 62 03", "02 20 10 10 03", "02 10 10 10 03",
                                   "02 1F 41 5E61 03", "02 1F 41 5E60 03"};
    for (int version = 1; version <= 3; ++version) {
        SCOPED_TRACE("version " + std::to_string(version));
        const Bytes frame = BuildFrame(version, payload, 0x33);
        const uint16 size = static_cast<uint16>(frame.size());
        EXPECT_EQ(BuildFrame(version, payload, 0x33, size), frame);
        EXPECT_EQ(BuildFrame(version, payload, 0x33, size - 1), Bytes());
        byte seqNo = 0;
        EXPECT_EQ(Parse(version, frame, seqNo, 600), ToHex(payload));
        EXPECT_EQ(Parse(version, frame, seqNo, 599), "refused");
        for (size_t pos = 0; pos < frame.size(); ++pos) {
            for (int bit = 0; bit < 8; ++bit) {
                Bytes corrupted = frame;
                corrupted[pos] ^= static_cast<byte>(1 << bit);
                EXPECT_EQ(Parse(version, corrupted, seqNo), "refused") << pos;
            }
            EXPECT_EQ(Parse(version, Bytes(frame.begin(), frame.begin() + pos), seqNo), "refused");
        }
        for (const char* bad : refused) {
            EXPECT_EQ(Parse(version, HexBytes(bad), seqNo), "refused") << bad;
        }
    }
}
