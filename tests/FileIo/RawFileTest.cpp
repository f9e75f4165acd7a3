#include <gtest/gtest.h>

#include <string>

#include "RawFile.h"
#include "TestSupport.h"

namespace {

std::string Pattern(size_t length) {
    std::string data(length, '\0');
    for (size_t i = 0; i < length; ++i) {
        data[i] = static_cast<char>(i * 7 + 3);
    }
    return data;
}

TEST(RawFileTest, RecordsAre64BytesInAnyOrder) {
    testsupport::TempDir dir;
    const std::string path = dir.File("dump.bin");
    const std::string content = Pattern(130);
    testsupport::WriteFile(path, content);

    RawFileReader reader;
    reader.Open(path);
    char buffer[1024];
    EXPECT_EQ(reader.Read(5, buffer, sizeof(buffer)), 0);
    EXPECT_EQ(reader.Read(2, buffer, sizeof(buffer)), 2);
    EXPECT_EQ(std::string(buffer, 2), content.substr(128));
    EXPECT_EQ(reader.Read(0, buffer, sizeof(buffer)), 64);
    EXPECT_EQ(std::string(buffer, 64), content.substr(0, 64));
    EXPECT_EQ(reader.Read(1, buffer, sizeof(buffer)), 64);
    EXPECT_EQ(std::string(buffer, 64), content.substr(64, 64));
    EXPECT_EQ(reader.Read(3, buffer, sizeof(buffer)), 0);
    EXPECT_EQ(reader.Read(-1, buffer, sizeof(buffer)), 0);
    reader.Close();
    reader.Close();
    EXPECT_EQ(reader.Read(0, buffer, sizeof(buffer)), 0);
}

TEST(RawFileTest, WriterAppendsTheExactBytes) {
    testsupport::TempDir dir;
    const std::string path = dir.File("out.bin");
    testsupport::WriteFile(path, "old content that must go");
    {
        RawFileWriter writer;
        writer.Open(path);
        writer.Write(Pattern(100).data(), 100);
        writer.Write("", 0);
        writer.Write("\r\n\0x", 4);
    } // deleting the writer closes the file
    EXPECT_EQ(testsupport::ReadFile(path), Pattern(100) + std::string("\r\n\0x", 4));
}

} // namespace
