#include <gtest/gtest.h>

#include "AppConfig.h"
#include "TestSupport.h"
#include "Tools.h"

namespace {

using namespace testsupport;

class AppConfigTest : public ::testing::Test {
protected:
    std::string Ini(const std::string& content) {
        WriteFile(m_dir.File("TAVO.ini"), content);
        return m_dir.File("TAVO.ini");
    }
    TempDir m_dir;
};

TEST_F(AppConfigTest, CommandLineBeatsEcrSectionBeatsCommon) {
    LoadConfiguration(Ini("TTY=unnamed\n[Common]\nTTY=ttyS0\nPassword=common\nRetryCount=2\n"
                          "[ECR_Shop1]\nTTY=ttyUSB0\nPassword=\nRetryCount=4\n"),
                      {{"ECR", "Shop1"}, {"RetryCount", "7"}});
    EXPECT_EQ(AppConfig::GetParameter("RetryCount", 1), 7);       // command line
    EXPECT_EQ(AppConfig::GetParameter("TTY", ""), "ttyUSB0");     // ECR section
    EXPECT_EQ(AppConfig::GetParameter("Password", ""), "common"); // empty does not hide Common
    // Without an ECR section the keys before the first heading are not reached either.
    LoadConfiguration(Ini("TTY=unnamed\n[Common]\n"));
    EXPECT_EQ(AppConfig::GetParameter("TTY", "dflt"), "dflt");
}

TEST_F(AppConfigTest, OddNumberTextIsReportedOnceWithTheValueUsed) {
    // Blanks after a number reach it from the command line only: the INI reader trims them.
    LoadConfiguration(Ini("[Common]\nRetryCount=abc\nA= 12x\n"), {{"D", "7 \t"}});
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(AppConfig::GetParameter("RetryCount", 1), 0);
    EXPECT_EQ(AppConfig::GetParameter("RetryCount", 1), 0);
    EXPECT_EQ(AppConfig::GetParameter("A", 1), 12);
    EXPECT_EQ(AppConfig::GetParameter("D", 9), 7);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "tavo: RetryCount=abc: not a whole number; using 0\n"
              "tavo: A=12x: not a whole number; using 12\n");
}

TEST_F(AppConfigTest, EcrSectionComesFromTheCommandLineThenDefaultEcrThenTheOnlyOne) {
    const struct {
        std::string ini;
        std::string ecrOnCommandLine;
        std::string section;
    } cases[] = {
        {"[Common]\nx=1\n[ECR_Till]\n", "", "ECR_Till"}, // the only one
        {"[ECR_Till]\n[ECR_Till]\n", "", ""},            // counted twice
        {"[ecr_Till]\n", "", ""},                        // the prefix is case-sensitive in the scan
        {"  [ECR_Till]  \r\n", "", "ECR_Till"},
        {std::string(255, 'x') + "[ECR_Far]\n", "", "ECR_Far"}, // a long line seen in pieces
        {"[Common]\nDefaultECR=Door\n[ECR_Till]\n", "", "ECR_Door"},
        {"[ECR_Till]\nDefaultECR=Door\n", "", "ECR_Till"}, // DefaultECR counts in Common only
        {"[Common]\nDefaultECR=Door\n", "Till", "ECR_Till"},
        {"[Common]\nECR=Till\n[ECR_Till]\n", "", "ECR_"}, // ECR counts on the command line only
    };
    for (const auto& c : cases) {
        LoadConfiguration(Ini(c.ini), {{"ECR", c.ecrOnCommandLine}});
        EXPECT_EQ(AppConfig::GetEcrSection(), c.section) << c.ini;
    }
    LoadConfiguration(m_dir.File("none.ini"));
    EXPECT_EQ(AppConfig::GetEcrSection(), "");
}

TEST_F(AppConfigTest, ConfigFileDefaultsToTheProgramDirectoryThenEtc) {
    // The test executable's directory holds no TAVO.ini, so the fixed directory is chosen.
    EXPECT_TRUE(File::Exists(GetAppDirectory() + "tavo_tests"));
    EXPECT_EQ(AppConfig::GetConfigFilePath(), "/etc/tavo/TAVO.ini");
}

} // namespace
