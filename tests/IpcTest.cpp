#include <gtest/gtest.h>

#include <unistd.h>

#include "Ipc.h"
#include "TestSupport.h"

namespace {

// Two runs on one device exclude each other through a lock file named after the device; without
// a possible lock file, or when told to skip the guard, a run goes on.
TEST(IpcTest, GuardLocksTheSerialDevice) {
    EXPECT_EQ(Ipc::LockFilePath("/run/lock", "Global\\ZEL.TAVO.pts/3"),
              "/run/lock/tavo-Global_ZEL.TAVO.pts_3.lock");
    testsupport::TempDir dir;
    // The instance name the guard registers for the device, and whether it took the lock.
    auto guard = [&](const std::string& tty, const char* skip) {
        testsupport::LoadConfiguration(
            dir.File("none.ini"),
            {{"TTY", tty}, {"SkipInstanceChecking", skip}, {"LogFilePath", dir.Path()}});
        CheckOtherTAVOInstances();
        const bool locked = Ipc::IsCurrentInstanceActive();
        Ipc::LeaveSingleProcessBlock();
        return Ipc::GetCurrentInstanceNameRegistered() + (locked ? " locked" : "");
    };
    const std::string tty = "ipc" + std::to_string(getpid()); // parallel test runs stay apart
    Ipc::SetCurrentInstanceName("");
    EXPECT_EQ(guard(tty, "1"), "");
    EXPECT_EQ(guard(tty, ""), "Global\\ZEL.TAVO." + tty + " locked"); // the default
    const std::string tooLong(300, 'x');                              // for any file name
    EXPECT_EQ(guard(tooLong, "0"), "Global\\ZEL.TAVO." + tooLong);

    unlink(Ipc::LockFilePath("/run/lock", "Global\\ZEL.TAVO." + tty).c_str());
}

} // namespace
