#include "EcrComm/CommChannel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <termios.h>

#include "EcrComm/LinkTestSupport.h"
#include "TestSupport.h"

using namespace linktest;
using ::testing::HasSubstr;

TEST(CommChannelTest, NetworkChannelsAndUnknownTypesAreInternalErrors) {
    std::string log;
    for (CommChannelType type : {CommChannel_Ethernet, CommChannel_EthernetWithTC}) {
        SelectCommChannel(type);
        EXPECT_EQ(ErrorOf([] { CommChannel_Open(); }, &log), internalError);
        EXPECT_THAT(log, HasSubstr("'src/EcrComm/CommChannels/Linux/TCP.cpp'"));
    }
    EXPECT_EQ(ErrorOf([] { SelectCommChannel(static_cast<CommChannelType>(4)); }, &log),
              internalError);
    EXPECT_THAT(log, HasSubstr("'src/EcrComm/CommChannel.cpp'"));
    SelectCommChannel(CommChannel_Ethernet); // leave a usable channel behind
}

TEST(CommChannelTest, ReplacingAChannelDoesNotCloseIt) {
    testsupport::TempDir dir;
    PseudoTerminal pty;
    testsupport::LoadConfiguration(dir.File("TAVO.ini"), {{"TTY", pty.TtyName()}});
    termios settings;
    ASSERT_EQ(tcgetattr(pty.Master(), &settings), 0);
    ASSERT_NE(settings.c_lflag & ICANON, 0u);

    SelectCommChannel(CommChannel_SerialPort);
    ASSERT_EQ(ErrorOf([] { CommChannel_Open(); }), "nothing thrown");
    SelectCommChannel(CommChannel_Ethernet);
    // Still in the raw settings of the open port: nobody restored the device's own.
    ASSERT_EQ(tcgetattr(pty.Master(), &settings), 0);
    EXPECT_EQ(settings.c_lflag & ICANON, 0u);
}
