#include "EcrComm/CommChannels/Linux/ComPort.h"

#include <cstdio>
#include <functional>
#include <gmock/gmock.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include "AppConfig.h"
#include "EcrComm/LinkTestSupport.h"
#include "TestSupport.h"

using namespace linktest;

namespace {

class ComPortTest : public ::testing::Test {
protected:
    void Configure(const std::vector<std::pair<std::string, std::string>>& parameters,
                   const std::string& ini = "") {
        if (!ini.empty()) {
            testsupport::WriteFile(m_dir.File("TAVO.ini"), ini);
        }
        testsupport::LoadConfiguration(m_dir.File("TAVO.ini"), parameters);
    }
    void ConfigureTty(const std::string& ini = "") { Configure({{"TTY", m_pty.TtyName()}}, ini); }

    // The settings of the slave as the device holds them.
    termios DeviceSettings() {
        termios settings;
        EXPECT_EQ(tcgetattr(m_pty.Master(), &settings), 0);
        return settings;
    }

    testsupport::TempDir m_dir;
    PseudoTerminal m_pty;
};

// What action writes to standard error in a child process, which runs as user nobody when the
// test runs as root.
std::string StderrOfUnprivilegedChild(const std::function<void()>& action) {
    int ends[2];
    if (pipe(ends) != 0) {
        return "no pipe";
    }
    if (fork() == 0) {
        const uid_t nobody = 65534;
        dup2(ends[1], STDERR_FILENO);
        if (geteuid() != 0 ||
            (setgroups(0, nullptr) == 0 && setgid(nobody) == 0 && setuid(nobody) == 0)) {
            action();
        }
        _exit(0);
    }
    close(ends[1]);
    std::string output;
    for (char c; read(ends[0], &c, 1) == 1;) {
        output += c;
    }
    close(ends[0]);
    wait(nullptr);
    return output;
}

// Data bits, parity and stop bits, e.g. "8O1"; parity counts only when its input check is on.
std::string FrameOf(const termios& s) {
    const tcflag_t size = s.c_cflag & CSIZE;
    std::string frame = size == CS7 ? "7" : size == CS8 ? "8" : "?";
    const bool parity = (s.c_cflag & PARENB) != 0 && (s.c_iflag & INPCK) != 0;
    frame += !parity ? "N" : (s.c_cflag & PARODD) != 0 ? "O" : "E";
    return frame + ((s.c_cflag & CSTOPB) != 0 ? "2" : "1");
}

} // namespace

TEST_F(ComPortTest, SettingsStringValuesAreAppliedWithTheirByteTimeout) {
    Configure({});
    struct Case {
        const char* settings;
        speed_t speed;
        const char* frame;
        int byteTimeoutMs;
    };
    const Case cases[] = {
        {"baud=38400 parity=o data=8 stop=1 rts=hs dtr=hs octs=on", B38400, "8O1", 100},
        {"baud=9600 parity=n data=8 stop=1", B9600, "8N1", 104},
        {"parity=N baud=9600", B9600, "8N1", 104},
        {"baud=4800 parity=E data=7 stop=2", B4800, "7E2", 229},
        {"baud=4800parity=edata=7stop=2", B4800, "7E2", 229},
        {"baud=19200 parity=e", B19200, "8E1", 100},
        {"baud=57600 parity=O", B57600, "8O1", 100},
        // Only the speed: data, stop and parity come from the parser's own defaults.
        {"baud=115200", B115200, "8O1", 100},
        {"rts=hs", B38400, "8O1", 100},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.settings);
        ComPort port;
        port.ComPort_Setup(c.settings);
        const termios& s = port.GetCurrentSettings();
        EXPECT_EQ(cfgetispeed(&s), c.speed);
        EXPECT_EQ(cfgetospeed(&s), c.speed);
        EXPECT_EQ(FrameOf(s), c.frame);
        EXPECT_EQ((s.c_cflag & PARENB) != 0, (s.c_iflag & INPCK) != 0);
        EXPECT_EQ(s.c_cflag & (CRTSCTS | CLOCAL | HUPCL | CREAD),
                  tcflag_t(CRTSCTS | CLOCAL | HUPCL | CREAD));
        EXPECT_EQ(s.c_lflag & (ISIG | ICANON | ECHO | ECHOE), 0u);
        EXPECT_EQ(s.c_oflag & OPOST, 0u);
        EXPECT_EQ(s.c_cc[VMIN] + s.c_cc[VTIME], 0);
        EXPECT_EQ(port.GetByteTimeoutMs(), c.byteTimeoutMs);
    }

    ComPort port;
    for (const char* settings : {"baud=2400", "baud=9601", "parity=x", "parity= n", "data=6",
                                 "data=9", "stop=0", "stop=3", "baud=-9600"}) {
        EXPECT_EQ(ErrorOf([&] { port.ComPort_Setup(settings); }),
                  "50: System error: Bad serial port setup parameters")
            << settings;
    }
    // An empty string leaves the settings alone.
    port.ComPort_Setup("baud=9600 parity=n");
    port.ComPort_Setup("");
    EXPECT_EQ(cfgetospeed(&port.GetCurrentSettings()), B9600);
    EXPECT_EQ(port.GetByteTimeoutMs(), 104);

    // The multiplier scales the per-byte time: 1000 x 11 bits x 1000 / 38400 = 286.45...
    Configure({{"ComByteTimeMult", "1000"}});
    port.ComPort_Setup("baud=38400 parity=o");
    EXPECT_EQ(port.GetByteTimeoutMs(), 286);
}

