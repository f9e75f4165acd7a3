#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "DataConverter.h"
#include "Formatting/TextDataParser.h"
#include "TestSupport.h"

namespace {

const ushort bufferSize = 1024;

class DataConverterTest : public ::testing::Test {
protected:
    void SetUp() override {
        testsupport::LoadConfiguration(dir.File("missing.ini"));
        DataConverter::Initialize(FileType_CSV);
    }
    void TearDown() override { DataConverter::Initialize(FileType_CSV); }

    // The ECR record of a CSV line; empty when it cannot be converted.
    std::vector<byte> ToEcr(const std::string& line) {
        std::vector<byte> ecr(bufferSize, 0xEE);
        const ushort length =
            DataConverter::PcToEcr(reinterpret_cast<const byte*>(line.data()),
                                   static_cast<ushort>(line.size()), ecr.data(), bufferSize);
        ecr.resize(length);
        return ecr;
    }

    // The CSV line of an ECR record; "<failed>" when it cannot be converted.
    std::string ToPc(const std::vector<byte>& record) {
        std::vector<byte> pc(bufferSize, 0xEE);
        const ushort length = DataConverter::EcrToPc(
            record.data(), static_cast<ushort>(record.size()), pc.data(), bufferSize);
        if (length == 0) {
            return "<failed>";
        }
        EXPECT_EQ(pc[length], 0); // the zero fill terminates the line
        return std::string(pc.begin(), pc.begin() + length);
    }

    testsupport::TempDir dir;
};

TEST_F(DataConverterTest, CsvLinesSurviveTheRoundTrip) {
    for (const std::string& line : std::vector<std::string>{
             "1,\"Cola \"\"light\"\", 0,5l\",1.5,-12.345,0x00ff0b0c0d0e,0,\"a;b\"",
             "-1,-0.001,\"\",0x,9223372036854775807,-9223372036854775808",
             "42,\"" + std::string(126, 'x') + "\",0x" + std::string(126, 'f')}) {
        const std::vector<byte> record = ToEcr(line);
        ASSERT_FALSE(record.empty()) << line;
        EXPECT_EQ(ToPc(record), line);
    }
    // Blanks, trailing zeros and upper-case digits come back in their canonical form.
    EXPECT_EQ(ToPc(ToEcr(" 7 ,\t\"x\" , 1.50 ,0xAB, 0.0,")), "7,\"x\",1.5,0xab,0");
}

TEST_F(DataConverterTest, DelimiterComesFromTheSettings) {
    testsupport::LoadConfiguration(dir.File("missing.ini"), {{"Delimiter", ";,"}});
    const std::string line = "2;\"a;b,c\";0x01";
    EXPECT_EQ(ToPc(ToEcr(line)), line);
    EXPECT_TRUE(ToEcr("2,5;1").empty()); // "2,5" is one field, and no number
}

TEST_F(DataConverterTest, CsvRecordsThatCannotBeConverted) {
    EXPECT_TRUE(ToEcr("").empty()); // no fields: success with length 0
    EXPECT_TRUE(ToEcr("1,,2").empty());
    EXPECT_TRUE(ToEcr("1,abc").empty());
    EXPECT_TRUE(ToEcr("1,\"a\tb\"").empty());
    EXPECT_TRUE(ToEcr("1,\"" + std::string(127, 'x') + "\"").empty()); // 129 with quotes
    // A doubled quote counts once against the field limit, so 127 characters of text get
    // through the parser and the field buffer refuses them.
    EXPECT_TRUE(ToEcr("1,\"" + std::string(126, 'x') + "\"\"\"").empty());
    EXPECT_EQ(ToPc(ToEcr("1,\"" + std::string(125, 'x') + "\"\"\"")),
              "1,\"" + std::string(125, 'x') + "\"\"\"");

    // Text of 128 and binary data of 129 bytes do not fit the field buffer.
    std::vector<byte> text = {0x0B};
    text.insert(text.end(), 128, 'y');
    EXPECT_EQ(ToPc(text), "<failed>");
    text.pop_back();
    EXPECT_EQ(ToPc(text), "\"" + std::string(127, 'y') + "\"");
    std::vector<byte> binary = {0x0E, 129};
    binary.insert(binary.end(), 129, 0x5A);
    EXPECT_EQ(ToPc(binary), "<failed>");
    EXPECT_EQ(ToPc({0x0C, 0x01}), "<failed>"); // magnitude past the end
    EXPECT_EQ(ToPc({0x01}), "<failed>");
}

TEST_F(DataConverterTest, ConversionStopsAtTheBufferCapacity) {
    const std::string line = "1234567,\"abcdef\"";
    const auto* pc = reinterpret_cast<const byte*>(line.data());
    byte ecr[12];
    // 0C 03 + 3 bytes, then 0B + 6 characters: 12 bytes exactly.
    EXPECT_EQ(DataConverter::PcToEcr(pc, static_cast<ushort>(line.size()), ecr, 12), 12);
    const std::vector<byte> record(ecr, ecr + 12);
    EXPECT_EQ(DataConverter::PcToEcr(pc, static_cast<ushort>(line.size()), ecr, 11), 0);

    byte out[17];
    EXPECT_EQ(DataConverter::EcrToPc(record.data(), 12, out, 17), 16);
    EXPECT_EQ(DataConverter::EcrToPc(record.data(), 12, out, 16), 0);
}

TEST_F(DataConverterTest, ParserBasedConversionTakesTheRemainingFields) {
    const std::string line = "17,\"X\",2";
    TextDataParser parser(reinterpret_cast<const byte*>(line.data()),
                          static_cast<ushort>(line.size()));
    Decimal code;
    ASSERT_TRUE(parser.GetNumber(code));
    byte ecr[16];
    ASSERT_EQ(DataConverter::PcToEcr(parser, ecr, sizeof(ecr)), 5);
    EXPECT_EQ(ToPc(std::vector<byte>(ecr, ecr + 5)), "\"X\",2");
}

TEST_F(DataConverterTest, RawAndBitmapRecordsTravelAsOneBinaryField) {
    for (FileType type : {FileType_RAW, FileType_BMP}) {
        DataConverter::Initialize(type);
        const std::string pcRecord("\x00\x0b\xff raw", 7);
        const std::vector<byte> record = ToEcr(pcRecord);
        ASSERT_EQ(record.size(), 9u);
        EXPECT_EQ(record[0], 0x0E);
        EXPECT_EQ(record[1], 7);
        EXPECT_EQ(ToPc(record), pcRecord);

        EXPECT_EQ(ToPc({0x0E, 0x01, 0x41, 0x0E, 0x00}), "<failed>"); // two fields
        EXPECT_EQ(ToPc({0x0B, 0x41}), "<failed>");                   // not binary
        EXPECT_EQ(ToPc({}), "<failed>");

        // The length byte keeps only the low 8 bits, so a long record cannot come back whole.
        const std::string longRecord(300, 'r');
        const std::vector<byte> truncated = ToEcr(longRecord);
        ASSERT_EQ(truncated.size(), 302u);
        EXPECT_EQ(truncated[1], 300 - 256);
        EXPECT_EQ(ToPc(truncated), "<failed>");
    }
    DataConverter::Initialize(static_cast<FileType>(3));
    EXPECT_TRUE(ToEcr("1").empty());
    EXPECT_EQ(ToPc({0x0C, 0x00}), "<failed>");
}

} // namespace
