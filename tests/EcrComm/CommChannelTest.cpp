#include "EcrComm/CommChannel.h"

#include <gtest/gtest.h>
#include <termios.h>

#include "EcrComm/LinkTestSupport.h"
#include "TestSupport.h"

using linktest::CatchException;

namespace {

void ExpectInternalErrorIn(const std::function<void()>& action, const std::string& sourceFile) {
    std::unique_ptr<Exception> e = CatchException(action);
    ASSERT_TRUE(e);
    EXPECT_EQ(e->GetReturnCode(), ReturnCode_InternalError);
    EXPECT_EQ(e->GetDisplayMessage(), "Internal error");
    EXPECT_NE(e->GetLogMessage().find("'" + sourceFile + ".cpp'"), std::string::npos)
        << e->GetLogMessage();
}

} // namespace

TEST(CommChannelTest, EthernetChannelsFailWhenOpened) {
    SelectCommChannel(CommChannel_Ethernet);
    ExpectInternalErrorIn([] { CommChannel_Open(); }, "src/EcrComm/CommChannels/Linux/TCP");
    byte data[4] = {1, 2, 3, 4};
    EXPECT_FALSE(CommChannel_Read(data, 4));
    EXPECT_FALSE(CommChannel_Write(data, 4));
    EXPECT_FALSE(CommChannel_WriteDirect(data, 4));
    CommChannel_SetReadTimeout(100);
    CommChannel_Close();

    // Transport control over the network channel fails the same way, inside.
    SelectCommChannel(CommChannel_EthernetWithTC);
    ExpectInternalErrorIn([] { CommChannel_Open(); }, "src/EcrComm/CommChannels/Linux/TCP");
}

TEST(CommChannelTest, UnknownTypeIsAnInternalError) {
    ExpectInternalErrorIn([] { SelectCommChannel(static_cast<CommChannelType>(4)); },
                          "src/EcrComm/CommChannel");
    SelectCommChannel(CommChannel_Ethernet); // leave a usable channel behind
}

TEST(CommChannelTest, ReplacingAChannelDoesNotCloseIt) {
    testsupport::TempDir dir;
    linktest::PseudoTerminal pty;
    testsupport::LoadConfiguration(dir.File("TAVO.ini"), {{"TTY", pty.TtyName()}});
    termios initial;
    ASSERT_EQ(tcgetattr(pty.Master(), &initial), 0);
    ASSERT_NE(initial.c_lflag & ICANON, 0u);

    SelectCommChannel(CommChannel_SerialPort);
    std::unique_ptr<Exception> e = CatchException([] { CommChannel_Open(); });
    ASSERT_FALSE(e) << e->GetLogMessage();
    SelectCommChannel(CommChannel_Ethernet);
    // Still in the raw settings of the open port: nobody restored the device's own.
    termios after;
    ASSERT_EQ(tcgetattr(pty.Master(), &after), 0);
    EXPECT_EQ(after.c_lflag & ICANON, 0u);

    SelectCommChannel(CommChannel_Ethernet);
}
