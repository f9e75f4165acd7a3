#include "EcrComm/CommBase.h"

#include <gtest/gtest.h>

#include "EcrComm/CommChannel.h"
#include "EcrComm/FrameFormatter.h"
#include "EcrComm/IoStatistics.h"
#include "EcrComm/LinkTestSupport.h"
#include "TestSupport.h"

using linktest::Bytes;
using linktest::CatchException;
using linktest::Concat;
using linktest::HexBytes;
using linktest::MeasureMs;
using linktest::Peer;
using linktest::PseudoTerminal;
using linktest::ToHex;

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
    void Connect(CommChannelType type) {
        testsupport::LoadConfiguration(m_dir.File("TAVO.ini"),
                                       {{"TTY", m_pty.TtyName()},
                                        {"SerialProtocolRetryCount", "2"},
                                        {"SerialProtocolResponseMaxTime", "100"}});
        IoStatistics::Reset();
        SetProtocol(GetProtocolIDBySet(Protocol_Standard));
        SelectCommChannel(type);
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
    linktest::Watchdog m_watchdog{m_pty, 20000};
};

} // namespace

TEST(FrameFormatterTest, FramesCarryProtocolLittleEndianLengthAndData) {
    const FrameFormatter formatter(Protocol_Standard);
    byte frame[8];
    const byte data[] = {0x41, 0x42};
    ASSERT_EQ(formatter.BuildFrame(frame, sizeof(frame), data, 2), 5);
    EXPECT_EQ(ToHex(Bytes(frame, frame + 5)), "01 02 00 41 42");
    EXPECT_TRUE(formatter.IsValidFrame(frame, 5, 0));
    EXPECT_TRUE(formatter.IsValidFrame(frame, 5, 2));
    EXPECT_FALSE(formatter.IsValidFrame(frame, 5, 1));
    EXPECT_FALSE(FrameFormatter(Protocol_Fiscal).IsValidFrame(frame, 5, 0));

    byte parsed[2];
    EXPECT_EQ(formatter.ParseFrame(frame, 5, parsed, 2), 2);
    EXPECT_EQ(ToHex(Bytes(parsed, parsed + 2)), "41 42");
    EXPECT_EQ(formatter.ParseFrame(frame, 5, parsed, 1), 0);
    EXPECT_EQ(FrameFormatter(Protocol_Fiscal).ParseFrame(frame, 5, parsed, 2), 0);

    Bytes big(300, 0x33);
    byte bigFrame[400];
    ASSERT_EQ(formatter.BuildFrame(bigFrame, sizeof(bigFrame), big.data(), 300), 303);
    EXPECT_EQ(ToHex(Bytes(bigFrame, bigFrame + 3)), "01 2C 01");

    // Buffers too small for the frame are programming errors.
    std::unique_ptr<Exception> e = CatchException([&] { formatter.BuildFrame(frame, 4, data, 2); });
    ASSERT_TRUE(e);
    EXPECT_EQ(e->GetReturnCode(), ReturnCode_InternalError);
    e = CatchException([&] { formatter.IsValidFrame(frame, 5, 3); });
    ASSERT_TRUE(e);
    EXPECT_NE(e->GetLogMessage().find("src/EcrComm/FrameFormatter"), std::string::npos);
}

TEST_F(CommBaseTest, SentFramesAreStampedAndCounted) {
    Connect(CommChannel_SerialPort);
    const byte data[] = {0x41, 0x42};
    EXPECT_EQ(SendFrame(data, 2), CommResult_OK);
    EXPECT_EQ(SendFrame(data, 0), CommResult_OK);
    EXPECT_EQ(ToHex(m_pty.Read(8, 1000)), "0B 02 00 41 42 0B 00 00");
    EXPECT_EQ(Statistics(), "2/0/0/0");

    Bytes tooBig(1022, 0);
    std::unique_ptr<Exception> e = CatchException([&] { SendFrame(tooBig.data(), 1022); });
    ASSERT_TRUE(e);
    EXPECT_EQ(e->GetReturnCode(), ReturnCode_InternalError);
    EXPECT_EQ(SendFrame(tooBig.data(), 1021), CommResult_OK);
    EXPECT_EQ(m_pty.Read(1024, 1000).size(), 1024u);
}

