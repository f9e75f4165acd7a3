#include <gtest/gtest.h>

#include <string>
#include <tuple>

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

TEST(RawFileTest, RecordsAre64BytesInAnyOrderAndWritesAreExact) {
    testsupport::TempDir dir;
    const std::string path = dir.File("dump.bin");
    const std::string content = Pattern(130);
    testsupport::WriteFile(path, content);
    RawFileReader reader;
    reader.Open(path);
    char buffer[1024];
    // Record number and the offset and length it must give, read out of order.
    const std::tuple<int, size_t, int> reads[] = {{5, 0, 0},   {2, 128, 2}, {0, 0, 64},
                                                  {1, 64, 64}, {3, 0, 0},   {-1, 0, 0}};
    for (const auto& [record, offset, length] : reads) {
        ASSERT_EQ(reader.Read(record, buffer, sizeof(buffer)), length) << record;
        EXPECT_EQ(std::string(buffer, static_cast<size_t>(length)),
                  content.substr(offset, static_cast<size_t>(length)))
            << record;
    }
    reader.Close();
    reader.Close();
    EXPECT_EQ(reader.Read(0, buffer, sizeof(buffer)), 0);

    {
        RawFileWriter writer;
        writer.Open(path);
        writer.Write(Pattern(100).data(), 100);
        writer.Write("", 0);
        writer.Write("\r\n\0x", 4);
    } // deleting the writer closes the file, whose old content is gone
    EXPECT_EQ(testsupport::ReadFile(path), Pattern(100) + std::string("\r\n\0x", 4));
}

} // namespace