TEST_F(ComPortTest, OpenFailuresHaveTheirOwnMessagesAndNameTheirCause) {
    Configure({});
    ComPort port;
    std::string log;
    EXPECT_EQ(ErrorOf([&] { port.Open(); }, &log).substr(0, 4), "10: ");
    EXPECT_EQ(log, "Bad or missing tty name");

    // The other program on the device is this test, through a port of its own.
    ConfigureTty();
    ComPort holder;
    holder.Open();
    const std::string device = "/dev/" + m_pty.TtyName();
    struct Case {
        std::string tty, ini, error;
        std::string cause; // a regular expression for standard error
    };
    const Case cases[] = {
        {"pts/99999", "", "50: System error: Unable to open serial port",
         "tavo: /dev/pts/99999: No such file or directory; "
         "(serial devices here:( /dev/[^ ]+)+|no serial device found)\n"},
        // A device that is not a terminal.
        {"null", "",
         "50: System error: Cannot read serial port settings. Please ensure that correct TTY "
         "specified",
         "tavo: /dev/null: Inappropriate ioctl for device\n"},
        {m_pty.TtyName(), "", "16: \nAnother application is working now with ECR",
         "tavo: " + device + ": in use by process " + std::to_string(getpid()) + "\n"},
        {m_pty.TtyName(), "ComSettings=baud=300\n[Common]\nSkipInstanceChecking=1\n",
         "50: System error: Bad serial port setup parameters", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.tty);
        Configure({{"TTY", c.tty}}, c.ini);
        ::testing::internal::CaptureStderr();
        EXPECT_EQ(ErrorOf([&] { port.Open(); }), c.error);
        EXPECT_THAT(::testing::internal::GetCapturedStderr(), ::testing::MatchesRegex(c.cause));
        port.Close();
    }
    holder.Close();

    // A device the user may not open (as nobody, when the test runs as root) names the group
    // that may.
    struct stat node;
    ASSERT_EQ(stat(device.c_str(), &node), 0);
    ASSERT_EQ(chmod(device.c_str(), 0060), 0);
    Configure({{"TTY", m_pty.TtyName()}});
    const std::string outcome = StderrOfUnprivilegedChild(
        [&] { std::fprintf(stderr, "%s\n", ErrorOf([&] { port.Open(); }).c_str()); });
    chmod(device.c_str(), node.st_mode & 07777);
    const group* owningGroup = getgrgid(node.st_gid);
    ASSERT_NE(owningGroup, nullptr);
    EXPECT_EQ(outcome, "tavo: " + device + ": Permission denied; add the user to group " +
                           owningGroup->gr_name +
                           "\n50: System error: Unable to open serial port\n");
}

