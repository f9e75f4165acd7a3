#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "Exceptions.h"
#include "FileIo.h"
#include "RawFile.h"
#include "TestSupport.h"

namespace {

// "<exit status> <message shown>" of the Exception that action throws; "" when it throws none.
template <typename Action> std::string Failure(Action action) {
    try {
        action();
    } catch (Exception* e) {
        const std::unique_ptr<Exception> owned(e);
        return std::to_string(e->GetReturnCode()) + " " + e->GetDisplayMessage();
    }
    return "";
}

class FileIoTest : public ::testing::Test {
protected:
    void UseFileType(const std::string& value) {
        testsupport::LoadConfiguration(dir.File("missing.ini"), {{"FileType", value}});
    }

    testsupport::TempDir dir;
};

TEST_F(FileIoTest, SettingOverridesSectionOverridesExtension) {
    const struct {
        const char* setting;
        const char* name;
        int section;
        FileType type;
    } cases[] = {
        {"", "plu.csv", 3, FileType_CSV},       {"", "dump.bin", 3, FileType_RAW},
        {"", "dump.BIN", 3, FileType_RAW},      {"", "logo.Bmp", 3, FileType_BMP},
        {"", "dump.raw", 3, FileType_CSV},      {"", "noextension", 3, FileType_CSV},
        {"", "dir.bmp/file", 3, FileType_CSV},  {"", "plu.csv", 195, FileType_RAW},
        {"", "logo.bmp", 202, FileType_RAW},    {"", "plu.csv", 195 + 256, FileType_CSV},
        {"raw", "plu.csv", 3, FileType_RAW},    {"Bmp", "plu.csv", 195, FileType_BMP},
        {"CSV", "dump.bin", 202, FileType_CSV},
    };
    for (const auto& c : cases) {
        UseFileType(c.setting);
        EXPECT_EQ(DetectFileType(c.name, c.section), c.type) << c.setting << " " << c.name;
    }
    for (const char* unsupported : {"BIN", "txt", " CSV"}) {
        UseFileType(unsupported);
        EXPECT_EQ(Failure([] { DetectFileType("plu.csv", 3); }),
                  "10 Configuration error: Unsupported file type");
    }
}

TEST_F(FileIoTest, FactoriesMakeEachKindAndOpenFailuresNameTheFile) {
    const std::string missing = dir.File("no/such/file");
    for (FileType type : {FileType_CSV, FileType_BMP, FileType_RAW}) {
        std::unique_ptr<FileReader> reader(CreateFileReader(type));
        std::unique_ptr<FileWriter> writer(CreateFileWriter(type));
        EXPECT_EQ(reader->GetType(), type);
        EXPECT_EQ(writer->GetType(), type);
        EXPECT_EQ(Failure([&] { reader->Open(missing); }),
                  "13 Unable to open file '" + missing + "'");
        EXPECT_EQ(Failure([&] { writer->Open(missing); }),
                  "13 Unable to open file '" + missing + "'");
    }
    // 3 is the only value beyond the three kinds that a FileType can hold.
    EXPECT_EQ(Failure([] { delete CreateFileReader(static_cast<FileType>(3)); }),
              "99 Internal error");
    EXPECT_EQ(Failure([] { delete CreateFileWriter(static_cast<FileType>(3)); }),
              "99 Internal error");
}

TEST_F(FileIoTest, RawRecordsAre64BytesReadInAnyOrder) {
    std::string content(130, '\0');
    for (size_t i = 0; i < content.size(); ++i) {
        content[i] = static_cast<char>(i * 7 + 3);
    }
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
    EXPECT_EQ(read(-1), "");
    reader.Close();
    reader.Close();
    EXPECT_EQ(read(0), "");
}

TEST_F(FileIoTest, RawWritesAreExactAndChecked) {
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
    // A small write fails only when the buffer is flushed on closing, a large one at once.
    EXPECT_EQ(write("/dev/full", "data"), "13 File '/dev/full' write error");
    EXPECT_EQ(write("/dev/full", std::string(100000, 'x')), "13 File '/dev/full' write error");

    CheckedOutputFile file;
    EXPECT_EQ(Failure([&] { file.Write("x", 1); }), "99 Internal error");
    EXPECT_EQ(Failure([&] { file.Close(); }), "");
}

} // namespace
