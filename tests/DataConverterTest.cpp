#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "DataConverter.h"
#include "Formatting/TextDataParser.h"
#include "TestSupport.h"

namespace {

using Bytes = std::vector<byte>;

const uint16 bufferSize = 1024;

class DataConverterTest : public ::testing::Test {
protected:
    void SetUp() override {
        testsupport::LoadConfiguration(dir.File("missing.ini"));
        DataConverter::Initialize(FileType_CSV);
    }
    void TearDown() override { DataConverter::Initialize(FileType_CSV); }

    // The ECR record of a CSV line; empty when it cannot be converted.
    static Bytes ToEcr(const std::string& line, uint16 capacity = bufferSize) {
        Bytes ecr(bufferSize, 0xEE);
        const uint16 length =
            DataConverter::PcToEcr(reinterpret_cast<const byte*>(line.data()),
                                   static_cast<uint16>(line.size()), ecr.data(), capacity);
        ecr.resize(length);
        return ecr;
    }

    // The CSV line of an ECR record; "<failed>" when it cannot be converted.
    static std::string ToPc(const Bytes& record, uint16 capacity = bufferSize) {
        Bytes pc(bufferSize + 1u, 0xEE);
        const uint16 length = DataConverter::EcrToPc(
            record.data(), static_cast<uint16>(record.size()), pc.data(), capacity);
        if (length == 0) {
            return "<failed>";
        }
        EXPECT_EQ(pc[length], 0); // the zero fill terminates the line
        EXPECT_EQ(pc[capacity], 0xEE);
        return std::string(pc.begin(), pc.begin() + length);
    }

    testsupport::TempDir dir;
};

TEST_F(DataConverterTest, CsvLinesSurviveTheRoundTrip) {
    for (const std::string& line : std::vector<std::string>{
             "1,\"Cola \"\"light\"\", 0,5l\",1.5,-12.345,0x00ff0b0c0d0e,0,\"a;b\"",
             "-1,-0.001,\"\",0x,9223372036854775807,-9223372036854775808",
             "42,\"" + std::string(126, 'x') + "\",0x" + std::string(126, 'f'),
             "1,\"" + std::string(125, 'x') + "\"\"\""}) {
        EXPECT_EQ(ToPc(ToEcr(line)), line);
    }
    // Blanks, trailing zeros and upper-case digits come back in their canonical form.
    EXPECT_EQ(ToPc(ToEcr(" 7 ,\t\"x\" , 1.50 ,0xAB, 0.0,")), "7,\"x\",1.5,0xab,0");

    testsupport::LoadConfiguration(dir.File("missing.ini"), {{"Delimiter", ";,"}});
    EXPECT_EQ(ToPc(ToEcr("2;\"a;b,c\";0x01")), "2;\"a;b,c\";0x01");
    EXPECT_TRUE(ToEcr("2,5;1").empty()); // "2,5" is one field, and no number
}

TEST_F(DataConverterTest, RecordsThatCannotBeConverted) {
    for (const std::string& line :
         {std::string(), std::string("1,,2"), std::string("1,abc"), std::string("1,\"a\tb\""),
          "1,\"" + std::string(127, 'x') + "\"", // 129 characters with the quotes
          // A doubled quote counts once against the field limit, so 127 characters of text
          // get through the parser and the field buffer refuses them.
          "1,\"" + std::string(126, 'x') + "\"\"\""}) {
        EXPECT_TRUE(ToEcr(line).empty()) << line;
    }
    // Text of 128 and binary data of 129 bytes do not fit the field buffer.
    Bytes text = {0x0B};
    text.insert(text.end(), 128, 'y');
    EXPECT_EQ(ToPc(text), "<failed>");
    text.pop_back();
    EXPECT_EQ(ToPc(text), "\"" + std::string(127, 'y') + "\"");
    Bytes binary = {0x0E, 129};
    binary.insert(binary.end(), 129, 0x5A);
    EXPECT_EQ(ToPc(binary), "<failed>");
    EXPECT_EQ(ToPc({0x0C, 0x01}), "<failed>"); // magnitude past the end
    EXPECT_EQ(ToPc({0x01}), "<failed>");

    // 0C 03 + 3 bytes, then 0B + 6 characters: 12 bytes, and 16 characters back.
    const Bytes record = ToEcr("1234567,\"abcdef\"", 12);
    EXPECT_EQ(record.size(), 12u);
    EXPECT_TRUE(ToEcr("1234567,\"abcdef\"", 11).empty());
    EXPECT_EQ(ToPc(record, 17), "1234567,\"abcdef\"");
    EXPECT_EQ(ToPc(record, 16), "<failed>");
}

TEST_F(DataConverterTest, ParserBasedConversionTakesTheRemainingFields) {
    const std::string line = "17,\"X\",2";
    TextDataParser parser(reinterpret_cast<const byte*>(line.data()),
                          static_cast<uint16>(line.size()));
    Decimal code;
    ASSERT_TRUE(parser.GetNumber(code));
    byte ecr[16];
    ASSERT_EQ(DataConverter::PcToEcr(parser, ecr, sizeof(ecr)), 5);
    EXPECT_EQ(ToPc(Bytes(ecr, ecr + 5)), "\"X\",2");
}

TEST_F(DataConverterTest, RawAndBitmapRecordsTravelAsOneBinaryField) {
    for (FileType type : {FileType_RAW, FileType_BMP}) {
        DataConverter::Initialize(type);
        const std::string pcRecord("\x00\x0b\xff raw", 7);
        EXPECT_EQ(ToEcr(pcRecord), (Bytes{0x0E, 7, 0x00, 0x0B, 0xFF, ' ', 'r', 'a', 'w'}));
        EXPECT_EQ(ToPc(ToEcr(pcRecord)), pcRecord);
        EXPECT_EQ(ToPc({0x0E, 0x01, 0x41, 0x0E, 0x00}), "<failed>"); // two fields
        EXPECT_EQ(ToPc({0x0B, 0x41}), "<failed>");                   // not binary
        EXPECT_EQ(ToPc({}), "<failed>");
        // The length byte keeps only the low 8 bits, so a long record cannot come back whole.
        const Bytes truncated = ToEcr(std::string(300, 'r'));
        ASSERT_EQ(truncated.size(), 302u);
        EXPECT_EQ(truncated[1], 300 - 256);
        EXPECT_EQ(ToPc(truncated), "<failed>");
    }
    DataConverter::Initialize(static_cast<FileType>(3));
    EXPECT_TRUE(ToEcr("1").empty());
    EXPECT_EQ(ToPc({0x0C, 0x00}), "<failed>");
}

} // namespace
