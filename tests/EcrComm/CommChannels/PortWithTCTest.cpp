#include "EcrComm/CommChannels/PortWithTC.h"

#include "AppConfig.h"
#include "EcrComm/LinkTestSupport.h"
#include "Tools.h"

using namespace linktest;

namespace {

class PortWithTCTest : public LinkTest {
protected:
    void Open(const char* retryCount, const char* version = "") {
        Configure(
            Format("[Common]\nSerialProtocolResponseMaxTime=100\nSerialProtocolRetryCount=%s\n"
                   "SerialProtocolVersion=%s\n",
                   retryCount, version));
        m_port.Open();
        m_port.SetReadTimeout(1000);
    }
    void TearDown() override { m_port.Close(); }

    bool Write(const char* hex) {
        const Bytes data = HexBytes(hex);
        return m_port.Write(data.data(), static_cast<unsigned int>(data.size()));
    }
    // The ECR's side: expects the frame and answers it: A(CK), N(AK), or - (not at all).
    void ExpectFrame(const std::string& frame, char answer) {
        EXPECT_EQ(ToHex(m_pty.Read(HexBytes(frame).size(), 3000)), frame);
        if (answer != '-') {
            m_pty.Write(HexBytes(answer == 'A' ? "06" : "15"));
        }
    }

    PortWithTC m_port{CommChannel_SerialPortWithTC};
};

std::string Frame(int version, const char* payload, byte seqNo) {
    return ToHex(BuildFrame(version, HexBytes(payload), seqNo));
}

} // namespace

TEST_F(PortWithTCTest, BlocksAreRepeatedWhenRefusedThenSentInTheNextVersion) {
    // The ECR's answer to each frame of block 41, by the frame's version: A(CK), N(AK) or
    // - (silence). A delivered block is followed by block 42, which goes out in the version that
    // worked with number 32: the first frame after opening or a switch carries number 0.
    const struct {
        const char *retryCount, *version, *answers;
        bool delivered;
        int finalVersion;
        const char* setting; // the version setting afterwards: the one that worked
    } cases[] = {
        {"3", "", "3N 3- 3A", true, 3, ""},
        {"3", "2", "2A", true, 2, "2"},
        // Refusals mixed with silence: no other version is tried.
        {"3", "", "3N 3- 3N", false, 3, ""},
        {"2", "", "3N 3N 1N 1N 2A", true, 2, "2"},
        {"1", "1", "1N 2A", true, 2, "2"},
        {"1", "", "3N 1N 2N", false, 3, ""},
        // No attempts at all: straight through every version, nothing on the line.
        {"0", "", "", false, 3, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.answers);
        Open(c.retryCount, c.version);
        auto ecr = std::async(std::launch::async, [&] {
            const std::string answers = c.answers;
            for (size_t at = 0; at < answers.size(); at += 3) {
                ExpectFrame(Frame(answers[at] - '0', "41", 0), answers[at + 1]);
            }
            if (c.delivered) {
                ExpectFrame(Frame(c.finalVersion, "42", 32), 'A');
            }
            EXPECT_EQ(ToHex(m_pty.Read(1, 300)), "");
        });
        EXPECT_EQ(Write("41"), c.delivered);
        EXPECT_EQ(c.delivered && Write("42"), c.delivered);
        ecr.get();
        EXPECT_EQ(m_port.GetProtocolVersion(), c.finalVersion);
        EXPECT_EQ(AppConfig::GetParameter("SerialProtocolVersion", ""), c.setting);
        m_port.Close();
    }
}

TEST_F(PortWithTCTest, ReceivingTakesEachGoodFrameOnce) {
    Open("3");
    const struct {
        std::string sent;
        const char* write; // a block written first, whose ACK the ECR replaces with its answer
        unsigned int size;
        const char* delivered;
        std::string answers;
    } cases[] = {
        // A damaged frame (41 42 43 with one bit flipped) and one without payload are refused;
        // the repetition is taken.
        {"02 20 414343 60E9 03" + Frame(3, "", 32) + Frame(3, "41 42 43", 32), "", 3, "41 42 43",
         "15 15 06"},
        // Our ACK got lost: the same frame again is acknowledged and dropped. A stray byte
        // ahead of a frame is dropped.
        {Frame(3, "41 42 43", 32) + "06" + Frame(3, "C3", 33), "", 1, "C3", "06 06"},
        // An answer frame in place of the ACK confirms the block and is taken.
        {Frame(3, "5A 5B", 34), "01", 2, "5A 5B", Frame(3, "01", 0) + " 06"},
        // Noise that ends in ETX but holds no STX is dropped whole and not answered; so is
        // noise ahead of the next frame.
        {"41 42 03 FF 41" + Frame(3, "01 02 03 04 05 06", 35), "", 2, "01 02", "06"},
        {"", "", 2, "03 04", ""},
        // What is left of a frame, when that is less than asked for: what it has, and false.
        {"", "", 3, "false: 05 06 EE", ""},
        // A frame shorter than asked for: what it has, and false; the next Read takes a new
        // frame.
        {Frame(3, "0A 0B 0C 0D", 36), "", 6, "false: 0A 0B 0C 0D EE EE", "06"},
        {Frame(3, "0E 0F", 37), "", 2, "0E 0F", "06"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.sent);
        m_pty.Write(HexBytes(c.sent));
        EXPECT_TRUE(*c.write == '\0' || Write(c.write));
        Bytes data(c.size, 0xEE);
        const bool complete = m_port.Read(data.data(), c.size);
        EXPECT_EQ((complete ? "" : "false: ") + ToHex(data), c.delivered);
        EXPECT_EQ(ToHex(m_pty.Read(100, 50)), c.answers);
    }
    // An empty block is a programming error.
    EXPECT_EQ(ThrownBy([&] { m_port.Write(HexBytes("01").data(), 0); }), "99: Internal error");
}
