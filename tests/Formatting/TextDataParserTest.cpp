#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "Formatting/TextDataParser.h"
#include "TestSupport.h"

namespace {

// A line with a parser on it; the parser never owns the text it reads.
struct Line {
    explicit Line(std::string line)
        : text(std::move(line)),
          parser(reinterpret_cast<const byte*>(text.data()), static_cast<uint16>(text.size())) {}
    std::string text;
    TextDataParser parser;
};

class TextDataParserTest : public ::testing::Test {
protected:
    void SetUp() override { testsupport::LoadConfiguration(dir.File("missing.ini")); }

    testsupport::TempDir dir;
    char text[200] = {};
    Decimal number;
    byte data[130] = {};
    uint16 length = 0;
};

TEST_F(TextDataParserTest, EmptyFieldsAreOfNoKnownKind) {
    Line doubled("1,,2");
    ASSERT_TRUE(doubled.parser.GetNumber(number));
    EXPECT_EQ(doubled.parser.GetFieldType(), FieldType_Unknown);
    for (const char* unknown : {",1", "   ", "abc"}) {
        EXPECT_EQ(Line(unknown).parser.GetFieldType(), FieldType_Unknown) << unknown;
    }
    EXPECT_EQ(Line("").parser.GetFieldType(), FieldType_None);
    EXPECT_FALSE(Line("").parser.GetNumber(number));
}

TEST_F(TextDataParserTest, NumbersAndBinaryAreCheckedOnlyAsFarAsDescribed) {
    // A capital X is not binary: the field starts with a digit and fails as a number.
    Line capital("0X1F");
    EXPECT_EQ(capital.parser.GetFieldType(), FieldType_Number);
    EXPECT_FALSE(capital.parser.GetNumber(number));
    EXPECT_FALSE(Line("12a").parser.GetNumber(number));
    EXPECT_FALSE(Line("1-2").parser.GetNumber(number));
    EXPECT_TRUE(Line("-").parser.GetNumber(number));
    EXPECT_EQ(number.ToString(), "0");

    EXPECT_FALSE(Line("0x123").parser.GetBinary(data, sizeof(data), length)); // odd length
    ASSERT_TRUE(Line("0x").parser.GetBinary(data, sizeof(data), length));
    EXPECT_EQ(length, 0);
    EXPECT_FALSE(Line("0x0102").parser.GetBinary(data, 1, length));
    EXPECT_EQ(length, 2);
    // The digits are not validated: what cannot be read as hexadecimal gives 0.
    ASSERT_TRUE(Line("0xzz7g").parser.GetBinary(data, sizeof(data), length));
    EXPECT_EQ(std::string(data, data + length), std::string("\0\x07", 2));
}

TEST_F(TextDataParserTest, TextTakesTheFirstAndLastCharactersAsQuotes) {
    Line unclosed("\"ab\"c");
    ASSERT_TRUE(unclosed.parser.GetString(text, 8));
    EXPECT_STREQ(text, "ab\"");
    EXPECT_FALSE(Line("\"").parser.GetString(text, 8));
    EXPECT_FALSE(Line("\"abc\"").parser.GetString(text, 3)); // needs room for the terminator
    EXPECT_TRUE(Line("\"abc\"").parser.GetString(text, 4));
    EXPECT_FALSE(Line("\"a\tb\"").parser.GetString(text, 8)); // control character
    // An unterminated quote runs to the end of the line, across delimiters.
    Line open("\"a,b");
    ASSERT_TRUE(open.parser.GetString(text, 8));
    EXPECT_STREQ(text, "a,");
    EXPECT_EQ(open.parser.GetFieldType(), FieldType_None);
}

TEST_F(TextDataParserTest, FieldsAreLimitedTo128Characters) {
    const std::string longest = "  \"" + std::string(122, 'x') + "\"  ";
    ASSERT_EQ(longest.size(), 128u);
    Line line(longest + ",1");
    EXPECT_EQ(line.parser.GetFieldType(), FieldType_String);
    EXPECT_EQ(line.parser.GetField(text, 129, false), GetFieldResult_OK);
    EXPECT_EQ(std::string(text), "\"" + std::string(122, 'x') + "\"");

    Line tooLong(longest + " ,1");
    EXPECT_EQ(tooLong.parser.GetFieldType(), FieldType_Unknown);
    EXPECT_EQ(tooLong.parser.GetField(text, 129, false), GetFieldResult_Error);
    EXPECT_STREQ(text, "");

    // A doubled quote is one character of the field.
    const std::string quotes = "\"" + std::string(126, '"') + "\"";
    EXPECT_EQ(Line(quotes).parser.GetField(text, 66, true), GetFieldResult_OK);
    EXPECT_EQ(std::string(text), "\"" + std::string(63, '"') + "\"");
    EXPECT_EQ(Line(quotes).parser.GetField(text, 65, true), GetFieldResult_Error);
    EXPECT_EQ(Line("abc").parser.GetField(text, 129, true), GetFieldResult_OK);
    EXPECT_EQ(Line("").parser.GetField(text, 129, false), GetFieldResult_EndOfData);
}

} // namespace
