// Installs the build into a temporary root and uses what was installed, as a shop PC would.
#include <gtest/gtest.h>

#include "SimulatorSupport.h"

namespace {

using namespace testsupport;

class InstallTest : public ::testing::Test {
protected:
    // Installs the build below the test's root: everything, or only the named component.
    void Install(const char* component = nullptr) {
        std::vector<std::string> args = {"DESTDIR=" + m_root.Path(), CMAKE_EXECUTABLE, "--install",
                                         TAVO_BINARY_DIR, "--prefix=/usr"};
        if (component != nullptr) {
            args.push_back(std::string("--component=") + component);
        }
        const RunResult r = RunProcess("/usr/bin/env", args, 120000);
        ASSERT_EQ(r.exitStatus, 0) << r.output << r.errors;
    }
    std::string Installed(const std::string& path) const { return m_root.Path() + path; }
    TempDir m_root;
};

TEST_F(InstallTest, InstallationIsReadyForUse) {
    // The package is the Runtime component; its postinst makes the log directory for the
    // serial ports' group, which an installation without the package must do by itself.
    ASSERT_NO_FATAL_FAILURE(Install("Runtime"));
    for (const char* path :
         {"/usr/bin/tavo", "/usr/bin/ecrsim", "/usr/share/man/man1/tavo.1.gz",
          "/usr/share/man/man1/ecrsim.1.gz", "/usr/share/bash-completion/completions/tavo",
          "/usr/share/doc/tavo/copyright", "/usr/share/doc/tavo/changelog.Debian.gz",
          "/etc/tavo/TAVO.ini"}) {
        EXPECT_TRUE(FileExists(Installed(path))) << path;
    }
    EXPECT_FALSE(FileExists(Installed("/var/log/tavo")));
    // The installed programs work together: Shop2 of the sample configuration has the password
    // this register asks for.
    EcrSimulator sim({"--password", "1234"}, Installed("/usr/bin/ecrsim"));
    ASSERT_FALSE(sim.Tty().empty());
    const RunResult r = RunProcess(Installed("/usr/bin/tavo"),
                                   {"clear", "3", "/ECR=Shop2", "/TTY=" + sim.Tty(),
                                    "/ConfigFilePath=" + Installed("/etc/tavo/TAVO.ini"),
                                    "/LogFilePath=" + Installed("/logs")});
    EXPECT_EQ(r.exitStatus, 0) << r.output;
    // A configuration in place is the administrator's: installing again keeps it.
    WriteFile(Installed("/etc/tavo/TAVO.ini"), "[Common]\nRetryCount=5\n");
    ASSERT_NO_FATAL_FAILURE(Install());
    EXPECT_TRUE(FileExists(Installed("/var/log/tavo")));
    EXPECT_EQ(ReadFile(Installed("/etc/tavo/TAVO.ini")), "[Common]\nRetryCount=5\n");
}

} // namespace
