#include <gtest/gtest.h>

#include "Ipc.h"
#include "TestSupport.h"

namespace {

// Two runs on one device exclude each other (the end-to-end tests show it) unless told not to.
TEST(IpcTest, GuardIsSkippedWhenAsked) {
    testsupport::TempDir dir;
    testsupport::LoadConfiguration(dir.File("none.ini"),
                                   {{"TTY", "x"}, {"SkipInstanceChecking", "1"}});
    CheckOtherTAVOInstances();
    EXPECT_EQ(Ipc::GetCurrentInstanceNameRegistered(), "");
    EXPECT_FALSE(Ipc::IsCurrentInstanceActive());
}

} // namespace
