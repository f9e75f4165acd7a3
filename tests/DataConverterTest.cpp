// The numbers that fields carry, and records between a CSV line and the ECR's binary form, field
// by field, in both directions: the text and binary parsers and formatters are tested through
// the conversions that use them, and directly only where a conversion cannot reach.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "DataConverter.h"
#include "Decimal.h"
#include "Formatting/TextDataParser.h"
#include "TestSupport.h"

namespace {

using Bytes = std::vector<byte>;

// Bytes written as hexadecimal pairs separated by blanks, "78*3" for three bytes 78.
Bytes FromHex(const std::string& hex) {
    Bytes bytes;
    std::istringstream in(hex);
    for (std::string item; in >> item;) {
        const size_t star = item.find('*');
        const size_t count = star == std::string::npos ? 1 : std::stoul(item.substr(star + 1));
        bytes.insert(bytes.end(), count, static_cast<byte>(std::stoul(item, nullptr, 16)));
    }
    return bytes;
}

const size_t bufferSize = 1024;

// The text of value after change; ToString shows the decimal count, trailing zeros included.
template <typename Change> std::string After(Decimal value, Change change) {
    change(value);
    return value.ToString();
}

// The value text parses to, shown by ToString; "refused" when FromString fails.
std::string Parsed(const std::string& text) {
    Decimal value;
    return value.FromString(text) ? value.ToString() : "refused";
}

TEST(DecimalTest, TextIsParsedStrictlyAndNormalised) {
    // Past the largest value the number wraps around, and the decimal count is kept in a byte
    // (256 digits after the point give 0): nothing is reported.
    const char* const cases[][2] = {{"1.20", "1.2"}, {"", "0"},      {".", "0"},
                                    {"5.", "5"},     {"0.000", "0"}, {"-.5", "-0.5"}};
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(Parsed(text), expected) << text;
    }
    EXPECT_EQ(Parsed("-0123456789"), "-123456789");
    EXPECT_EQ(Parsed("9223372036854775808"), "-9223372036854775808");
    EXPECT_EQ(Parsed("1." + std::string(255, '0') + "1"), "1");
    for (const char* bad :
         {"1..2", "1.2.3", "1-2", "--1", "+1", " 1", "1 ", "1e3", "1,000", "0x10", "1/", "1:"}) {
        EXPECT_EQ(Parsed(bad), "refused") << bad;
    }
    EXPECT_EQ(Decimal(-1, 20).ToString(), "-0.00000000000000000001");
}

TEST(DecimalTest, ScaledIntegerArithmetic) {
    EXPECT_EQ(After({-1200, 3}, [](Decimal& d) { d.Normalize(); }), "-1.2");
    EXPECT_EQ(After({1200, 0}, [](Decimal& d) { d.Normalize(); }), "1200");
    EXPECT_EQ(After({15, 1}, [](Decimal& d) { d.SetDecimalCount(3); }), "1.500");
    EXPECT_EQ(After({-1999, 3}, [](Decimal& d) { d.SetDecimalCount(1); }), "-1.9"); // truncated
    EXPECT_EQ(Compare(Decimal(15, 1), Decimal(150, 2)), 0);
    EXPECT_EQ(Compare(Decimal(15, 1), Decimal(99, 2)), 1); // 1.5 against 0.99, aligned
    EXPECT_EQ(Compare(Decimal(99, 2), Decimal(15, 1)), -1);
    EXPECT_EQ(Decimal(12345, 2).GetDigitCount(), 5);
    EXPECT_EQ(Decimal(-1, 0).GetDigitCount(), 20); // read as unsigned

    EXPECT_EQ(After({125, 2}, [](Decimal& d) { d += Decimal(75, 2); }), "2");
    EXPECT_EQ(After({-3, 3}, [](Decimal& d) { d -= Decimal(-1, 1); }), "0.097");
    EXPECT_EQ((Decimal(15, 1) * Decimal(-4, 0)).ToString(), "-6");
    EXPECT_EQ((Decimal(25, 1) * Decimal(25, 1)).ToString(), "6.25");
    EXPECT_EQ(After({15, 3}, [](Decimal& d) { d = int64_t{-7}; }), "-7");
}

