#include "EcrComm/CommBase.h"

#include "EcrComm/CommChannel.h"
#include "EcrComm/EcrComm.h"
#include "EcrComm/IoStatistics.h"
#include "EcrComm/LinkTestSupport.h"
#include "Tools.h"

using namespace linktest;

namespace {

// The four traffic counters as "sent/received/lost/garbage".
std::string Statistics() {
    return Format("%d/%d/%d/%d", IoStatistics::FramesSend, IoStatistics::FramesReceived,
                  IoStatistics::LostRespCount, IoStatistics::GarbageCount);
}

// Application frames of the standard protocol (0B) over the plain serial port.
class CommBaseTest : public LinkTest {
protected:
    void SetUp() override {
        Configure("[Common]\nSerialProtocolByteMaxTime=100\nPassword=1\n");
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
};

} // namespace

TEST_F(CommBaseTest, EachIncomingFrameCountsByItsOutcome) {
    const struct {
        std::string sent;
        uint16 expected, bufSize;
        const char *result, *counters; // result: "<CommResult>: <data delivered>"
    } cases[] = {
        {"0B 00 00", 0, 1024, "0: ", "0/1/0/0"},
        {"0B 02 00 41 42", 0, 1024, "0: 41 42", "0/2/0/0"},
        {"0B 02 00 43 44", 2, 1024, "0: 43 44", "0/3/0/0"},
        // Another protocol, or another length than expected: received, but garbage.
        {"01 02 00 41 42", 0, 1024, "2: ", "0/4/0/1"},
        {"0B 03 00 41 42", 2, 1024, "2: ", "0/5/0/2"},
        // Data that does not fit the caller's buffer: OK with nothing delivered.
        {"0B 04 00 01 02 03 04", 0, 3, "0: ", "0/6/0/2"},
        // Silence, before the header or within the data, is a lost answer.
        {"", 0, 1024, "1: ", "0/6/1/2"},
        {"0B 02 00 41", 0, 1024, "1: ", "0/6/2/2"},
        // Expecting more than a frame can hold: an error; nothing is read or counted. A frame
        // that fills the buffer exactly is taken (here into too small a buffer).
        {"0B FD 03" + std::string(2 * 1021, '5'), 1022, 1024, "3: ", "0/6/2/2"},
        {"", 1021, 3, "0: ", "0/7/2/2"},
        // A header announcing more is garbage.
        {"0B FE 03", 0, 1024, "2: ", "0/7/2/3"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.sent);
        m_pty.Write(HexBytes(c.sent));
        byte data[1024];
        uint16 length = c.expected;
        const CommResult result = ReadFrame(data, c.bufSize, length);
        const Bytes delivered = result == CommResult_OK ? Bytes(data, data + length) : Bytes();
        EXPECT_EQ(std::to_string(result) + ": " + ToHex(delivered), c.result);
        EXPECT_EQ(Statistics(), c.counters);
    }
}

TEST_F(CommBaseTest, CallsExchangeFramesStampedWithTheirHeader) {
    const std::string ok = "";
    const std::string unexpected = "5: \nCommunication error: Unexpected data received";
    uint16 badField = 0;
    byte status[4] = {0xEE, 0xEE, 0xEE, 0xEE};
    // The largest frame, and one byte more.
    Bytes data = HexBytes("0B FD 03");
    data.resize(1025, 0x5A);
    const struct {
        std::function<void()> call;
        const char* answers; // the ECR's, before the call
        std::string requests, error;
    } cases[] = {
        {[&] { EXPECT_EQ(SendFrame(&data[3], 2), CommResult_OK); }, "", "0B 02 00 5A 5A", ok},
        {[&] { EXPECT_EQ(SendFrame(&data[3], 0), CommResult_OK); }, "", "0B 00 00", ok},
        {[&] { EXPECT_EQ(SendFrame(&data[3], 1021), CommResult_OK); }, "",
         ToHex(Bytes(data.begin(), data.end() - 1)), ok},
        {[&] { SendFrame(&data[3], 1022); }, "", "", "99: Internal error"},
        {[&] { EndSendData(badField); }, "0B 01 00 63", "", unexpected},
        {[] { ReadClearStatus(); }, "0B 01 00 63", "", unexpected},
        {[&] { Fiscal_ReadEftStatus(status, 4); }, "0B 01 00 63", "0B 01 00 20", unexpected},
        // Only the status lands in the caller's buffer, without the answer code.
        {[&] { EXPECT_EQ(Fiscal_ReadStatus(status, 4), 2); }, "0B 03 00 00 41 42", "0B 01 00 64",
         ok},
        // "Not authorised" (03): the session is authorised and the request repeated without its
        // version byte.
        {[] { SendRequest(3, Action_Clear); }, "0B 01 00 03 0E 01 00 00 0B 01 00 00",
         "0B 03 00 03 03 02 0E 02 00 00 31 0B 02 00 03 03", ok},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.answers);
        m_pty.Write(HexBytes(c.answers));
        EXPECT_EQ(ThrownBy(c.call), c.error);
        EXPECT_EQ(ToHex(m_pty.Read(2000, 100)), c.requests);
    }
    EXPECT_EQ(ToHex(Bytes(status, status + 4)), "41 42 EE EE");
    EXPECT_EQ(Statistics(), "8/7/0/0");
}

TEST_F(CommBaseTest, ReplacingAChannelDoesNotCloseIt) {
    SelectCommChannel(CommChannel_Ethernet);
    // Still in the raw settings of the open port: nobody restored the device's own (canonical).
    EXPECT_EQ(Device().c_lflag & ICANON, 0u);
}
