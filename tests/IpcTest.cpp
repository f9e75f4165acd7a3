#include <gtest/gtest.h>

#include "AppConfig.h"
#include "Ipc.h"
#include "TestSupport.h"

namespace {

TEST(IpcTest, InstanceIsNamedAfterTheSerialDevice) {
    testsupport::TempDir dir;
    testsupport::LoadConfiguration(dir.File("none.ini"));
    EXPECT_EQ(GetCurrentInstanceName(), "Global\\ZEL.TAVO");
    testsupport::LoadConfiguration(dir.File("none.ini"), {{"TTY", "ttyS0"}});
    EXPECT_EQ(GetCurrentInstanceName(), "Global\\ZEL.TAVO.ttyS0");
}

TEST(IpcTest, GuardRegistersUnlessSkipped) {
    testsupport::TempDir dir;
    Ipc::SetCurrentInstanceName("");
    testsupport::LoadConfiguration(dir.File("none.ini"),
                                   {{"TTY", "ttyS1"}, {"SkipInstanceChecking", "1"}});
    CheckOtherTAVOInstances();
    EXPECT_EQ(Ipc::GetCurrentInstanceNameRegistered(), "");
    testsupport::LoadConfiguration(dir.File("none.ini"), {{"TTY", "ttyS1"}});
    CheckOtherTAVOInstances();
    EXPECT_EQ(Ipc::GetCurrentInstanceNameRegistered(), "Global\\ZEL.TAVO.ttyS1");
    Ipc::LeaveSingleProcessBlock();
}

TEST(IpcTest, ServerModeFailsInItsDefinedWay) {
    testsupport::TempDir dir;
    testsupport::LoadConfiguration(dir.File("none.ini"));
    EXPECT_EQ(RunServer(), ReturnCode_InternalError);
    EXPECT_EQ(Execute_Server(2), ReturnCode_UnknownCommand);
    EXPECT_EQ(Execute_Server(0), ReturnCode_UnknownCommand);
}

} // namespace
