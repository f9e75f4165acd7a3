#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <tuple>

#include "FileIo.h"
#include "FileIo/Failure.h"
#include "RawFile.h"
#include "TestSupport.h"

namespace {

class FileIoTest : public ::testing::Test {
protected:
    void UseFileType(const std::string& value) {
        testsupport::LoadConfiguration(dir.File("missing.ini"), {{"FileType", value}});
    }

    testsupport::TempDir dir;
};

TEST_F(FileIoTest, SettingOverridesSectionOverridesExtension) {
    // Setting, file name, section and the kind they give.
    const std::tuple<const char*, const char*, int, FileType> cases[] = {
        {"", "plu.csv", 3, FileType_CSV},      {"", "dump.bin", 3, FileType_RAW},
        {"", "logo.Bmp", 3, FileType_BMP},     {"", "dump.raw", 3, FileType_CSV},
        {"", "dir.bmp/file", 3, FileType_CSV}, {"", "plu.csv", 195, FileType_RAW},
        {"", "logo.bmp", 202, FileType_RAW},   {"raw", "plu.csv", 3, FileType_RAW},
        {"Bmp", "plu.csv", 195, FileType_BMP}, {"CSV", "dump.BIN", 202, FileType_CSV}};
    for (const auto& [setting, name, section, type] : cases) {
        UseFileType(setting);
        EXPECT_EQ(DetectFileType(name, section), type) << setting << " " << name;
    }
    for (const char* unsupported : {"BIN", "txt", " CSV"}) {
        UseFileType(unsupported);
        EXPECT_EQ(Failure([] { DetectFileType("plu.csv", 3); }),
                  "10 Configuration error: Unsupported file type");
    }
}

TEST_F(FileIoTest, FactoriesMakeOnlyTheThreeKinds) {
    for (FileType type : {FileType_CSV, FileType_BMP, FileType_RAW}) {
        EXPECT_EQ(std::unique_ptr<FileReader>(CreateFileReader(type))->GetType(), type);
        EXPECT_EQ(std::unique_ptr<FileWriter>(CreateFileWriter(type))->GetType(), type);
    }
    // 3 is the only value beyond the three kinds that a FileType can hold.
    const FileType invalid = static_cast<FileType>(3);
    EXPECT_EQ(Failure([&] { delete CreateFileReader(invalid); }), "99 Internal error");
    EXPECT_EQ(Failure([&] { delete CreateFileWriter(invalid); }), "99 Internal error");
}

TEST_F(FileIoTest, EveryKindNamesTheFileItCannotOpen) {
    const std::string missing = dir.File("no/such/file");
    const std::string refused = "13 Unable to open file '" + missing + "'";
    for (FileType type : {FileType_CSV, FileType_BMP, FileType_RAW}) {
        std::unique_ptr<FileReader> reader(CreateFileReader(type));
        std::unique_ptr<FileWriter> writer(CreateFileWriter(type));
        EXPECT_EQ(Failure([&] { reader->Open(missing); }), refused);
        EXPECT_EQ(Failure([&] { writer->Open(missing); }), refused);
    }
}

TEST_F(FileIoTest, RawRecordsAre64BytesReadInAnyOrder) {
    const std::string content = std::string(64, 'a') + std::string(64, 'b') + "cd";
    testsupport::WriteFile(dir.File("dump.bin"), content);
    RawFileReader reader;
    reader.Open(dir.File("dump.bin"));
    const auto read = [&reader](int record) {
        char buffer[1024];
        return std::string(buffer, static_cast<size_t>(reader.Read(record, buffer, 1024)));
    };
    EXPECT_EQ(read(5), "");
    EXPECT_EQ(read(2), content.substr(128));
    EXPECT_EQ(read(0), content.substr(0, 64));
    EXPECT_EQ(read(1), content.substr(64, 64));
    reader.Close(); // and again when it goes away
    EXPECT_EQ(read(0), "");
}

TEST_F(FileIoTest, RawWritesAreCheckedToTheDisk) {
    const auto write = [](const std::string& path, const std::string& data) {
        return Failure([&] {
            RawFileWriter writer;
            writer.Open(path);
            writer.Write(data.data(), static_cast<int>(data.size()));
            writer.Write("never", 0);
            writer.Write("never", -1);
            writer.Close();
        });
    };
    const std::string path = dir.File("dump.bin");
    testsupport::WriteFile(path, "older and longer content");
    EXPECT_EQ(write(path, std::string("\r\n\0x", 4)), "");
    EXPECT_EQ(testsupport::ReadFile(path), std::string("\r\n\0x", 4));
    // Devices without a disk behind them refuse fsync; there is nothing to wait for.
    EXPECT_EQ(write("/dev/null", "data"), "");
    // A large write fails at once, before the buffer is flushed on closing.
    EXPECT_EQ(write("/dev/full", std::string(100000, 'x')), "13 File '/dev/full' write error");

    CheckedOutputFile file;
    EXPECT_EQ(Failure([&] { file.Write("x", 1); }), "99 Internal error");
    EXPECT_EQ(Failure([&] { file.Close(); }), "");
}

} // namespace
