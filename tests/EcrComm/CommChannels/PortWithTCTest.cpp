#include "EcrComm/CommChannels/PortWithTC.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "AppConfig.h"
#include "EcrComm/LinkTestSupport.h"
#include "TestSupport.h"

using namespace linktest;

namespace {

const byte ACK = 0x06;
const byte NAK = 0x15;
const byte ETX = 0x03;
const int frameWaitMs = 3000;
// Longer than the response time configured below: the port has given up on an answer.
const int quietMs = 300;

class PortWithTCTest : public ::testing::Test {
protected:
    void Open(const std::vector<std::pair<std::string, std::string>>& extra = {}) {
        std::vector<std::pair<std::string, std::string>> parameters = {
            {"TTY", m_pty.TtyName()},
            {"SerialProtocolRetryCount", "3"},
            {"SerialProtocolResponseMaxTime", "100"},
            {"SerialProtocolByteMaxTime", "200"}};
        parameters.insert(parameters.end(), extra.begin(), extra.end());
        testsupport::LoadConfiguration(m_dir.File("TAVO.ini"), parameters);
        m_port.Open();
        m_port.SetReadTimeout(1000);
    }
    void TearDown() override { m_port.Close(); }

    bool Write(const Bytes& data) {
        return m_port.Write(data.data(), static_cast<unsigned int>(data.size()));
    }
    // Reads size bytes; returns them, or "false: " and what was delivered.
    std::string Read(unsigned int size) {
        Bytes data(size, 0xEE);
        const bool complete = m_port.Read(data.data(), size);
        return complete ? ToHex(data) : "false: " + ToHex(data);
    }

    testsupport::TempDir m_dir;
    PseudoTerminal m_pty;
    PortWithTC m_port{CommChannel_SerialPortWithTC};
};

// The peer's side: expects one frame from the PC and answers it with one byte (or not at all).
void ExpectFrame(PseudoTerminal& pty, const Bytes& expected, int answer) {
    EXPECT_EQ(ToHex(pty.ReadThrough(ETX, frameWaitMs)), ToHex(expected));
    if (answer >= 0) {
        pty.Write(Bytes{static_cast<byte>(answer)});
    }
}

void ExpectAnswer(PseudoTerminal& pty, byte answer) {
    EXPECT_EQ(ToHex(pty.Read(1, frameWaitMs)), ToHex(Bytes{answer}));
}

} // namespace

TEST_F(PortWithTCTest, BlocksGoOutAsExactFramesOfTheConfiguredVersion) {
    // The first frame after opening carries number 0, the next one 32.
    const char* const tableFrames[] = {"02 20 01 10 A2 41 62 67 03", "02 20 01 10 A2 41 62 64 03",
                                       "02 01 10 A2 41 42 7A 03"};
    for (int version : {3, 2, 1}) {
        SCOPED_TRACE("version " + std::to_string(version));
        Open({{"SerialProtocolVersion", std::to_string(version)}});
        Peer peer(m_pty, [&](PseudoTerminal& pty) {
            ExpectFrame(pty, BuildFrame(version, HexBytes("55"), 0), ACK);
            ExpectFrame(pty, HexBytes(tableFrames[3 - version]), ACK);
        });
        EXPECT_TRUE(Write(HexBytes("55")));
        EXPECT_TRUE(Write(HexBytes("01 02 41")));
        peer.Join();
        EXPECT_EQ(m_port.GetProtocolVersion(), version);
        m_port.Close();
    }
}

TEST_F(PortWithTCTest, RefusedOrUnansweredFramesAreRepeatedUpToTheRetryCount) {
    Open();
    const Bytes first = BuildFrame(3, HexBytes("31"), 0);
    const Bytes second = BuildFrame(3, HexBytes("32"), 32);
    Peer peer(m_pty, [&](PseudoTerminal& pty) {
        ExpectFrame(pty, first, NAK);
        ExpectFrame(pty, first, -1); // silence
        ExpectFrame(pty, first, ACK);
        // Refusals mixed with silence: no other version is tried.
        ExpectFrame(pty, second, NAK);
        ExpectFrame(pty, second, -1);
        ExpectFrame(pty, second, NAK);
        EXPECT_EQ(ToHex(pty.ReadUntilQuiet(quietMs)), "");
    });
    EXPECT_TRUE(Write(HexBytes("31")));
    EXPECT_FALSE(Write(HexBytes("32")));
    peer.Join();
    EXPECT_EQ(m_port.GetProtocolVersion(), 3);
    EXPECT_FALSE(AppConfig::HasParameter("SerialProtocolVersion"));
}

TEST_F(PortWithTCTest, RefusalOfEveryAttemptSwitchesVersionAndStoresTheWorkingOne) {
    Open({{"SerialProtocolRetryCount", "2"}});
    const Bytes payload = HexBytes("41 42");
    Peer peer(m_pty, [&](PseudoTerminal& pty) {
        for (int version : {3, 3, 1, 1}) {
            ExpectFrame(pty, BuildFrame(version, payload, 0), NAK);
        }
        ExpectFrame(pty, BuildFrame(2, payload, 0), ACK);
        // Both numbers restarted with the switch.
        ExpectFrame(pty, BuildFrame(2, HexBytes("43"), 32), ACK);
        pty.Write(BuildFrame(2, HexBytes("44"), 32));
        ExpectAnswer(pty, ACK);
    });
    EXPECT_TRUE(Write(payload));
    EXPECT_EQ(m_port.GetProtocolVersion(), 2);
    EXPECT_EQ(AppConfig::GetParameter("SerialProtocolVersion", ""), "2");
    EXPECT_TRUE(Write(HexBytes("43")));
    EXPECT_EQ(Read(1), "44");
    peer.Join();
}

