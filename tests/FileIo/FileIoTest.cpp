#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "Exceptions.h"
#include "FileIo.h"
#include "TestSupport.h"

namespace {

// The exception an action throws, owned by the caller; null when it throws none.
template <typename Action> std::unique_ptr<Exception> Thrown(Action action) {
    try {
        action();
    } catch (Exception* e) {
        return std::unique_ptr<Exception>(e);
    }
    return nullptr;
}

class FileIoTest : public ::testing::Test {
protected:
    void UseFileType(const std::string& value) {
        testsupport::LoadConfiguration(dir.File("missing.ini"), {{"FileType", value}});
    }

    testsupport::TempDir dir;
};

TEST_F(FileIoTest, SettingOverridesSectionOverridesExtension) {
    testsupport::LoadConfiguration(dir.File("missing.ini"));
    const struct {
        const char* name;
        int section;
        FileType type;
    } byName[] = {{"plu.csv", 3, FileType_CSV},      {"dump.bin", 3, FileType_RAW},
                  {"dump.BIN", 3, FileType_RAW},     {"logo.Bmp", 3, FileType_BMP},
                  {"dump.raw", 3, FileType_CSV},     {"noextension", 3, FileType_CSV},
                  {"dir.bmp/file", 3, FileType_CSV}, {"plu.csv", 195, FileType_RAW},
                  {"logo.bmp", 202, FileType_RAW},   {"plu.csv", 195 + 256, FileType_CSV}};
    for (const auto& c : byName) {
        EXPECT_EQ(DetectFileType(c.name, c.section), c.type) << c.name << " " << c.section;
    }

    UseFileType("raw");
    EXPECT_EQ(DetectFileType("plu.csv", 3), FileType_RAW);
    UseFileType("Bmp");
    EXPECT_EQ(DetectFileType("plu.csv", 195), FileType_BMP);
    UseFileType("CSV");
    EXPECT_EQ(DetectFileType("dump.bin", 202), FileType_CSV);
    for (const char* unsupported : {"BIN", "txt", " CSV"}) {
        UseFileType(unsupported);
        const std::unique_ptr<Exception> e = Thrown([] { DetectFileType("plu.csv", 3); });
        ASSERT_NE(e, nullptr) << unsupported;
        EXPECT_EQ(e->GetDisplayMessage(),
                  ConfigurationException("Unsupported file type").GetDisplayMessage());
        EXPECT_EQ(e->GetReturnCode(), ReturnCode_ConfigError);
    }
}

TEST_F(FileIoTest, FactoriesRefuseAnInvalidKindAndOpenFailuresNameTheFile) {
    // 3 is the only value beyond the three kinds that a FileType can hold.
    const FileType invalid = static_cast<FileType>(3);
    for (const std::unique_ptr<Exception>& e :
         {Thrown([&] { delete CreateFileReader(invalid); }),
          Thrown([&] { delete CreateFileWriter(invalid); })}) {
        ASSERT_NE(e, nullptr);
        EXPECT_EQ(e->GetReturnCode(), ReturnCode_InternalError);
        EXPECT_NE(e->GetLogMessage().find("src/FileIo.cpp"), std::string::npos);
    }

    const std::string missing = dir.File("no/such/file");
    for (FileType type : {FileType_CSV, FileType_BMP, FileType_RAW}) {
        std::unique_ptr<FileReader> reader(CreateFileReader(type));
        std::unique_ptr<FileWriter> writer(CreateFileWriter(type));
        for (const std::unique_ptr<Exception>& e :
             {Thrown([&] { reader->Open(missing); }), Thrown([&] { writer->Open(missing); })}) {
            ASSERT_NE(e, nullptr) << type;
            EXPECT_EQ(e->GetDisplayMessage(), "Unable to open file '" + missing + "'");
            EXPECT_EQ(e->GetReturnCode(), ReturnCode_FileIoError);
        }
    }
}

} // namespace
