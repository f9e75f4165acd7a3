#include "EcrComm/CommChannel.h"

#include <gtest/gtest.h>
#include <termios.h>

#include "EcrComm/LinkTestSupport.h"
#include "TestSupport.h"

using namespace linktest;

TEST(CommChannelTest, NetworkChannelsAndUnknownTypesAreInternalErrors) {
    for (CommChannelType type : {CommChannel_Ethernet, CommChannel_EthernetWithTC}) {
        SelectCommChannel(type);
        EXPECT_EQ(ErrorOf([] { CommChannel_Open(); }), internalError);
    }
    EXPECT_EQ(ErrorOf([] { SelectCommChannel(static_cast<CommChannelType>(4)); }), internalError);
    SelectCommChannel(CommChannel_Ethernet); // leave a usable channel behind
}

TEST(CommChannelTest, ReplacingAChannelDoesNotCloseIt) {
    testsupport::TempDir dir;
    PseudoTerminal pty;
    testsupport::LoadConfiguration(dir.File("TAVO.ini"), {{"TTY", pty.TtyName()}});
    SelectCommChannel(CommChannel_SerialPort);
    CommChannel_Open();
    SelectCommChannel(CommChannel_Ethernet);
    // Still in the raw settings of the open port: nobody restored the device's own (canonical).
    termios settings;
    ASSERT_EQ(tcgetattr(pty.Master(), &settings), 0);
    EXPECT_EQ(settings.c_lflag & ICANON, 0u);
}
