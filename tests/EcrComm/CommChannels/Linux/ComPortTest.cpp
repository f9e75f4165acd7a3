#include "EcrComm/CommChannels/Linux/ComPort.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include "AppConfig.h"
#include "EcrComm/LinkTestSupport.h"

using namespace linktest;

namespace {

class ComPortTest : public LinkTest {
protected:
    ComPort m_port;
};

// Data bits, parity, stop bits and the byte timeout, e.g. "8O1 100 ms", of a raw line.
std::string LineOf(const ComPort& port) {
    const termios& s = port.GetCurrentSettings();
    const tcflag_t control = CRTSCTS | CLOCAL | HUPCL | CREAD;
    if ((s.c_cflag & control) != control || (s.c_oflag & OPOST) != 0 ||
        (s.c_lflag & (ISIG | ICANON | ECHO | ECHOE)) != 0 ||
        ((s.c_cflag & PARENB) != 0) != ((s.c_iflag & INPCK) != 0)) {
        return "not a raw line";
    }
    std::string line = (s.c_cflag & CSIZE) == CS7 ? "7" : (s.c_cflag & CSIZE) == CS8 ? "8" : "?";
    line += (s.c_cflag & PARENB) == 0 ? "N" : (s.c_cflag & PARODD) != 0 ? "O" : "E";
    line += (s.c_cflag & CSTOPB) != 0 ? "2" : "1";
    return line + " " + std::to_string(port.GetByteTimeoutMs()) + " ms";
}

} // namespace

TEST_F(ComPortTest, ComSettingsOfTheUnnamedSectionHoldWhileThePortIsOpen) {
    const termios initial = Device();
    const std::string badSetup = "50: System error: Bad serial port setup parameters";
    const struct {
        const char* settings; // nullptr: no "ComSettings"
        speed_t speed;
        std::string line;
    } cases[] = {
        {"baud=38400 parity=o data=8 stop=1 rts=hs dtr=hs octs=on", B38400, "8O1 100 ms"},
        {"baud=9600 parity=n data=8 stop=1", B9600, "8N1 104 ms"},
        {" parity=N baud=9600 stop=2", B9600, "8N2 114 ms"},
        {"baud=4800 parity=E data=7 stop=2", B4800, "7E2 229 ms"},
        {"baud=4800parity=edata=7stop=2", B4800, "7E2 229 ms"},
        {"baud=19200 parity=e", B19200, "8E1 100 ms"},
        {"baud=57600 parity=O", B57600, "8O1 100 ms"},
        // Only the speed: data, stop and parity come from the parser's own defaults.
        {"baud=115200", B115200, "8O1 100 ms"},
        {"rts=hs", B38400, "8O1 100 ms"},
        {"", B38400, "8O1 100 ms"},
        {nullptr, B38400, "8O1 100 ms"},
        {"baud=2400", 0, badSetup},
        {"baud=9601", 0, badSetup},
        {"baud=-9600", 0, badSetup},
        {"parity=x", 0, badSetup},
        {"parity= n", 0, badSetup},
        {"data=6", 0, badSetup},
        {"data=9", 0, badSetup},
        {"stop=0", 0, badSetup},
        {"stop=3", 0, badSetup},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.settings == nullptr ? "none" : c.settings);
        // Only the key line before the first heading counts; "Common" does not supply it.
        Configure((c.settings == nullptr ? "" : "ComSettings=" + std::string(c.settings)) +
                  "\n[Common]\nComSettings=baud=4800\n");
        std::string line = ErrorOf([&] {
            m_port.Open();
            m_port.SetReadTimeout(300); // changes the timeouts only
        });
        if (line == "nothing thrown") {
            line = LineOf(m_port);
            const termios applied = Device();
            EXPECT_EQ(cfgetospeed(&applied), c.speed);
            EXPECT_EQ(applied.c_lflag & (ICANON | ECHO), 0u);
        }
        EXPECT_EQ(line, c.line);
        m_port.Close();
        m_port.Close(); // closing twice does nothing
        const termios restored = Device();
        EXPECT_EQ(restored.c_lflag, initial.c_lflag);
        EXPECT_EQ(cfgetospeed(&restored), cfgetospeed(&initial));
    }
    // The multiplier scales the per-byte time: 1000 x 11 bits x 1000 / 38400 = 286.45...
    Configure("[Common]\nComByteTimeMult=1000\n");
    m_port.ComPort_Setup("baud=38400 parity=o");
    EXPECT_EQ(LineOf(m_port), "8O1 286 ms");
}

