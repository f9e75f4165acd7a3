#include <gtest/gtest.h>

#include "AppConfig.h"
#include "IniFile.h"
#include "TestSupport.h"

namespace {

using testsupport::LoadConfiguration;
using testsupport::TempDir;
using testsupport::WriteFile;

class AppConfigTest : public ::testing::Test {
protected:
    std::string Ini(const std::string& content) {
        WriteFile(m_dir.File("TAVO.ini"), content);
        return m_dir.File("TAVO.ini");
    }
    TempDir m_dir;
};

TEST_F(AppConfigTest, MissingFileGivesDefaults) {
    LoadConfiguration(m_dir.File("none.ini"));
    EXPECT_EQ(AppConfig::GetParameter("Delimiter", ","), ",");
    EXPECT_EQ(AppConfig::GetParameter("RetryCount", 1), 1);
    EXPECT_FALSE(AppConfig::HasParameter("IpAddress"));
    EXPECT_EQ(AppConfig::GetEcrSection(), "");
    EXPECT_EQ(IniFile::GetFile(), m_dir.File("none.ini"));
}

TEST_F(AppConfigTest, CommandLineBeatsEcrSectionBeatsCommon) {
    const std::string ini = Ini("[Common]\nTTY=ttyS0\nPassword=common\nRetryCount=2\nDelimiter=;\n"
                                "[ECR_Shop1]\nTTY=ttyUSB0\nPassword=\nRetryCount=4\n");
    LoadConfiguration(ini, {{"ECR", "Shop1"}, {"RetryCount", "7"}});
    EXPECT_EQ(AppConfig::GetEcrSection(), "ECR_Shop1");
    EXPECT_EQ(AppConfig::GetParameter("RetryCount", 1), 7);        // command line
    EXPECT_EQ(AppConfig::GetParameter("TTY", ""), "ttyUSB0");      // ECR section
    EXPECT_EQ(AppConfig::GetParameter("Password", ""), "common");  // empty does not hide Common
    EXPECT_EQ(AppConfig::GetParameter("Delimiter", ","), ";");     // Common
    EXPECT_EQ(AppConfig::GetParameter("Missing", "dflt"), "dflt"); // default
}

TEST_F(AppConfigTest, NumbersFollowStrtolRulesAndOddTextIsReported) {
    const std::string ini = Ini("[Common]\nRetryCount=abc\nA= 12x\nB=-3\nC=\nD= 7 \n");
    LoadConfiguration(ini);
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(AppConfig::GetParameter("RetryCount", 1), 0);
    EXPECT_EQ(AppConfig::GetParameter("RetryCount", 1), 0);
    EXPECT_EQ(AppConfig::GetParameter("A", 1), 12);
    EXPECT_EQ(AppConfig::GetParameter("B", 1), -3);
    EXPECT_EQ(AppConfig::GetParameter("C", 9), 9);
    EXPECT_EQ(AppConfig::GetParameter("D", 9), 7);
    EXPECT_FALSE(AppConfig::HasParameter("C"));
    // Each odd text is reported once, with the value it stands for.
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "tavo: RetryCount=abc: not a whole number; using 0\n"
              "tavo: A=12x: not a whole number; using 12\n");
}

TEST_F(AppConfigTest, RunTimeValuesAndNamesAreCaseSensitive) {
    const std::string ini = Ini("[Common]\nretrycount=5\n");
    LoadConfiguration(ini, {{"retrycount", "3"}});
    // The INI key matches any case; stored values only their exact name.
    EXPECT_EQ(AppConfig::GetParameter("RetryCount", 1), 5);
    EXPECT_EQ(AppConfig::GetParameter("retrycount", 1), 3);
    AppConfig::SetParameter("SerialProtocolVersion", "1", true);
    EXPECT_EQ(AppConfig::GetParameter("SerialProtocolVersion", 3), 1);
    EXPECT_EQ(testsupport::ReadFile(ini), "[Common]\nretrycount=5\n");
}

TEST_F(AppConfigTest, SingleEcrSectionIsTheDefault) {
    LoadConfiguration(Ini("[Common]\nx=1\n[ECR_Till]\nTTY=ttyS3\n"));
    EXPECT_EQ(AppConfig::GetEcrSection(), "ECR_Till");
    EXPECT_EQ(AppConfig::GetParameter("TTY", ""), "ttyS3");

    LoadConfiguration(Ini("[ECR_Till]\n[ECR_Door]\n"));
    EXPECT_EQ(AppConfig::GetEcrSection(), "");

    LoadConfiguration(Ini("[ECR_Till]\n[ECR_Till]\n")); // counted twice: none
    EXPECT_EQ(AppConfig::GetEcrSection(), "");

    LoadConfiguration(Ini("[ecr_Till]\nTTY=x\n")); // prefix is case-sensitive in the scan
    EXPECT_EQ(AppConfig::GetEcrSection(), "");

    LoadConfiguration(Ini("  [ECR_Till]  \r\n"));
    EXPECT_EQ(AppConfig::GetEcrSection(), "ECR_Till");
}

TEST_F(AppConfigTest, DefaultEcrComesFromCommonOnly) {
    LoadConfiguration(Ini("[Common]\nDefaultECR=Door\n[ECR_Till]\n[ECR_Door]\nTTY=ttyS9\n"));
    EXPECT_EQ(AppConfig::GetEcrSection(), "ECR_Door");
    EXPECT_EQ(AppConfig::GetParameter("TTY", ""), "ttyS9");

    LoadConfiguration(Ini("[ECR_Till]\nDefaultECR=Door\n[ECR_Door]\n"));
    EXPECT_EQ(AppConfig::GetEcrSection(), "");

    LoadConfiguration(Ini("[Common]\nDefaultECR=Door\n"), {{"ECR", "Till"}});
    EXPECT_EQ(AppConfig::GetEcrSection(), "ECR_Till");
}

TEST_F(AppConfigTest, EcrNamedOnlyInCommonSelectsTheBarePrefix) {
    LoadConfiguration(Ini("[Common]\nECR=Till\n[ECR_Till]\nTTY=ttyS3\n[ECR_]\nTTY=bare\n"));
    EXPECT_EQ(AppConfig::GetEcrSection(), "ECR_");
    EXPECT_EQ(AppConfig::GetParameter("TTY", ""), "bare");
}

TEST_F(AppConfigTest, EmptyEcrSectionDoesNotReachTheUnnamedSection) {
    LoadConfiguration(Ini("TTY=unnamed\n[Common]\n"));
    EXPECT_EQ(AppConfig::GetEcrSection(), "");
    EXPECT_EQ(AppConfig::GetParameter("TTY", "dflt"), "dflt");
}

TEST_F(AppConfigTest, ScanSeesLongLinesInPieces) {
    // A heading beyond the first 255 characters of a line is still found by the scan, because
    // the line is read in pieces and each piece is trimmed on its own.
    LoadConfiguration(Ini(std::string(255, 'x') + "[ECR_Far]\n"));
    EXPECT_EQ(AppConfig::GetEcrSection(), "ECR_Far");
}

TEST_F(AppConfigTest, ConfigFileDefaultsToTheProgramDirectoryThenEtc) {
    // The test executable's directory holds no TAVO.ini, so the fixed directory is chosen.
    EXPECT_EQ(AppConfig::GetConfigFilePath(), "/etc/tavo/TAVO.ini");
}

} // namespace
