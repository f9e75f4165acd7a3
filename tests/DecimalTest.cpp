#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>

#include "Decimal.h"
#include "OLVE_Compatibility.h"

namespace {

const int64_t int64Min = std::numeric_limits<int64_t>::min();

void ExpectParts(const Decimal& value, int64_t num, int dec) {
    EXPECT_EQ(value.ToInt64(), num);
    EXPECT_EQ(value.GetDecimalCount(), dec);
}

void ExpectParsed(const std::string& text, int64_t num, int dec) {
    Decimal value;
    EXPECT_TRUE(value.FromString(text)) << text;
    ExpectParts(value, num, dec);
}

TEST(DecimalTest, PrintingAndStrictParsing) {
    EXPECT_EQ(Decimal(100, 2).ToString(), "1.00");
    EXPECT_EQ(Decimal(-5, 1).ToString(), "-0.5");
    EXPECT_EQ(Decimal(0, 3).ToString(), "0.000");
    EXPECT_EQ(Decimal(-1, 20).ToString(), "-0.00000000000000000001");

    ExpectParsed("1.20", 12, 1);
    ExpectParsed("", 0, 0);
    ExpectParsed(".", 0, 0);
    ExpectParsed("5.", 5, 0);
    ExpectParsed("0.000", 0, 0);
    ExpectParsed("-.5", -5, 1);
    // Past the largest value the number wraps around; nothing is reported.
    ExpectParsed("9223372036854775808", int64Min, 0);
    ExpectParsed("18446744073709551617", 1, 0);
    // The decimal count is the length arithmetic in a byte: 256 digits after the point give 0.
    ExpectParsed("1." + std::string(255, '0') + "1", 1, 0);
    Decimal value;
    for (const char* bad :
         {"1..2", "1.2.3", "1-2", "--1", "+1", " 1", "1 ", "1e3", "1,000", "12a", "0x10"}) {
        EXPECT_FALSE(value.FromString(bad)) << bad;
    }
}

TEST(DecimalTest, ScalingComparingAndArithmetic) {
    Decimal value(-1200, 3);
    value.Normalize();
    ExpectParts(value, -12, 1);
    value = Decimal(0, 3);
    value.Normalize();
    ExpectParts(value, 0, 0);
    value = Decimal(15, 1);
    value.SetDecimalCount(3);
    ExpectParts(value, 1500, 3);
    value = Decimal(-1999, 3);
    value.SetDecimalCount(1);
    ExpectParts(value, -19, 1); // toward zero, no rounding
    Decimal left(15, 1);
    Decimal right(3, 3);
    Decimal::AlignDecimals(left, right);
    ExpectParts(left, 1500, 3);
    ExpectParts(right, 3, 3);

    EXPECT_EQ(Compare(Decimal(15, 1), Decimal(150, 2)), 0);
    EXPECT_EQ(Compare(Decimal(151, 2), Decimal(15, 1)), 1);
    EXPECT_EQ(Compare(Decimal(-2, 0), Decimal(-15, 1)), -1);

    Decimal sum(125, 2);
    sum += Decimal(75, 2);
    ExpectParts(sum, 2, 0);
    Decimal difference(1, 0);
    difference -= Decimal(25, 2);
    ExpectParts(difference, 75, 2);
    ExpectParts(Decimal(15, 1) * Decimal(-4, 0), -6, 0);
    ExpectParts(Decimal(25, 1) * Decimal(25, 1), 625, 2);
    value = int64_t{-7};
    ExpectParts(value, -7, 0);
}

TEST(DecimalTest, RoundingIsHalfUpAndNegativeValuesMoveUp) {
    ExpectParts(Round(Decimal(125, 2), 1), 13, 1);
    ExpectParts(Round(Decimal(124, 2), 1), 12, 1);
    ExpectParts(Round(Decimal(1249, 3), 1), 12, 1); // only the first dropped digit counts
    ExpectParts(Round(Decimal(-125, 2), 1), -11, 1);
    ExpectParts(Round(Decimal(-127, 2), 1), -11, 1);
    ExpectParts(Round(Decimal(-120, 2), 1), -12, 1);
    ExpectParts(Round(Decimal(199, 2), 0), 2, 0);
    ExpectParts(Round(Decimal(100, 2), 1), 10, 1); // exact count, not normalised
    ExpectParts(Round(Decimal(125, 2), 5), 125, 2);
}

TEST(DecimalTest, CountsAndSerialisedMagnitudes) {
    EXPECT_EQ(Decimal(12345, 2).GetDigitCount(), 5);
    EXPECT_EQ(Decimal(-1, 0).GetDigitCount(), 20); // read as unsigned
    EXPECT_EQ(Decimal().GetDataByteCount(), 0);
    EXPECT_EQ(Decimal(255, 0).GetDataByteCount(), 1);
    EXPECT_EQ(Decimal(256, 0).GetDataByteCount(), 2);
    EXPECT_EQ(Decimal(-65535, 3).GetDataByteCount(), 2);
    EXPECT_EQ(Decimal(int64Min, 0).GetDataByteCount(), 8);

    byte buf[8] = {};
    bool negative = false;
    byte decimals = 9;
    Decimal(-300, 0).Serialize(buf, 2, negative, decimals);
    EXPECT_EQ(std::string(buf, buf + 2), "\x2c\x01");
    EXPECT_TRUE(negative);
    EXPECT_EQ(decimals, 0);
    std::memset(buf, 0xAA, sizeof(buf));
    Decimal(int64Min, 4).Serialize(buf, 8, negative, decimals);
    EXPECT_EQ(std::string(buf, buf + 8), std::string("\0\0\0\0\0\0\0\x80", 8));
    EXPECT_EQ(decimals, 4);

    Decimal restored;
    restored.Deserialize(buf, 8, true, 0);
    EXPECT_EQ(restored.ToInt64(), int64Min);
    const byte bytes[] = {0x2C, 0x01, 0xFF};
    restored.Deserialize(bytes, 2, true, 1);
    ExpectParts(restored, -300, 1); // not normalised
    restored.Deserialize(bytes + 2, 1, false, 2);
    EXPECT_EQ(restored.ToString(), "2.55");
}

TEST(DecimalTest, OlderStringFunctions) {
    Decimal value;
    EXPECT_TRUE(StringToDecimal("-0.50", 0, value));
    ExpectParts(value, -5, 1);
    EXPECT_FALSE(StringToDecimal("1-2", 0, value));

    char text[6] = "xxxxx";
    EXPECT_FALSE(DecimalToString(text, 5, Decimal(-1234, 2))); // "-12.34" needs 7 bytes
    EXPECT_STREQ(text, "xxxxx");
    EXPECT_FALSE(DecimalToString(text, 6, Decimal(-1234, 2)));
    EXPECT_TRUE(DecimalToString(text, 6, Decimal(1234, 2)));
    EXPECT_STREQ(text, "12.34");

    char field[] = " \t \"a b\"\t ";
    EXPECT_STREQ(StrTrim(field, " \t"), "\"a b\"");
    char blank[] = " \t ";
    EXPECT_STREQ(StrTrim(blank, " \t"), "");
    char untouched[] = "abc";
    EXPECT_EQ(StrTrim(untouched, " "), untouched);
    EXPECT_STREQ(untouched, "abc");
}

} // namespace
