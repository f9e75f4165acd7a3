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
        : bytes(std::move(record)), parser(bytes.data(), static_cast<ushort>(bytes.size())) {}
    Bytes bytes;
    BinaryDataParser parser;
};

TEST(BinaryDataParserTest, TagsGiveTheFieldKinds) {
    const Bytes record = {0x0C, 0x00, 0x0B, 0x0D, 0x00, 0x00, 0x0E, 0x00, 0x0A};
    Record parserRecord(record);
    BinaryDataParser& parser = parserRecord.parser;
    Decimal number;
    char text[8];
    byte data[8];
    ushort length = 0;
    EXPECT_EQ(parser.GetFieldType(), FieldType_Number);
    EXPECT_FALSE(parser.GetString(text, sizeof(text))); // wrong kind leaves the position
    EXPECT_TRUE(parser.GetNumber(number));
    EXPECT_EQ(parser.GetFieldType(), FieldType_String);
    EXPECT_TRUE(parser.GetString(text, sizeof(text)));
    EXPECT_STREQ(text, "");
    EXPECT_EQ(parser.GetFieldType(), FieldType_Number);
    EXPECT_TRUE(parser.GetNumber(number));
    EXPECT_EQ(parser.GetFieldType(), FieldType_Binary);
    EXPECT_TRUE(parser.GetBinary(data, sizeof(data), length));
    EXPECT_EQ(length, 0);
    EXPECT_EQ(parser.GetFieldType(), FieldType_Unknown);
    EXPECT_FALSE(parser.GetNumber(number));

    EXPECT_EQ(BinaryDataParser::ToFieldType(static_cast<BinaryFieldType>(10)), FieldType_Unknown);
    EXPECT_EQ(BinaryDataParser::ToFieldType(static_cast<BinaryFieldType>(15)), FieldType_Unknown);
    EXPECT_EQ(Record({}).parser.GetFieldType(), FieldType_None);
    for (byte notATag : {0x00, 0x0F, 0x27, 0xFF}) {
        EXPECT_EQ(Record({notATag, 0x00}).parser.GetFieldType(), FieldType_Unknown);
    }
}

TEST(BinaryDataParserTest, TextEndsAtTheNextTagOrTheRecordEnd) {
    const Bytes record = {0x0B, 'A', 'B', 0x0B, 'C'};
    Record parserRecord(record);
    BinaryDataParser& parser = parserRecord.parser;
    EXPECT_EQ(parser.GetStringEndPos(1), 2);
    EXPECT_EQ(parser.GetStringEndPos(4), 4);
    char text[3];
    EXPECT_TRUE(parser.GetString(text, sizeof(text)));
    EXPECT_STREQ(text, "AB");
    EXPECT_FALSE(parser.GetString(text, 1)); // "C" needs two bytes
    EXPECT_TRUE(parser.GetString(text, 2));
    EXPECT_STREQ(text, "C");
    EXPECT_EQ(parser.GetFieldType(), FieldType_None);
}

TEST(BinaryDataParserTest, ControlCharactersMakeTextInvalid) {
    char text[8];
    const Bytes tab = {0x0B, 'a', '\t', 'b'};
    Record withTabRecord(tab);
    BinaryDataParser& withTab = withTabRecord.parser;
    EXPECT_FALSE(withTab.GetString(text, sizeof(text)));
    EXPECT_EQ(withTab.GetFieldType(), FieldType_None); // the field was consumed

    // A zero byte ends the text; what follows it is not looked at.
    const Bytes zero = {0x0B, 'a', 0x00, '\t', 0x0B, 'c'};
    Record withZeroRecord(zero);
    BinaryDataParser& withZero = withZeroRecord.parser;
    EXPECT_TRUE(withZero.GetString(text, sizeof(text)));
    EXPECT_STREQ(text, "a");
    EXPECT_TRUE(withZero.GetString(text, sizeof(text)));
    EXPECT_STREQ(text, "c");

    const Bytes unit = {0x0B, 31, 0xFF};
    Record validRecord(unit);
    BinaryDataParser& valid = validRecord.parser;
    EXPECT_TRUE(valid.GetString(text, sizeof(text)));
    EXPECT_TRUE(DataParser::IsValidString(""));
    EXPECT_FALSE(DataParser::IsValidString("\x1e"));
}

TEST(BinaryDataParserTest, NumbersInBothForms) {
    Decimal number;
    Record decimalRecord({0x0D, 0x01, 0x81, 0x0F});
    BinaryDataParser& decimal = decimalRecord.parser;
    EXPECT_TRUE(decimal.GetNumber(number));
    EXPECT_EQ(number.ToString(), "-1.5");
    EXPECT_EQ(decimal.GetFieldType(), FieldType_None);

    Record integerRecord({0x0C, 0x02, 0x2C, 0x01});
    BinaryDataParser& integer = integerRecord.parser;
    EXPECT_TRUE(integer.GetNumber(number));
    EXPECT_EQ(number.ToString(), "300");

    Record zeroWithDecimalsRecord({0x0D, 0x00, 0x02});
    BinaryDataParser& zeroWithDecimals = zeroWithDecimalsRecord.parser;
    EXPECT_TRUE(zeroWithDecimals.GetNumber(number));
    EXPECT_EQ(number.ToString(), "0.00");

    Record widestRecord({0x0C, 0x08, 1, 0, 0, 0, 0, 0, 0, 0x01});
    BinaryDataParser& widest = widestRecord.parser;
    EXPECT_TRUE(widest.GetNumber(number));
    EXPECT_EQ(number.ToInt64(), 0x0100000000000001);
}

TEST(BinaryDataParserTest, FieldsReachingPastTheRecordAreRejected) {
    Decimal number;
    byte data[300];
    ushort length = 0;
    // Magnitudes that end beyond the record, or claim more than eight bytes.
    for (const Bytes& record :
         {Bytes{0x0D, 0x02, 0x05, 0x01}, Bytes{0x0C}, Bytes{0x0D, 0x00}, Bytes{0x0C, 0x01},
          Bytes(12, 0x0C), Bytes{0x0C, 0x09, 1, 2, 3, 4, 5, 6, 7, 8, 9}}) {
        Record parserRecord(record);
        BinaryDataParser& parser = parserRecord.parser;
        EXPECT_FALSE(parser.GetNumber(number)) << record.size();
    }
    // A binary field longer than the record, or than the caller's buffer.
    Record tooLongRecord({0x0E, 0x05, 1, 2, 3});
    BinaryDataParser& tooLong = tooLongRecord.parser;
    EXPECT_FALSE(tooLong.GetBinary(data, sizeof(data), length));
    Record noLengthRecord({0x0E});
    BinaryDataParser& noLength = noLengthRecord.parser;
    EXPECT_FALSE(noLength.GetBinary(data, sizeof(data), length));
    Record smallRecord({0x0E, 0x03, 1, 2, 3});
    BinaryDataParser& small = smallRecord.parser;
    EXPECT_FALSE(small.GetBinary(data, 2, length));
    EXPECT_EQ(length, 3);
    EXPECT_TRUE(small.GetBinary(data, 3, length));
    EXPECT_EQ(data[2], 3);

    Bytes full(257, 0xEE);
    full[0] = 0x0E;
    full[1] = 0xFF;
    Record largestRecord(full);
    BinaryDataParser& largest = largestRecord.parser;
    EXPECT_TRUE(largest.GetBinary(data, sizeof(data), length));
    EXPECT_EQ(length, 255);
}

} // namespace