TEST_F(ComPortTest, OpenAppliesComSettingsFromTheUnnamedSectionAndCloseRestores) {
    termios initial = DeviceSettings();
    initial.c_lflag |= ECHO | ICANON;
    ASSERT_EQ(tcsetattr(m_pty.Master(), TCSANOW, &initial), 0);

    // Only the key line before the first heading counts; "Common" does not supply it.
    ConfigureTty("ComSettings = baud=9600 parity=n stop=2\n[Common]\nComSettings=baud=4800\n");
    ComPort port;
    port.Open();
    // A timeout change applies the timeouts only and keeps the line as it is.
    for (unsigned int timeoutMs : {0u, 300u}) {
        port.SetReadTimeout(timeoutMs);
        const termios applied = DeviceSettings();
        EXPECT_EQ(cfgetospeed(&applied), B9600);
        EXPECT_EQ(FrameOf(applied), "8N2");
        EXPECT_EQ(applied.c_lflag & (ECHO | ICANON), 0u);
        EXPECT_EQ(applied.c_cc[VTIME], timeoutMs / 100);
    }
    EXPECT_EQ(port.GetByteTimeoutMs(), 114);

    port.Close();
    port.Close(); // closing twice does nothing
    const termios restored = DeviceSettings();
    EXPECT_EQ(restored.c_lflag & (ECHO | ICANON), tcflag_t(ECHO | ICANON));
    EXPECT_EQ(cfgetospeed(&restored), cfgetospeed(&initial));

    // Without "ComSettings" the default settings string applies.
    ConfigureTty("[Common]\nComSettings=baud=4800\n");
    port.Open();
    const termios applied = DeviceSettings();
    EXPECT_EQ(cfgetospeed(&applied), B38400);
    // A pseudo-terminal keeps no parity bit, only its kind and the input check.
    EXPECT_NE(applied.c_cflag & PARODD, 0u);
    EXPECT_NE(applied.c_iflag & INPCK, 0u);
    port.Close();
}

TEST_F(ComPortTest, ReadTimeoutHasTenthOfSecondSteps) {
    ConfigureTty();
    ComPort port;
    port.Open();
    const auto readTimeout = [](ComPort& p) {
        unsigned int ms = 1;
        p.GetReadTimeout(ms);
        return ms;
    };
    EXPECT_EQ(readTimeout(port), 0u);
    port.SetReadTimeout(1050);
    EXPECT_EQ(readTimeout(port), 1000u);
    EXPECT_EQ(DeviceSettings().c_cc[VTIME], 10);
    EXPECT_EQ(DeviceSettings().c_cc[VMIN], 0);
    port.SetReadTimeout(25600); // VTIME is one byte
    EXPECT_EQ(readTimeout(port), 0u);

    // Under 100 ms: nothing waiting means an immediate empty read.
    port.SetReadTimeout(50);
    byte data[4];
    EXPECT_LT(MeasureMs([&] { EXPECT_FALSE(port.Read(data, 1)); }), 50);
    port.SetReadTimeout(200);
    const long long silentMs = MeasureMs([&] { EXPECT_FALSE(port.Read(data, 1)); });
    EXPECT_GE(silentMs, 150);
    EXPECT_LT(silentMs, 2000);

    // A pseudo-terminal drops the parity bit; a device that already holds everything else
    // must still count as set up, at open and at every timeout change. Two ports on one device
    // need the device lock switched off.
    AppConfig::SetParameter("SkipInstanceChecking", "1", false);
    ComPort second;
    second.Open();
    second.SetReadTimeout(300);
    EXPECT_EQ(readTimeout(second), 300u);
    EXPECT_EQ(DeviceSettings().c_cc[VTIME], 3);
    second.Close();
    port.Close();
}