TEST_F(ComPortTest, OpenFailsWithoutADeviceOrOnAHeldOne) {
    // The other program on the device is this test, through a port of its own.
    Configure("");
    ComPort holder;
    holder.Open();
    const struct {
        std::string tty, error, cause;
    } cases[] = {
        {"", "10: Configuration error: Bad or missing tty name", ""},
        {m_pty.TtyName(), "16: \nAnother application is working now with ECR",
         "tavo: /dev/" + m_pty.TtyName() + ": in use by process " + std::to_string(getpid()) +
             "\n"},
    };
    for (const auto& c : cases) {
        AppConfig::SetParameter("TTY", c.tty, false);
        ::testing::internal::CaptureStderr();
        EXPECT_EQ(ErrorOf([&] { m_port.Open(); }), c.error);
        EXPECT_EQ(::testing::internal::GetCapturedStderr(), c.cause);
    }
}

TEST_F(ComPortTest, ReadsWaitAsTheTimeoutsSay) {
    // The read timeout counts tenths of a second in one byte (VTIME), for the first byte only.
    // Bytes after the first are awaited up to "SerialProtocolByteMaxTime" of silence (0: without
    // limit). Either way the device is left with the read timeout it had.
    const int never = -1, nothing = -2;
    const struct {
        unsigned int timeoutMs;
        const char* byteMaxTime;
        int silenceMs; // after the first byte; never: the last two don't come
        unsigned int count;
        long long minMs, maxMs;
        cc_t vtime;
    } cases[] = {
        {50, "0", nothing, 0, 0, 50, 0},      {25600, "0", nothing, 0, 0, 50, 0},
        {200, "0", nothing, 0, 150, 2000, 2}, {1050, "0", 0, 3, 0, 500, 10},
        {100, "600", 300, 3, 290, 1500, 1},   {100, "0", 700, 3, 690, 1900, 1},
        {100, "300", never, 1, 290, 1000, 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.timeoutMs);
        Configure("[Common]\nSerialProtocolByteMaxTime=" + std::string(c.byteMaxTime));
        m_port.Open();
        m_port.SetReadTimeout(c.timeoutMs);
        auto ecr = std::async(std::launch::async, [&] {
            if (c.silenceMs != nothing) {
                m_pty.Write(HexBytes("01"));
            }
            if (c.silenceMs >= 0) {
                usleep(c.silenceMs * 1000);
                m_pty.Write(HexBytes("02 03"));
            }
        });
        byte data[3];
        unsigned int count = 0;
        const long long ms = MeasureMs([&] { count = m_port.ReadUnknownSize(data, 3, 0x7F); });
        ecr.get();
        EXPECT_EQ(count, c.count);
        EXPECT_GE(ms, c.minMs);
        EXPECT_LT(ms, c.maxMs);
        EXPECT_EQ(Device().c_cc[VTIME], c.vtime);
        EXPECT_EQ(Device().c_cc[VMIN], 0);
        m_port.Close();
    }
}

TEST_F(ComPortTest, VanishedDeviceEndsWithAFixedError) {
    Configure("");
    m_port.Open();
    m_port.SetReadTimeout(1000);
    // The device disappears while a read waits for the rest of a block.
    auto ecr = std::async(std::launch::async, [&] {
        m_pty.Write(HexBytes("01"));
        usleep(100000);
        m_pty.CloseMaster();
    });
    byte data[4];
    ::testing::internal::CaptureStderr();
    const std::string error = ErrorOf([&] { m_port.Read(data, 4); });
    ecr.get();
    // The read that was waiting fails; had the hang-up come between two reads, the next
    // timeout change would have.
    EXPECT_THAT(error, ::testing::AnyOf("50: System error: Serial port read error",
                                        "50: System error: Cannot read serial port timeouts"));
    EXPECT_EQ(ErrorOf([&] { m_port.Write(data, 1); }), "50: System error: Serial port write error");
    EXPECT_EQ(ErrorOf([&] { m_port.SetReadTimeout(100); }),
              "50: System error: Cannot read serial port timeouts");
    // Each failure names the device and the system's reason.
    const std::string cause = "tavo: /dev/" + m_pty.TtyName() + ": Input/output error\n";
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), cause + cause + cause);
}
