// Records between a CSV line and the ECR's binary form, field by field, in both directions:
// the text and binary parsers and formatters are tested through the conversions that use them.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "DataConverter.h"
#include "TestSupport.h"

namespace {

using Bytes = std::vector<byte>;

// Bytes written as hexadecimal pairs separated by blanks, "78*3" for three bytes 78.
Bytes FromHex(const std::string& hex) {
    Bytes bytes;
    std::istringstream in(hex);
    unsigned value = 0;
    while (in >> std::hex >> value) {
        unsigned count = 1;
        if (in.peek() == '*' && in.ignore()) {
            in >> std::dec >> count;
        }
        bytes.insert(bytes.end(), count, static_cast<byte>(value));
    }
    return bytes;
}

const size_t bufferSize = 1024;

class DataConverterTest : public ::testing::Test {
protected:
    void SetUp() override {
        testsupport::LoadConfiguration(dir.File("missing.ini"));
        DataConverter::Initialize(FileType_CSV);
    }
    void TearDown() override { DataConverter::Initialize(FileType_CSV); }

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

    // The PC record of an ECR record; "<failed>" when it cannot be converted.
    static std::string ToPc(const Bytes& ecr, size_t capacity = bufferSize) {
        Bytes pc(bufferSize + 1, 0xEE);
        const uint16 length = DataConverter::EcrToPc(ecr.data(), static_cast<uint16>(ecr.size()),
                                                     pc.data(), static_cast<uint16>(capacity));
        if (length == 0) {
            return "<failed>";
        }
        EXPECT_EQ(pc[length], 0); // the zero fill terminates the line
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
        EXPECT_EQ(ToEcr(pc), ecr) << pc;
        if (ecr.empty()) {
            continue;
        }
        EXPECT_EQ(ToPc(ecr), back);
        // A record may fill the ECR buffer exactly; a line leaves one byte free for the end.
        EXPECT_EQ(ToEcr(pc, ecr.size()), ecr) << pc;
        EXPECT_TRUE(ToEcr(pc, ecr.size() - 1).empty()) << pc;
        EXPECT_EQ(ToPc(ecr, back.size() + 1), back);
        EXPECT_EQ(ToPc(ecr, back.size()), "<failed>") << back;
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
        EXPECT_EQ(ToPc(FromHex(refused)), "<failed>") << refused;
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
        EXPECT_EQ(ToPc(FromHex("0E 01 41 0E 00")), "<failed>"); // two fields
    }
}

} // namespace