TEST_F(ComPortTest, BlocksTravelUnchangedBothWays) {
    ConfigureTty();
    ComPort port;
    port.Open();
    port.SetReadTimeout(1000);
    const Bytes block = HexBytes("02 0A 0D 11 13 03 7F FF 00");
    EXPECT_TRUE(port.Write(block.data(), static_cast<unsigned int>(block.size())));
    EXPECT_EQ(ToHex(m_pty.Read(block.size(), 1000)), ToHex(block));

    byte data[16];
    m_pty.Write(HexBytes("41 0D 03 44 45 46"));
    EXPECT_EQ(port.ReadUnknownSize(data, sizeof(data), 0x03), 3u);
    EXPECT_EQ(ToHex(Bytes(data, data + 3)), "41 0D 03");
    EXPECT_TRUE(port.Read(data, 2));
    EXPECT_TRUE(port.Read(data + 2, 1));
    EXPECT_EQ(ToHex(Bytes(data, data + 3)), "44 45 46");
    // What arrived after an end byte and was not read yet goes with the device's input when
    // the port is opened again.
    m_pty.Write(HexBytes("03 47"));
    EXPECT_EQ(port.ReadUnknownSize(data, sizeof(data), 0x03), 1u);
    port.Close();
    port.Open();
    port.SetReadTimeout(0);
    EXPECT_FALSE(port.Read(data, 1));
    EXPECT_TRUE(port.WriteDirect(block.data(), 1));
    EXPECT_EQ(ToHex(m_pty.Read(1, 1000)), "02");

    // Bytes after the first are awaited far beyond the first-byte and per-byte timeouts, up to
    // "SerialProtocolByteMaxTime" of silence (0: without limit), after which the read ends
    // short. Either way the device is left with the read timeout it had.
    struct Gap {
        const char* byteMaxTime;
        int silenceMs; // before the last two bytes; -1: they never come
        unsigned int count;
        long long minMs, maxMs;
    };
    const Gap gaps[] = {
        {"600", 300, 3, 290, 1500}, {"0", 700, 3, 690, 1900}, {"300", -1, 1, 290, 1000}};
    for (const Gap& gap : gaps) {
        SCOPED_TRACE(gap.byteMaxTime);
        port.Close();
        Configure({{"TTY", m_pty.TtyName()}, {"SerialProtocolByteMaxTime", gap.byteMaxTime}});
        port.Open();
        port.SetReadTimeout(100);
        Peer peer(m_pty, [&gap](PseudoTerminal& pty) {
            pty.Write(HexBytes("01"));
            if (gap.silenceMs >= 0) {
                usleep(gap.silenceMs * 1000);
                pty.Write(HexBytes("02 03"));
            }
        });
        unsigned int count = 0;
        const long long ms = MeasureMs([&] { count = port.ReadUnknownSize(data, 3, 0x7F); });
        peer.Join();
        EXPECT_EQ(count, gap.count);
        EXPECT_GE(ms, gap.minMs);
        EXPECT_LT(ms, gap.maxMs);
        EXPECT_EQ(DeviceSettings().c_cc[VMIN], 0);
        EXPECT_EQ(DeviceSettings().c_cc[VTIME], 1);
    }

    std::string log;
    EXPECT_EQ(ErrorOf([&] { port.Read(nullptr, 1); }, &log), internalError);
    EXPECT_THAT(log, ::testing::HasSubstr("src/EcrComm/CommChannels/Linux/ComPort"));
    EXPECT_EQ(ErrorOf([&] { port.Write(block.data(), 0); }), internalError);
    port.Close();
}

TEST_F(ComPortTest, VanishedDeviceEndsWithAFixedError) {
    ConfigureTty();
    ComPort port;
    port.Open();
    port.SetReadTimeout(1000);
    // The device disappears while a read waits for the rest of a block.
    Peer peer(m_pty, [](PseudoTerminal& pty) {
        pty.Write(HexBytes("01"));
        usleep(100000);
        pty.CloseMaster();
    });
    byte data[4];
    std::string error;
    ::testing::internal::CaptureStderr();
    EXPECT_LT(MeasureMs([&] { error = ErrorOf([&] { port.Read(data, 4); }); }), 5000);
    peer.Join();
    // The read that was waiting fails; had the hang-up come between two reads, the next
    // timeout change would have.
    EXPECT_THAT(error, ::testing::AnyOf("50: System error: Serial port read error",
                                        "50: System error: Cannot read serial port timeouts"));
    EXPECT_EQ(ErrorOf([&] { port.Write(data, 1); }), "50: System error: Serial port write error");
    EXPECT_EQ(ErrorOf([&] { port.SetReadTimeout(100); }),
              "50: System error: Cannot read serial port timeouts");
    // Each failure names the device and the system's reason.
    const std::string cause = "tavo: /dev/" + m_pty.TtyName() + ": Input/output error\n";
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), cause + cause + cause);
    port.Close();
}
