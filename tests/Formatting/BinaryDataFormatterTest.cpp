#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "Formatting/BinaryDataFormatter.h"
#include "Formatting/BinaryDataParser.h"

namespace {

using Bytes = std::vector<byte>;

// The bytes a field gets when written alone into a buffer of the given size; empty when the
// formatter refuses it.
template <typename AddField> Bytes Written(uint16 bufferSize, AddField add) {
    std::vector<byte> buffer(bufferSize + 1u, 0xA5);
    BinaryDataFormatter formatter(buffer.data(), bufferSize);
    if (!add(formatter)) {
        EXPECT_EQ(formatter.GetLength(), 0);
        EXPECT_EQ(buffer[0], 0xA5); // nothing written on refusal
        return {};
    }
    EXPECT_EQ(buffer[bufferSize], 0xA5); // never past the capacity
    return Bytes(buffer.begin(), buffer.begin() + formatter.GetLength());
}

Bytes Number(uint16 bufferSize, Decimal value) {
    return Written(bufferSize, [value](BinaryDataFormatter& f) { return f.AddNumber(value); });
}

TEST(BinaryDataFormatterTest, FieldsTakeTheShortestFormThatFits) {
    EXPECT_EQ(Number(16, Decimal(300, 0)), (Bytes{0x0C, 0x02, 0x2C, 0x01}));
    EXPECT_EQ(Number(16, Decimal(-15, 1)), (Bytes{0x0D, 0x01, 0x81, 0x0F}));
    EXPECT_EQ(Number(16, Decimal()), (Bytes{0x0C, 0x00}));
    EXPECT_EQ(Number(16, Decimal(0, 2)), (Bytes{0x0D, 0x00, 0x02}));
    EXPECT_EQ(Number(16, Decimal(-1, 0)), (Bytes{0x0D, 0x01, 0x80, 0x01}));
    EXPECT_EQ(Number(16, Decimal(std::numeric_limits<int64_t>::min(), 0)),
              (Bytes{0x0D, 0x08, 0x80, 0, 0, 0, 0, 0, 0, 0, 0x80}));
    // Exactly filling the buffer is allowed; one byte less is not.
    EXPECT_EQ(Number(4, Decimal(300, 0)).size(), 4u);
    EXPECT_TRUE(Number(3, Decimal(300, 0)).empty());

    EXPECT_EQ(Written(8, [](BinaryDataFormatter& f) { return f.AddString("AB"); }),
              (Bytes{0x0B, 'A', 'B'}));
    EXPECT_EQ(Written(3, [](BinaryDataFormatter& f) { return f.AddString("AB"); }).size(), 3u);
    EXPECT_TRUE(Written(2, [](BinaryDataFormatter& f) { return f.AddString("AB"); }).empty());
    const byte data[] = {0x01, 0xAB};
    EXPECT_EQ(Written(4, [&](BinaryDataFormatter& f) { return f.AddBinary(data, 2); }),
              (Bytes{0x0E, 0x02, 0x01, 0xAB}));
    EXPECT_TRUE(Written(3, [&](BinaryDataFormatter& f) { return f.AddBinary(data, 2); }).empty());
}

} // namespace
