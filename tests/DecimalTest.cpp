#include <gtest/gtest.h>

#include <string>

#include "Decimal.h"

namespace {

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
    const struct {
        Decimal value;
        byte places;
        const char* rounded;
    } cases[] = {{{125, 2}, 1, "1.3"},   {{124, 2}, 1, "1.2"},   {{1249, 3}, 1, "1.2"},
                 {{-125, 2}, 1, "-1.1"}, {{-121, 2}, 1, "-1.1"}, {{-120, 2}, 1, "-1.2"},
                 {{199, 2}, 0, "2"},     {{1001, 3}, 1, "1.0"},  {{125, 2}, 5, "1.25"}};
    for (const auto& c : cases) {
        EXPECT_EQ(Round(c.value, c.places).ToString(), c.rounded) << c.value.ToString();
    }
}

} // namespace
