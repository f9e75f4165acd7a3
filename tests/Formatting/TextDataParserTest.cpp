#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "Formatting/TextDataParser.h"
#include "TestSupport.h"

namespace {

class TextDataParserTest : public ::testing::Test {
protected:
    void SetUp() override { testsupport::LoadConfiguration(dir.File("missing.ini")); }

    // For a field read at once; the line must outlive the parser.
    static TextDataParser ParserOn(const std::string& line) {
        return TextDataParser(reinterpret_cast<const byte*>(line.data()),
                              static_cast<ushort>(line.size()));
    }

    // A line with a parser on it, for reading several fields.
    struct Line {
        explicit Line(std::string line) : text(std::move(line)), parser(ParserOn(text)) {}
        std::string text;
        TextDataParser parser;
    };

    testsupport::TempDir dir;
};

TEST_F(TextDataParserTest, FieldsOfEveryKind) {
    const std::string line = "\"A,\"\"B\"\"\",12.50,0x0aFF,-3";
    Line parserLine(line);
    TextDataParser& parser = parserLine.parser;
    char text[16];
    Decimal number;
    byte data[4];
    ushort length = 0;
    EXPECT_EQ(parser.GetFieldType(), FieldType_String);
    ASSERT_TRUE(parser.GetString(text, sizeof(text)));
    EXPECT_STREQ(text, "A,\"B\"");
    EXPECT_EQ(parser.GetFieldType(), FieldType_Number);
    ASSERT_TRUE(parser.GetNumber(number));
    EXPECT_EQ(number.ToString(), "12.5");
    EXPECT_EQ(parser.GetFieldType(), FieldType_Binary);
    ASSERT_TRUE(parser.GetBinary(data, sizeof(data), length));
    ASSERT_EQ(length, 2);
    EXPECT_EQ(data[0], 0x0A);
    EXPECT_EQ(data[1], 0xFF);
    ASSERT_TRUE(parser.GetNumber(number));
    EXPECT_EQ(number.ToString(), "-3");
    EXPECT_EQ(parser.GetFieldType(), FieldType_None);
    EXPECT_FALSE(parser.GetNumber(number));
}

TEST_F(TextDataParserTest, BlanksAroundFieldsAndTheirEdges) {
    Line parserLine("  \"x y\"  ,\t7\t,");
    TextDataParser& parser = parserLine.parser;
    char text[8];
    Decimal number;
    ASSERT_TRUE(parser.GetString(text, sizeof(text)));
    EXPECT_STREQ(text, "x y");
    ASSERT_TRUE(parser.GetNumber(number));
    EXPECT_EQ(number.ToString(), "7");
    // A delimiter at the very end adds no field.
    EXPECT_EQ(parser.GetFieldType(), FieldType_None);

    // Empty fields, anywhere, are of no known kind.
    EXPECT_EQ(ParserOn(",1").GetFieldType(), FieldType_Unknown);
    Line doubledLine("1,,2");
    TextDataParser& doubled = doubledLine.parser;
    ASSERT_TRUE(doubled.GetNumber(number));
    EXPECT_EQ(doubled.GetFieldType(), FieldType_Unknown);
    EXPECT_EQ(ParserOn("   ").GetFieldType(), FieldType_Unknown);
    EXPECT_EQ(ParserOn("abc").GetFieldType(), FieldType_Unknown);
    EXPECT_EQ(ParserOn("").GetFieldType(), FieldType_None);
}

TEST_F(TextDataParserTest, NumbersAndBinaryAreCheckedOnlyAsFarAsDescribed) {
    Decimal number;
    byte data[130];
    ushort length = 0;
    // A capital X is not binary: the field starts with a digit and fails as a number.
    Line capitalLine("0X1F");
    TextDataParser& capital = capitalLine.parser;
    EXPECT_EQ(capital.GetFieldType(), FieldType_Number);
    EXPECT_FALSE(capital.GetNumber(number));
    EXPECT_FALSE(ParserOn("12a").GetNumber(number));
    EXPECT_FALSE(ParserOn("1-2").GetNumber(number));
    EXPECT_TRUE(ParserOn("-").GetNumber(number));
    EXPECT_EQ(number.ToString(), "0");

    EXPECT_FALSE(ParserOn("0x123").GetBinary(data, sizeof(data), length)); // odd length
    ASSERT_TRUE(ParserOn("0x").GetBinary(data, sizeof(data), length));
    EXPECT_EQ(length, 0);
    EXPECT_FALSE(ParserOn("0x0102").GetBinary(data, 1, length));
    EXPECT_EQ(length, 2);
    // The digits are not validated: what cannot be read as hexadecimal gives 0.
    ASSERT_TRUE(ParserOn("0xzz7g").GetBinary(data, sizeof(data), length));
    ASSERT_EQ(length, 2);
    EXPECT_EQ(data[0], 0);
    EXPECT_EQ(data[1], 7);
}

TEST_F(TextDataParserTest, TextTakesTheFirstAndLastCharactersAsQuotes) {
    char text[8];
    Line unclosedLine("\"ab\"c");
    TextDataParser& unclosed = unclosedLine.parser;
    ASSERT_TRUE(unclosed.GetString(text, sizeof(text)));
    EXPECT_STREQ(text, "ab\"");
    EXPECT_FALSE(ParserOn("\"").GetString(text, sizeof(text)));
    EXPECT_FALSE(ParserOn("\"abc\"").GetString(text, 3)); // needs room for the terminator
    EXPECT_TRUE(ParserOn("\"abc\"").GetString(text, 4));
    EXPECT_FALSE(ParserOn("\"a\tb\"").GetString(text, sizeof(text))); // control character
    // An unterminated quote runs to the end of the line, across delimiters.
    Line openLine("\"a,b");
    TextDataParser& open = openLine.parser;
    ASSERT_TRUE(open.GetString(text, sizeof(text)));
    EXPECT_STREQ(text, "a,");
    EXPECT_EQ(open.GetFieldType(), FieldType_None);
}

TEST_F(TextDataParserTest, FieldsAreLimitedTo128Characters) {
    char field[200];
    const std::string longest = "  \"" + std::string(122, 'x') + "\"  ";
    ASSERT_EQ(longest.size(), 128u);
    Line parserLine(longest + ",1");
    TextDataParser& parser = parserLine.parser;
    EXPECT_EQ(parser.GetFieldType(), FieldType_String);
    EXPECT_EQ(parser.GetField(field, 129, false), GetFieldResult_OK);
    EXPECT_EQ(std::string(field), "\"" + std::string(122, 'x') + "\"");

    Line tooLongLine(longest + " ,1");
    TextDataParser& tooLong = tooLongLine.parser;
    EXPECT_EQ(tooLong.GetFieldType(), FieldType_Unknown);
    EXPECT_EQ(tooLong.GetField(field, 129, false), GetFieldResult_Error);
    EXPECT_STREQ(field, "");

    // A doubled quote is one character of the field.
    const std::string quotes = "\"" + std::string(126, '"') + "\"";
    EXPECT_EQ(ParserOn(quotes).GetField(field, 66, true), GetFieldResult_OK);
    EXPECT_EQ(std::string(field), "\"" + std::string(63, '"') + "\"");
    EXPECT_EQ(ParserOn(quotes).GetField(field, 65, true), GetFieldResult_Error);
    EXPECT_EQ(ParserOn("abc").GetField(field, 129, true), GetFieldResult_OK);
    Line atEndLine("");
    TextDataParser& atEnd = atEndLine.parser;
    EXPECT_EQ(atEnd.GetField(field, 129, false), GetFieldResult_EndOfData);
}

} // namespace
