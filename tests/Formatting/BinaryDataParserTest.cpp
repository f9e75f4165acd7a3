#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "Formatting/BinaryDataParser.h"

namespace {

using Bytes = std::vector<byte>;

// A record with a parser on it; the parser never owns the bytes it reads.
struct Record {
    explicit Record(Bytes record)
        : bytes(std::move(record)), parser(bytes.data(), static_cast<uint16>(bytes.size())) {}
    Bytes bytes;
    BinaryDataParser parser;
};

TEST(BinaryDataParserTest, TagsGiveTheFieldKinds) {
    // Asking for the wrong kind fails and leaves the position; empty fields are fields.
    Record record({0x0C, 0x00, 0x0B, 0x0E, 0x00, 0x0A});
    Decimal number;
    char text[8];
    byte data[8];
    uint16 length = 0;
    EXPECT_FALSE(record.parser.GetString(text, sizeof(text)));
    EXPECT_TRUE(record.parser.GetNumber(number));
    EXPECT_TRUE(record.parser.GetString(text, sizeof(text)));
    EXPECT_STREQ(text, "");
    EXPECT_TRUE(record.parser.GetBinary(data, sizeof(data), length));
    EXPECT_EQ(length, 0);
    EXPECT_EQ(record.parser.GetFieldType(), FieldType_Unknown);
    EXPECT_FALSE(record.parser.GetNumber(number));
    EXPECT_EQ(Record({}).parser.GetFieldType(), FieldType_None);
    for (byte notATag : {0x00, 0x0F, 0x27, 0xFF}) {
        EXPECT_EQ(Record({notATag, 0x00}).parser.GetFieldType(), FieldType_Unknown);
    }
}

TEST(BinaryDataParserTest, TextEndsAtTheNextTagAZeroByteOrTheRecordEnd) {
    char text[8];
    Record tags({0x0B, 'A', 'B', 0x0B, 'C'});
    EXPECT_TRUE(tags.parser.GetString(text, 3));
    EXPECT_STREQ(text, "AB");
    EXPECT_FALSE(tags.parser.GetString(text, 1)); // "C" needs two bytes
    EXPECT_TRUE(tags.parser.GetString(text, 2));
    EXPECT_STREQ(text, "C");
    EXPECT_EQ(tags.parser.GetFieldType(), FieldType_None);

    // A control character makes the text invalid, and the field is consumed.
    Record withTab({0x0B, 'a', '\t', 'b'});
    EXPECT_FALSE(withTab.parser.GetString(text, sizeof(text)));
    EXPECT_EQ(withTab.parser.GetFieldType(), FieldType_None);
    // A zero byte ends the text; what follows it is not looked at.
    Record withZero({0x0B, 'a', 0x00, '\t', 0x0B, 'c'});
    EXPECT_TRUE(withZero.parser.GetString(text, sizeof(text)));
    EXPECT_STREQ(text, "a");
    EXPECT_TRUE(withZero.parser.GetString(text, sizeof(text)));
    EXPECT_STREQ(text, "c");
    EXPECT_TRUE(Record({0x0B, 31, 0xFF}).parser.GetString(text, sizeof(text)));
    EXPECT_TRUE(DataParser::IsValidString(""));
    EXPECT_FALSE(DataParser::IsValidString("\x1e"));
}

TEST(BinaryDataParserTest, NumbersInBothFormsWithinTheRecord) {
    const std::pair<Bytes, std::string> numbers[] = {{{0x0D, 0x01, 0x81, 0x0F}, "-1.5"},
                                                     {{0x0C, 0x02, 0x2C, 0x01}, "300"},
                                                     {{0x0D, 0x00, 0x02}, "0.00"}};
    for (const auto& [bytes, expected] : numbers) {
        Record record(bytes);
        Decimal number;
        EXPECT_TRUE(record.parser.GetNumber(number)) << expected;
        EXPECT_EQ(number.ToString(), expected);
        EXPECT_EQ(record.parser.GetFieldType(), FieldType_None);
    }
    // Magnitudes that end beyond the record, or claim more than eight bytes.
    for (const Bytes& bytes :
         {Bytes{0x0D, 0x02, 0x05, 0x01}, Bytes{0x0C}, Bytes{0x0D, 0x00}, Bytes{0x0C, 0x01},
          Bytes(12, 0x0C), Bytes{0x0C, 0x09, 1, 2, 3, 4, 5, 6, 7, 8, 9}}) {
        Decimal number;
        EXPECT_FALSE(Record(bytes).parser.GetNumber(number)) << bytes.size();
    }
}

TEST(BinaryDataParserTest, BinaryFieldsMustFitTheRecordAndTheBuffer) {
    byte data[300];
    uint16 length = 0;
    EXPECT_FALSE(Record({0x0E, 0x05, 1, 2, 3}).parser.GetBinary(data, sizeof(data), length));
    EXPECT_FALSE(Record({0x0E}).parser.GetBinary(data, sizeof(data), length));
    Record small({0x0E, 0x03, 1, 2, 3});
    EXPECT_FALSE(small.parser.GetBinary(data, 2, length));
    EXPECT_EQ(length, 3);
    EXPECT_TRUE(small.parser.GetBinary(data, 3, length));
    EXPECT_EQ(data[2], 3);

    Bytes full(257, 0xEE);
    full[0] = 0x0E;
    full[1] = 0xFF;
    EXPECT_TRUE(Record(full).parser.GetBinary(data, sizeof(data), length));
    EXPECT_EQ(length, 255);
}

} // namespace
