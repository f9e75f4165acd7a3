#include "EcrComm/CommChannels/Linux/ComPort.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <unistd.h>

#include "EcrComm/CommChannels/Linux/HighResolutionTimer.h"
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
    const struct {
        const char *settings, *line;
        speed_t speed;
    } cases[] = {
        {"baud=38400 parity=o data=8 stop=1 rts=hs dtr=hs octs=on", "8O1 100 ms", B38400},
        {"baud=9600 parity=n data=8 stop=1", "8N1 104 ms", B9600},
        {" parity=N baud=9600 stop=2", "8N2 114 ms", B9600},
        {"baud=4800 parity=E data=7 stop=2", "7E2 229 ms", B4800},
        {"baud=4800parity=edata=7stop=2", "7E2 229 ms", B4800},
        {"baud=19200 parity=e", "8E1 100 ms", B19200},
        {"baud=57600 parity=O", "8O1 100 ms", B57600},
        // Only the speed: data, stop and parity come from the parser's own defaults.
        {"baud=115200", "8O1 100 ms", B115200},
        // Only the key line before the first heading counts; "Common" does not supply it. The
        // multiplier scales the per-byte time: 1000 x 11 bits x 1000 / 38400 = 286.45...
        {"\n[Common]\nComSettings=baud=4800\nComByteTimeMult=1000", "8O1 286 ms", B38400},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.settings);
        Configure("ComSettings=" + std::string(c.settings));
        m_port.Open();
        m_port.SetReadTimeout(300); // changes the timeouts only
        EXPECT_EQ(LineOf(m_port), c.line);
        const termios applied = Device();
        EXPECT_EQ(cfgetospeed(&applied), c.speed);
        EXPECT_EQ(applied.c_lflag & (ICANON | ECHO), 0u);
        m_port.Close();
        const termios restored = Device();
        EXPECT_EQ(restored.c_lflag, initial.c_lflag);
        EXPECT_EQ(cfgetospeed(&restored), cfgetospeed(&initial));
    }
    for (const char* settings : {"baud=2400", "baud=9601", "baud=-9600", "parity=x", "parity= n",
                                 "data=6", "data=9", "stop=0", "stop=3"}) {
        Configure("ComSettings=" + std::string(settings));
        EXPECT_EQ(ThrownBy([&] { m_port.Open(); }),
                  "50: System error: Bad serial port setup parameters")
            << settings;
        m_port.Close();
    }
}

TEST_F(ComPortTest, DeviceHeldByAnotherProgramIsNotShared) {
    // The other program on the device is this test, through a port of its own.
    Configure("");
    ComPort holder;
    holder.Open();
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(ThrownBy([&] { m_port.Open(); }),
              "16: \nAnother application is working now with ECR");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "tavo: /dev/" + m_pty.TtyName() +
                                                            ": in use by process " +
                                                            std::to_string(getpid()) + "\n");
}

TEST_F(ComPortTest, ReadsWaitAsTheTimeoutsSay) {
    // The read timeout counts tenths of a second in one byte (VTIME), for the first byte only.
    // Bytes after the first are awaited up to "SerialProtocolByteMaxTime" of silence (0: without
    // limit). Either way the device is left with the read timeout it had.
    const int never = -1, nothing = -2;
    // Timed with the clock that times the blocks in the trace.
    const HighResolutionTimer& clock = GetHighResolutionTimer();
    const struct {
        unsigned int timeoutMs, count; // count: the bytes read
        const char* byteMaxTime;
        int silenceMs; // after the first byte; never: the last two don't come
        long long minMs, maxMs;
        cc_t vtime;
    } cases[] = {
        {50, 0, "0", nothing, 0, 50, 0},      {25600, 0, "0", nothing, 0, 50, 0},
        {200, 0, "0", nothing, 150, 2000, 2}, {1050, 3, "0", 0, 0, 500, 10},
        {100, 3, "600", 300, 290, 1500, 1},   {100, 3, "0", 700, 690, 1900, 1},
        {100, 1, "300", never, 290, 1000, 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.timeoutMs);
        Configure("[Common]\nSerialProtocolByteMaxTime=" + std::string(c.byteMaxTime));
        m_port.Open();
        m_port.SetReadTimeout(c.timeoutMs);
        m_pty.Write(HexBytes(c.silenceMs == nothing ? "" : "01"));
        auto ecr = std::async(std::launch::async, [&] {
            usleep(std::max(c.silenceMs, 0) * 1000);
            m_pty.Write(HexBytes(c.silenceMs >= 0 ? "02 03" : ""));
        });
        byte data[3];
        const long long start = clock.GetValue();
        const unsigned int count = m_port.ReadUnknownSize(data, 3, 0x7F);
        const double ms = clock.GetIntervalMs(start, clock.GetValue());
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
    const std::string error = ThrownBy([&] { m_port.Read(data, 4); });
    ecr.get();
    // The read that was waiting fails; had the hang-up come between two reads, the next
    // timeout change would have.
    EXPECT_THAT(error, ::testing::AnyOf("50: System error: Serial port read error",
                                        "50: System error: Cannot read serial port timeouts"));
    EXPECT_EQ(ThrownBy([&] { m_port.Write(data, 1); }),
              "50: System error: Serial port write error");
    EXPECT_EQ(ThrownBy([&] { m_port.SetReadTimeout(100); }),
              "50: System error: Cannot read serial port timeouts");
}