TEST(DecimalTest, RoundingLooksAtTheFirstDroppedDigitOnly) {
    // The value, the decimals kept and the rounded value.
    const std::tuple<Decimal, byte, const char*> cases[] = {
        {{125, 2}, 1, "1.3"},   {{124, 2}, 1, "1.2"},   {{1249, 3}, 1, "1.2"},
        {{-125, 2}, 1, "-1.1"}, {{-121, 2}, 1, "-1.1"}, {{-120, 2}, 1, "-1.2"},
        {{199, 2}, 0, "2"},     {{1001, 3}, 1, "1.0"},  {{125, 2}, 5, "1.25"}};
    for (const auto& [value, places, rounded] : cases) {
        EXPECT_EQ(Round(value, places).ToString(), rounded) << value.ToString();
    }
}

class DataConverterTest : public ::testing::Test {
protected:
    void SetUp() override {
        testsupport::LoadConfiguration(dir.File("missing.ini"));
        DataConverter::Initialize(FileType_CSV);
    }

    // The ECR record of a PC record; empty when it cannot be converted.
    static Bytes ToEcr(const std::string& pc, size_t capacity = bufferSize) {
        Bytes ecr(bufferSize + 1, 0xEE);
        const uint16 length = DataConverter::PcToEcr(reinterpret_cast<const byte*>(pc.data()),
                                                     static_cast<uint16>(pc.size()), ecr.data(),
                                                     static_cast<uint16>(capacity));
        EXPECT_EQ(ecr[capacity], 0xEE) << pc; // never past the capacity
        ecr.resize(length);
        return ecr;
    }

    // The PC record of an ECR record; empty when it cannot be converted (no record converts to
    // an empty line).
    static std::string ToPc(const Bytes& ecr, size_t capacity = bufferSize) {
        Bytes pc(bufferSize + 1, 0xEE);
        const uint16 length = DataConverter::EcrToPc(ecr.data(), static_cast<uint16>(ecr.size()),
                                                     pc.data(), static_cast<uint16>(capacity));
        EXPECT_TRUE(length == 0 || pc[length] == 0); // the zero fill terminates the line
        EXPECT_EQ(pc[capacity], 0xEE);
        return std::string(pc.begin(), pc.begin() + length);
    }

    testsupport::TempDir dir;
};

TEST_F(DataConverterTest, EveryCsvFieldHasOneBinaryForm) {
    // The CSV line, its ECR record, and the line that comes back when it differs. A field holds
    // at most 128 characters, a doubled quote counting once. Hexadecimal digits are not
    // validated: what cannot be read as one gives 0. The first and last characters of text are
    // taken as the quotes, and an open quote runs to the end of the line.
    const std::string x122(122, 'x');
    const std::string rows[][3] = {
        {"255,256,0,-1,-655.36", "0C 01 FF 0C 02 00 01 0C 00 0D 01 80 01 0D 03 82 00 00 01", ""},
        {"-1.5,1.50,0.0,-.5,-", "0D 01 81 0F 0D 01 01 0F 0C 00 0D 01 81 05 0C 00",
         "-1.5,1.5,0,-0.5,0"},
        {"9223372036854775807,-922337203685477580.8", "0C 08 FF*7 7F 0D 08 81 00*7 80", ""},
        {"\"AB\",\"\",\"a\"\"b\",\"a,b;c\"", "0B 41 42 0B 0B 61 22 62 0B 61 2C 62 3B 63", ""},
        {"0x01ab,0x,0xAB", "0E 02 01 AB 0E 00 0E 01 AB", "0x01ab,0x,0xab"},
        {" 7 ,\t\"x\" , 1.50 ", "0C 01 07 0B 78 0D 01 01 0F", "7,\"x\",1.5"},
        {"0xzz7g", "0E 02 00 07", "0x0007"},
        {"\"ab\"c,\"d,e", "0B 61 62 22 0B 64 2C", "\"ab\"\"\",\"d,\""},
        {"1,\"" + x122 + "xxxx\"", "0C 01 01 0B 78*126", ""},
        {"  \"" + x122 + "\"  ", "0B 78*122", "\"" + x122 + "\""},
        {"0x" + std::string(126, 'f'), "0E 3F FF*63", ""},
        {"\"" + x122 + "xxx\"\"\"", "0B 78*125 22", ""},
        {"1,\"" + x122 + "xxxxx\"", "", ""},
        {"  \"" + x122 + "\"   ", "", ""},
        {"1,\"" + x122 + "xxxx\"\"\"", "", ""},
    };
    for (const auto& [pc, hex, changed] : rows) {
        const Bytes ecr = FromHex(hex);
        const std::string back = changed.empty() ? pc : changed;
        // A record may fill the ECR buffer exactly; a line leaves one byte free for the end.
        EXPECT_EQ(ToEcr(pc, ecr.empty() ? bufferSize : ecr.size()), ecr) << pc;
        if (!ecr.empty()) {
            EXPECT_TRUE(ToEcr(pc, ecr.size() - 1).empty()) << pc;
            EXPECT_EQ(ToPc(ecr, back.size() + 1), back);
            EXPECT_TRUE(ToPc(ecr, back.size()).empty()) << back;
        }
    }
    for (const char* refused :
         {"", "1,,2", "1,abc", "1,   ", "1,\"a\tb\"", "\"", "0X1F", "1,12a", "1-2", "1,0x123"}) {
        EXPECT_TRUE(ToEcr(refused).empty()) << refused;
    }
}