TEST_F(PortWithTCTest, ThreeRefusedVersionsEndTheWrite) {
    Open({{"SerialProtocolRetryCount", "1"}});
    const Bytes payload = HexBytes("41");
    Peer peer(m_pty, [&](PseudoTerminal& pty) {
        for (int version : {3, 1, 2}) {
            ExpectFrame(pty, BuildFrame(version, payload, 0), NAK);
        }
        EXPECT_EQ(ToHex(pty.ReadUntilQuiet(quietMs)), "");
    });
    EXPECT_FALSE(Write(payload));
    peer.Join();
    EXPECT_FALSE(AppConfig::HasParameter("SerialProtocolVersion"));

    // No attempts at all: straight through three switches to false, nothing on the line.
    m_port.Close();
    Open({{"SerialProtocolRetryCount", "0"}});
    EXPECT_FALSE(Write(payload));
    EXPECT_EQ(m_port.GetProtocolVersion(), 3);
    EXPECT_LT(MeasureMs([&] { EXPECT_EQ(Read(1), "false: EE"); }), 100);
    EXPECT_EQ(ToHex(m_pty.ReadUntilQuiet(50)), "");
}

TEST_F(PortWithTCTest, IncomingFramesAreCheckedAnsweredAndHandedOutInPieces) {
    Open();
    Bytes corrupted = BuildFrame(3, HexBytes("41 42 43"), 33);
    corrupted[3] ^= 0x01;
    Peer peer(m_pty, [&](PseudoTerminal& pty) {
        // An answer frame instead of an ACK delivers the block.
        ExpectFrame(pty, BuildFrame(3, HexBytes("01"), 0), -1);
        pty.Write(BuildFrame(3, HexBytes("5A 5B"), 32));
        ExpectAnswer(pty, ACK);
        // A bad frame and one without payload are refused; the repetition is taken.
        for (const Bytes& frame : {corrupted, BuildFrame(3, Bytes(), 33)}) {
            pty.Write(frame);
            ExpectAnswer(pty, NAK);
        }
        pty.Write(BuildFrame(3, HexBytes("41 42 43"), 33));
        ExpectAnswer(pty, ACK);
        // Our ACK "got lost": the same frame again is acknowledged and dropped.
        pty.Write(BuildFrame(3, HexBytes("41 42 43"), 33));
        ExpectAnswer(pty, ACK);
        // Garbage ahead of a frame is dropped.
        pty.Write(Concat(HexBytes("FF 41 06"), BuildFrame(3, HexBytes("C3"), 34)));
        ExpectAnswer(pty, ACK);
        // Noise that ends in ETX but holds no STX is dropped whole and not answered.
        pty.Write(Concat(HexBytes("41 42 03"), BuildFrame(3, HexBytes("01 02 03 04 05 06"), 35)));
        EXPECT_EQ(ToHex(pty.ReadUntilQuiet(quietMs)), "06"); // no other frame was asked for
        pty.Write(BuildFrame(3, HexBytes("0A 0B 0C 0D"), 36));
        ExpectAnswer(pty, ACK);
        pty.Write(BuildFrame(3, HexBytes("0E 0F"), 37));
        ExpectAnswer(pty, ACK);
        // A frame that stops short is refused once the line has been silent for the byte
        // time; its repetition is taken.
        pty.Write(HexBytes("02 26"));
        ExpectAnswer(pty, NAK);
        pty.Write(BuildFrame(3, HexBytes("10"), 38));
        ExpectAnswer(pty, ACK);
    });
    EXPECT_TRUE(Write(HexBytes("01")));
    EXPECT_EQ(Read(1), "5A");
    EXPECT_EQ(Read(1), "5B");
    EXPECT_EQ(Read(3), "41 42 43");
    EXPECT_EQ(Read(1), "C3");
    EXPECT_EQ(Read(2), "01 02");
    EXPECT_EQ(Read(2), "03 04");
    EXPECT_EQ(Read(2), "05 06");
    // A frame shorter than asked for: what it has, and false; the next Read takes a new frame.
    EXPECT_EQ(Read(6), "false: 0A 0B 0C 0D EE EE");
    EXPECT_EQ(Read(2), "0E 0F");
    EXPECT_EQ(Read(1), "10");
    peer.Join();
}

TEST_F(PortWithTCTest, VanishedDeviceEndsWithAFixedError) {
    Open();
    Peer peer(m_pty, [&](PseudoTerminal& pty) {
        pty.ReadThrough(ETX, frameWaitMs);
        pty.CloseMaster();
    });
    std::string error;
    const auto writeThrice = [&] {
        Write(HexBytes("61"));
        Write(HexBytes("61"));
        Write(HexBytes("61"));
    };
    EXPECT_LT(MeasureMs([&] { error = ErrorOf(writeThrice); }), 5000);
    peer.Join();
    EXPECT_THAT(error, ::testing::AnyOf("50: System error: Serial port write error",
                                        "50: System error: Serial port read error",
                                        "50: System error: Cannot read serial port timeouts"));
}

TEST(PortWithTCArgumentsTest, ProgrammingErrorsAreInternalErrors) {
    std::string log;
    EXPECT_EQ(ErrorOf([] { PortWithTC port(CommChannel_SerialPort); }, &log), internalError);
    EXPECT_THAT(log, ::testing::HasSubstr("src/EcrComm/CommChannels/PortWithTC"));
    PortWithTC port(CommChannel_SerialPortWithTC);
    byte data[2] = {1, 2};
    EXPECT_EQ(ErrorOf([&] { port.Read(nullptr, 1); }), internalError);
    EXPECT_EQ(ErrorOf([&] { port.Write(data, 0); }), internalError);
}
