#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Formatting/TextDataFormatter.h"
#include "TestSupport.h"

namespace {

// The line a formatter holds; the buffer has a guard byte beyond its capacity.
struct Line {
    explicit Line(uint16 capacity)
        : buffer(capacity + 1u, '#'), formatter(buffer.data(), capacity) {}
    std::string Text() {
        EXPECT_EQ(buffer.back(), '#');
        return std::string(buffer.begin(), buffer.begin() + formatter.GetLength());
    }
    std::vector<byte> buffer;
    TextDataFormatter formatter;
};

TEST(TextDataFormatterTest, FieldsAreWrittenOnlyWhileTheyFit) {
    testsupport::TempDir dir;
    testsupport::LoadConfiguration(dir.File("missing.ini"));
    const byte data[] = {0x01, 0xAB};
    // One byte of the buffer stays free.
    EXPECT_FALSE(Line(6).formatter.AddString("a\"b")); // "a""b" is 6 characters
    Line fits(7);
    ASSERT_TRUE(fits.formatter.AddString("a\"b"));
    EXPECT_FALSE(fits.formatter.AddDelimiter());
    EXPECT_EQ(fits.Text(), "\"a\"\"b\"");
    Line delimiter(7);
    ASSERT_TRUE(delimiter.formatter.AddNumber(Decimal(12345, 0)));
    EXPECT_TRUE(delimiter.formatter.AddDelimiter());
    EXPECT_EQ(delimiter.Text(), "12345,");

    // The delimiter stays when the field after it does not fit.
    Line partial(8);
    ASSERT_TRUE(partial.formatter.AddNumber(Decimal(1, 0)));
    EXPECT_FALSE(partial.formatter.AddBinary(data, 2)); // 1,0x01ab needs 8 + 1 bytes
    EXPECT_EQ(partial.Text(), "1,");
    Line number(3);
    EXPECT_FALSE(number.formatter.AddNumber(Decimal(-15, 1)));
    EXPECT_TRUE(number.formatter.AddNumber(Decimal(15, 0)));
    EXPECT_EQ(number.Text(), "15");

    // A number whose text needs 32 characters or more is refused whatever the room.
    EXPECT_FALSE(Line(200).formatter.AddNumber(Decimal(1, 40)));
}

} // namespace