TEST_F(DataConverterTest, EcrRecordsBecomeCsvLines) {
    // Text ends at the next tag byte, at a zero byte or at the end of the record. A number has
    // a sign bit and 7 bits of decimals, at most 8 bytes within the record, and no more than
    // 31 characters as text.
    const std::pair<std::string, std::string> rows[] = {
        {"0B 41 42 0B 43", "\"AB\",\"C\""},
        {"0B 61 00 09 0B 63", "\"a\",\"c\""},
        {"0B 1F FF", "\"\x1f\xff\""},
        {"0B 79*127", "\"" + std::string(127, 'y') + "\""},
        {"0C 00 0B 0E 00", "0,\"\",0x"},
        {"0D 00 82", "0.00"},
        {"0D 01 82 7B", "-1.23"},
        {"0C 08 01 02 03 04 05 06 07 08", "578437695752307201"},
        {"0D 01 1D 01", "0." + std::string(28, '0') + "1"},
        {"0E 80 55*128", "0x" + std::string(256, '5')}};
    for (const auto& [ecr, pc] : rows) {
        EXPECT_EQ(ToPc(FromHex(ecr)), pc) << ecr;
    }
    for (const char* refused :
         {"0B 61 1E 62", "0B 79*128", "0C 09 01*9", "0D 02 05 01", "0D 00", "0C", "0D 01 1E 01",
          "0E 81 55*129", "0E 05 01 02 03", "0E", "0A 00", "0F 00", ""}) {
        EXPECT_TRUE(ToPc(FromHex(refused)).empty()) << refused;
    }
}

TEST_F(DataConverterTest, DelimiterIsTheSettingsFirstCharacter) {
    testsupport::LoadConfiguration(dir.File("missing.ini"), {{"Delimiter", ";,"}});
    EXPECT_EQ(ToPc(ToEcr("2;\"a;b,c\";0x01")), "2;\"a;b,c\";0x01");
    EXPECT_TRUE(ToEcr("2,5;1").empty()); // "2,5" is one field, and no number
    testsupport::LoadConfiguration(dir.File("missing.ini"), {{"Delimiter", ""}});
    EXPECT_EQ(ToPc(ToEcr("2,\"a;b\"")), "2,\"a;b\"");
}

TEST_F(DataConverterTest, RawAndBitmapRecordsTravelAsOneBinaryField) {
    for (FileType type : {FileType_RAW, FileType_BMP}) {
        DataConverter::Initialize(type);
        const std::string pcRecord("\x00\x0b\xff raw", 7);
        EXPECT_EQ(ToEcr(pcRecord), FromHex("0E 07 00 0B FF 20 72 61 77"));
        EXPECT_EQ(ToPc(ToEcr(pcRecord)), pcRecord);
        EXPECT_TRUE(ToPc(FromHex("0E 01 41 0E 00")).empty()); // two fields
    }
}

TEST(TextDataParserTest, GettersTakeOnlyTheirOwnKindWithinTheBuffer) {
    // A conversion always offers room for the longest field a line can hold; other callers may
    // not, and text needs a byte more than its characters for the terminator.
    const auto parser = [](const std::string& line) {
        return TextDataParser(reinterpret_cast<const byte*>(line.data()),
                              static_cast<uint16>(line.size()), ',');
    };
    char text[8];
    Decimal number;
    byte bytes[8];
    uint16 length = 0;
    EXPECT_TRUE(parser("\"abc\"").GetString(text, 4));
    EXPECT_FALSE(parser("\"abcd\"").GetString(text, 4));
    EXPECT_FALSE(parser("0x41").GetString(text, 4));
    EXPECT_FALSE(parser("\"7\"").GetNumber(number));
    EXPECT_TRUE(parser("0x41424344").GetBinary(bytes, 4, length));
    EXPECT_FALSE(parser("0x4142434445").GetBinary(bytes, 4, length));
    EXPECT_FALSE(parser("7").GetBinary(bytes, 4, length));
}

} // namespace
