#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "Exceptions.h"
#include "FileIo.h"
#include "TestSupport.h"

namespace {

class FileIoTest : public ::testing::Test {
protected:
    void SetUp() override { testsupport::LoadConfiguration(dir.File("missing.ini")); }

    void UseFileType(const std::string& value) {
        testsupport::LoadConfiguration(dir.File("missing.ini"), {{"FileType", value}});
    }

    testsupport::TempDir dir;
};

TEST_F(FileIoTest, ExtensionDecidesWithoutSetting) {
    EXPECT_EQ(DetectFileType("plu.csv", 3), FileType_CSV);
    EXPECT_EQ(DetectFileType("dump.bin", 3), FileType_RAW);
    EXPECT_EQ(DetectFileType("dump.BIN", 3), FileType_RAW);
    EXPECT_EQ(DetectFileType("logo.Bmp", 3), FileType_BMP);
    EXPECT_EQ(DetectFileType("dump.raw", 3), FileType_CSV);
    EXPECT_EQ(DetectFileType("noextension", 3), FileType_CSV);
    EXPECT_EQ(DetectFileType("dir.bmp/file", 3), FileType_CSV);
    // Sections 195 and 202 are raw whatever the name.
    EXPECT_EQ(DetectFileType("plu.csv", 195), FileType_RAW);
    EXPECT_EQ(DetectFileType("logo.bmp", 202), FileType_RAW);
    EXPECT_EQ(DetectFileType("plu.csv", 195 + 256), FileType_CSV);
}

TEST_F(FileIoTest, SettingOverridesEverything) {
    UseFileType("raw");
    EXPECT_EQ(DetectFileType("plu.csv", 3), FileType_RAW);
    UseFileType("Bmp");
    EXPECT_EQ(DetectFileType("plu.csv", 195), FileType_BMP);
    UseFileType("CSV");
    EXPECT_EQ(DetectFileType("dump.bin", 202), FileType_CSV);

    for (const char* unsupported : {"BIN", "txt", " CSV"}) {
        UseFileType(unsupported);
        try {
            DetectFileType("plu.csv", 3);
            ADD_FAILURE() << unsupported << " accepted";
        } catch (Exception* e) {
            EXPECT_EQ(e->GetDisplayMessage(),
                      ConfigurationException("Unsupported file type").GetDisplayMessage());
            EXPECT_EQ(e->GetReturnCode(), ReturnCode_ConfigError);
            delete e;
        }
    }
}

TEST_F(FileIoTest, FactoriesRefuseAnInvalidKind) {
    // 3 is the only value beyond the three kinds that a FileType can hold.
    const FileType invalid = static_cast<FileType>(3);
    try {
        delete CreateFileReader(invalid);
        ADD_FAILURE() << "reader of an invalid type";
    } catch (Exception* e) {
        EXPECT_EQ(e->GetReturnCode(), ReturnCode_InternalError);
        EXPECT_NE(e->GetLogMessage().find("src/FileIo.cpp"), std::string::npos);
        delete e;
    }
    try {
        delete CreateFileWriter(invalid);
        ADD_FAILURE() << "writer of an invalid type";
    } catch (Exception* e) {
        EXPECT_EQ(e->GetReturnCode(), ReturnCode_InternalError);
        delete e;
    }
}

TEST_F(FileIoTest, OpenFailuresNameTheFile) {
    const std::string missing = dir.File("no/such/file");
    for (FileType type : {FileType_CSV, FileType_BMP, FileType_RAW}) {
        std::unique_ptr<FileReader> reader(CreateFileReader(type));
        std::unique_ptr<FileWriter> writer(CreateFileWriter(type));
        for (int side = 0; side < 2; ++side) {
            try {
                if (side == 0) {
                    reader->Open(missing);
                } else {
                    writer->Open(missing);
                }
                ADD_FAILURE() << "opened " << missing;
            } catch (Exception* e) {
                EXPECT_EQ(e->GetDisplayMessage(), "Unable to open file '" + missing + "'");
                EXPECT_EQ(e->GetReturnCode(), ReturnCode_FileIoError);
                delete e;
            }
        }
    }
}

} // namespace
