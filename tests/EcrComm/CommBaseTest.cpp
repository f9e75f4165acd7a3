#include "EcrComm/CommBase.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "EcrComm/CommChannel.h"
#include "EcrComm/IoStatistics.h"
#include "EcrComm/LinkTestSupport.h"
#include "Logging.h"
#include "TestSupport.h"

using namespace linktest;
using ::testing::HasSubstr;

namespace {

// The four traffic counters as "sent/received/lost/garbage".
std::string Statistics() {
    return std::to_string(IoStatistics::FramesSend) + "/" +
           std::to_string(IoStatistics::FramesReceived) + "/" +
           std::to_string(IoStatistics::LostRespCount) + "/" +
           std::to_string(IoStatistics::GarbageCount);
}

class CommBaseTest : public ::testing::Test {
protected:
    void Connect() {
        testsupport::LoadConfiguration(m_dir.File("TAVO.ini"),
                                       {{"TTY", m_pty.TtyName()},
                                        {"SerialProtocolRetryCount", "2"},
                                        {"SerialProtocolResponseMaxTime", "100"},
                                        {"StandardLog", "1"},
                                        {"DbgErrorLog", "0"},
                                        {"LogFilePath", m_dir.Path()}});
        IoStatistics::Reset();
        SetProtocol(GetProtocolIDBySet(Protocol_Standard));
        SelectCommChannel(CommChannel_SerialPort);
        CommChannel_Open();
        CommChannel_SetReadTimeout(200);
    }
    void TearDown() override {
        CommChannel_Close();
        SelectCommChannel(CommChannel_Ethernet);
    }

    // Reads one frame; returns the result and the data delivered.
    std::string Read(uint16 expected, uint16 bufSize = 1024) {
        byte data[1024];
        uint16 length = expected;
        const CommResult result = ReadFrame(data, bufSize, length);
        const Bytes delivered = result == CommResult_OK ? Bytes(data, data + length) : Bytes();
        return std::to_string(result) + ": " + ToHex(delivered);
    }

    testsupport::TempDir m_dir;
    PseudoTerminal m_pty;
};

} // namespace

TEST_F(CommBaseTest, FramesAreStampedCheckedAndCounted) {
    Connect();
    const byte data[] = {0x41, 0x42};
    EXPECT_EQ(SendFrame(data, 2), CommResult_OK);
    EXPECT_EQ(SendFrame(data, 0), CommResult_OK);
    EXPECT_EQ(ToHex(m_pty.Read(8, 1000)), "0B 02 00 41 42 0B 00 00");
    Bytes tooBig(1022, 0);
    EXPECT_EQ(ErrorOf([&] { SendFrame(tooBig.data(), 1022); }), internalError);
    EXPECT_EQ(SendFrame(tooBig.data(), 1021), CommResult_OK);
    EXPECT_EQ(ToHex(m_pty.Read(1024, 1000)), ToHex(Concat(HexBytes("0B FD 03"), Bytes(1021, 0))));
    EXPECT_EQ(Statistics(), "3/0/0/0");

    // An empty frame needs no second read, so it comes back before any timeout could pass.
    m_pty.Write(HexBytes("0B 00 00"));
    EXPECT_LT(MeasureMs([&] { EXPECT_EQ(Read(0), "0: "); }), 150);
    m_pty.Write(HexBytes("0B 02 00 41 42"));
    EXPECT_EQ(Read(0), "0: 41 42");
    m_pty.Write(HexBytes("0B 02 00 43 44"));
    EXPECT_EQ(Read(2), "0: 43 44");
    EXPECT_EQ(Statistics(), "3/3/0/0");

    // Another protocol, and another length than expected: received, but garbage.
    m_pty.Write(HexBytes("01 02 00 41 42"));
    EXPECT_EQ(Read(0), "2: ");
    m_pty.Write(HexBytes("0B 03 00 41 42"));
    EXPECT_EQ(Read(2), "2: ");
    EXPECT_EQ(Statistics(), "3/5/0/2");

    // Data that does not fit the caller's buffer: OK with nothing delivered.
    m_pty.Write(HexBytes("0B 04 00 01 02 03 04"));
    EXPECT_EQ(Read(0, 3), "0: ");
    // Silence: lost.
    EXPECT_EQ(Read(0), "1: ");
    EXPECT_EQ(Statistics(), "3/6/1/2");
    StartLogging();
    LogIoStatistics();
    StopLogging(false);
    EXPECT_THAT(testsupport::ReadFile(m_dir.File("TAVO.log")),
                HasSubstr(" I/O statistics : OUT frames = 3, IN frames = 6, LOST = 1, GARB = 2\n"));
}

TEST_F(CommBaseTest, FrameLengthsAtTheBufferLimit) {
    Connect();
    // Expecting more than the buffer holds: an error, nothing read, nothing counted.
    m_pty.Write(HexBytes("0B 01 00 55"));
    EXPECT_EQ(Read(1022), "3: ");
    EXPECT_EQ(Statistics(), "0/0/0/0");
    EXPECT_EQ(Read(1), "0: 55");
    // A header announcing 1022 bytes is garbage; its data is not read.
    m_pty.Write(HexBytes("0B FE 03"));
    EXPECT_EQ(Read(0), "2: ");
    EXPECT_EQ(Statistics(), "0/1/0/1");
    m_pty.Write(Concat(HexBytes("0B FD 03"), Bytes(1021, 0x5A)));
    EXPECT_EQ(Read(0), "0: " + ToHex(Bytes(1021, 0x5A)));
}