TEST_F(CommBaseTest, ReadFramesAreCheckedAndCounted) {
    Connect(CommChannel_SerialPort);
    // An empty frame needs no second read, so it comes back before any timeout could pass.
    m_pty.Write(HexBytes("0B 00 00"));
    EXPECT_LT(MeasureMs([&] { EXPECT_EQ(Read(0), "0: "); }), 150);
    m_pty.Write(HexBytes("0B 02 00 41 42"));
    EXPECT_EQ(Read(0), "0: 41 42");
    m_pty.Write(HexBytes("0B 02 00 43 44"));
    EXPECT_EQ(Read(2), "0: 43 44");
    EXPECT_EQ(Statistics(), "0/3/0/0");

    // Another protocol, and another length than expected: received, but garbage.
    m_pty.Write(HexBytes("01 02 00 41 42"));
    EXPECT_EQ(Read(0), "2: ");
    m_pty.Write(HexBytes("0B 03 00 41 42"));
    EXPECT_EQ(Read(2), "2: ");
    EXPECT_EQ(Statistics(), "0/5/0/2");

    // Data that does not fit the caller's buffer: OK with nothing delivered.
    m_pty.Write(HexBytes("0B 04 00 01 02 03 04"));
    EXPECT_EQ(Read(0, 3), "0: ");

    // Silence: lost.
    EXPECT_EQ(Read(0), "1: ");
    EXPECT_EQ(Statistics(), "0/6/1/2");
}

TEST_F(CommBaseTest, FrameLengthsAtTheBufferLimit) {
    Connect(CommChannel_SerialPort);
    // Expecting more than the buffer holds: an error, nothing read, nothing counted.
    m_pty.Write(HexBytes("0B 01 00 55"));
    EXPECT_EQ(Read(1022), "3: ");
    EXPECT_EQ(Statistics(), "0/0/0/0");
    EXPECT_EQ(Read(1), "0: 55");

    // A header announcing 1022 bytes is garbage; its data is not read.
    m_pty.Write(HexBytes("0B FE 03"));
    EXPECT_EQ(Read(0), "2: ");
    EXPECT_EQ(Statistics(), "0/1/0/1");

    Bytes full = HexBytes("0B FD 03");
    full.resize(3 + 1021, 0x5A);
    m_pty.Write(full);
    byte data[1024];
    uint16 length = 0;
    EXPECT_EQ(ReadFrame(data, sizeof(data), length), CommResult_OK);
    EXPECT_EQ(length, 1021);
    EXPECT_EQ(data[1020], 0x5A);
}

TEST_F(CommBaseTest, FramesTravelInsideTransportControl) {
    Connect(CommChannel_SerialPortWithTC);
    Peer peer(m_pty, [](PseudoTerminal& pty) {
        EXPECT_EQ(ToHex(pty.ReadThrough(0x03, 3000)),
                  ToHex(linktest::BuildFrame(3, HexBytes("0B 01 00 61"), 0)));
        pty.Write(HexBytes("06"));
        pty.Write(linktest::BuildFrame(3, HexBytes("0B 01 00 62"), 32));
        EXPECT_EQ(ToHex(pty.Read(1, 3000)), "06");
        // A well-formed TC frame holding an application frame of another protocol.
        pty.Write(linktest::BuildFrame(3, HexBytes("0D 01 00 63"), 33));
        EXPECT_EQ(ToHex(pty.Read(1, 3000)), "06");
        // The next frame is refused twice, then its version 1 form goes unanswered.
        const Bytes next = linktest::BuildFrame(3, HexBytes("0B 01 00 61"), 32);
        const Bytes nextV1 = linktest::BuildFrame(1, HexBytes("0B 01 00 61"), 0);
        for (const Bytes& expected : {next, next}) {
            EXPECT_EQ(ToHex(pty.ReadThrough(0x03, 3000)), ToHex(expected));
            pty.Write(HexBytes("15"));
        }
        EXPECT_EQ(ToHex(pty.ReadUntilQuiet(500)), ToHex(Concat(nextV1, nextV1)));
    });
    const byte request[] = {0x61};
    EXPECT_EQ(SendFrame(request, 1), CommResult_OK);
    EXPECT_EQ(Read(0), "0: 62");
    EXPECT_EQ(Read(0), "2: ");
    // Refused, then unanswered in the next version: lost.
    EXPECT_EQ(SendFrame(request, 1), CommResult_ResponseLost);
    peer.Join();
    EXPECT_EQ(Statistics(), "1/2/1/1");
}
