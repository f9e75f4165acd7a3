#include <gtest/gtest.h>

#include <unistd.h>

#include "Ipc.h"
#include "TestSupport.h"

namespace {

// Two runs on one device exclude each other (the end-to-end runs show it) through a lock named
// after the device; without a possible lock file, or when told to skip the guard, a run goes on.
TEST(IpcTest, GuardLocksTheSerialDevice) {
    testsupport::TempDir dir;
    const std::string tty = "ipc" + std::to_string(getpid()); // parallel test runs stay apart
    const std::string tooLong(300, 'x');                      // for any file name
    const struct {
        std::string tty;
        const char* skip;
        std::string registered;
        bool locked;
    } cases[] = {
        {tty, "1", "", false},
        {tty, "0", "Global\\ZEL.TAVO." + tty, true},
        {tooLong, "0", "Global\\ZEL.TAVO." + tooLong, false},
    };
    for (const auto& c : cases) {
        testsupport::LoadConfiguration(
            dir.File("none.ini"),
            {{"TTY", c.tty}, {"SkipInstanceChecking", c.skip}, {"LogFilePath", dir.Path()}});
        CheckOtherTAVOInstances();
        EXPECT_EQ(Ipc::GetCurrentInstanceNameRegistered(), c.registered);
        EXPECT_EQ(Ipc::IsCurrentInstanceActive(), c.locked);
        Ipc::LeaveSingleProcessBlock();
    }
    unlink(Ipc::LockFilePath("/run/lock", "Global\\ZEL.TAVO." + tty).c_str());
}

} // namespace
