// Installs the build into a temporary root and uses what was installed, as a shop PC would.
#include <gtest/gtest.h>

#include <sstream>

#include "AppConfig.h"
#include "SimulatorSupport.h"

namespace {

using testsupport::EcrSimulator;
using testsupport::FileExists;
using testsupport::ReadFile;
using testsupport::RunProcess;
using testsupport::RunResult;
using testsupport::TempDir;
using testsupport::WriteFile;

class InstallTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        root = new TempDir;
        installed = Install();
    }
    static void TearDownTestSuite() {
        delete root;
        root = nullptr;
    }
    static RunResult Install() {
        return RunProcess("/usr/bin/env",
                          {"DESTDIR=" + root->Path(), CMAKE_EXECUTABLE, "--install",
                           TAVO_BINARY_DIR, "--prefix", "/usr"},
                          120000);
    }
    static std::string Installed(const std::string& path) { return root->Path() + path; }

    static TempDir* root;
    static RunResult installed;
};

TempDir* InstallTest::root = nullptr;
RunResult InstallTest::installed;

TEST_F(InstallTest, FilesGoWhereTheyBelongAndTheConfigurationIsKept) {
    ASSERT_EQ(installed.exitStatus, 0) << installed.output << installed.errors;
    for (const char* path :
         {"/usr/bin/tavo", "/usr/bin/ecrsim", "/usr/share/man/man1/tavo.1.gz",
          "/usr/share/man/man1/ecrsim.1.gz", "/usr/share/bash-completion/completions/tavo",
          "/usr/share/doc/tavo/copyright", "/usr/share/doc/tavo/changelog.Debian.gz",
          "/etc/tavo/TAVO.ini", "/var/log/tavo"}) {
        EXPECT_TRUE(FileExists(Installed(path))) << path;
    }
    const std::string config = Installed("/etc/tavo/TAVO.ini");
    const std::string sample = ReadFile(config);
    WriteFile(config, sample + "RetryCount=5\n");
    ASSERT_EQ(Install().exitStatus, 0);
    EXPECT_EQ(ReadFile(config), sample + "RetryCount=5\n");
    WriteFile(config, sample);
}

TEST_F(InstallTest, SampleConfigurationLoadsWithTheIntendedValues) {
    ASSERT_EQ(installed.exitStatus, 0);
    const std::string config = Installed("/etc/tavo/TAVO.ini");
    // The file format knows no comments: a note is a line without '=', which sets nothing.
    std::istringstream lines(ReadFile(config));
    std::string line;
    while (std::getline(lines, line)) {
        if (!line.empty() && line[0] == ';') {
            EXPECT_EQ(line.find('='), std::string::npos) << line;
        }
    }
    testsupport::LoadConfiguration(config);
    EXPECT_EQ(AppConfig::GetEcrSection(), "ECR_Shop1");
    EXPECT_EQ(AppConfig::GetParameter("TTY", ""), "ttyS0");
    EXPECT_FALSE(AppConfig::HasParameter("Password"));
    EXPECT_FALSE(AppConfig::HasParameter("LogFilePath"));
    EXPECT_EQ(AppConfig::GetParameter("Delimiter", ""), ",");
    EXPECT_EQ(AppConfig::GetParameter("RetryCount", -1), 1);
    EXPECT_EQ(AppConfig::GetParameter("SerialProtocolVersion", -1), 3);
    EXPECT_EQ(AppConfig::GetParameter("EcrOperationMaxTime", -1), 2000);
    EXPECT_EQ(AppConfig::GetParameter("DbgErrorLog", -1), 0);

    testsupport::LoadConfiguration(config, {{"ECR", "Shop2"}});
    EXPECT_EQ(AppConfig::GetParameter("TTY", ""), "ttyUSB0");
    EXPECT_EQ(AppConfig::GetParameter("Password", ""), "1234");
    EXPECT_EQ(AppConfig::GetParameter("EcrOperationMaxTime", -1), 5000);
    EXPECT_EQ(AppConfig::GetParameter("RetryCount", -1), 3);
    EXPECT_EQ(AppConfig::GetParameter("SerialProtocolRetryCount", -1), 10);
}

TEST_F(InstallTest, InstalledProgramsWorkTogether) {
    ASSERT_EQ(installed.exitStatus, 0);
    EcrSimulator sim({"--password", "1234"}, Installed("/usr/bin/ecrsim"));
    ASSERT_FALSE(sim.Tty().empty());
    TempDir work;
    WriteFile(work.File("plu.csv"), "1,\"Milk\",0.89\r\n2,\"Bread\",1.5\r\n");
    const std::vector<std::string> settings = {"/ECR=Shop2", "/TTY=" + sim.Tty(),
                                               "/ConfigFilePath=" + Installed("/etc/tavo/TAVO.ini"),
                                               "/LogFilePath=" + work.File("logs")};
    auto run = [&](std::vector<std::string> args) {
        args.insert(args.end(), settings.begin(), settings.end());
        return RunProcess(Installed("/usr/bin/tavo"), args);
    };
    EXPECT_EQ(run({"send", "3", work.File("plu.csv")}).exitStatus, 0);
    const RunResult read = run({"read", "3", work.File("back.csv")});
    EXPECT_EQ(read.exitStatus, 0) << read.output;
    EXPECT_EQ(ReadFile(work.File("back.csv")), "1,\"Milk\",0.89\r\n2,\"Bread\",1.5\r\n");
}

} // namespace
