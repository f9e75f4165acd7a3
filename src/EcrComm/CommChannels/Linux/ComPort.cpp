#include "EcrComm/CommChannels/Linux/ComPort.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <glob.h>
#include <grp.h>
#include <linux/serial.h>
#include <poll.h>
#include <pwd.h>
#include <sstream>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include "AppConfig.h"
#include "Console.h"
#include "Defaults.h"
#include "EcrComm/CommChannels/DataLogger.h"
#include "EcrComm/CommChannels/Linux/HighResolutionTimer.h"
#include "EcrComm/CommChannels/Linux/TerminalModes.h"
#include "Exceptions.h"
#include "IniFile.h"
#include "Logging.h"
#include "Tools.h"

bool BaudRateToSpeed(long baud, speed_t& speed) {
    switch (baud) {
    case 4800:
        speed = B4800;
        return true;
    case 9600:
        speed = B9600;
        return true;
    case 19200:
        speed = B19200;
        return true;
    case 38400:
        speed = B38400;
        return true;
    case 57600:
        speed = B57600;
        return true;
    case 115200:
        speed = B115200;
        return true;
    default:
        return false;
    }
}

namespace {

const char badSetupMessage[] = "Bad serial port setup parameters";
// VTIME counts tenths of a second.
const unsigned int msPerVtimeUnit = 100;
// The per-byte timeout never drops below one VTIME unit.
const int minByteTimeoutMs = 100;
// "SerialProtocolByteMaxTime": a register that falls silent within a frame is given up on
// after this long, so that it cannot hold the line for ever.
const int defaultByteMaxTimeMs = 10000;

struct LineSettings {
    long baud = 38400;
    int dataBits = 8;
    int stopBits = 1;
    char parity = 'o';
};

// Reads the value after the first occurrence of key, anywhere in the string. An absent key,
// or a value the conversion cannot read, leaves value as it was.
template <typename T>
void ScanSetting(const std::string& settings, const char* key, const char* conversion, T& value) {
    const size_t pos = settings.find(key);
    if (pos != std::string::npos) {
        std::sscanf(settings.c_str() + pos + std::strlen(key), conversion, &value);
    }
}

LineSettings ParseLineSettings(const std::string& settings) {
    LineSettings line;
    ScanSetting(settings, "baud=", "%ld", line.baud);
    ScanSetting(settings, "data=", "%d", line.dataBits);
    ScanSetting(settings, "stop=", "%d", line.stopBits);
    ScanSetting(settings, "parity=", "%c", line.parity);
    return line;
}

speed_t SpeedOf(long baud) {
    speed_t speed;
    if (!BaudRateToSpeed(baud, speed)) {
        throw new SystemException(badSetupMessage);
    }
    return speed;
}

// What the user can do about a device that cannot be opened, as "; hint" text, or empty.
std::string PermissionHint(const std::string& path) {
    struct stat device;
    if (stat(path.c_str(), &device) != 0) {
        return "";
    }
    const mode_t readWrite = S_IRUSR | S_IWUSR;
    if ((device.st_mode & (readWrite >> 3)) == (readWrite >> 3)) {
        const group* owningGroup = getgrgid(device.st_gid);
        return "add the user to group " + (owningGroup != nullptr
                                               ? std::string(owningGroup->gr_name)
                                               : std::to_string(device.st_gid));
    }
    if ((device.st_mode & readWrite) == readWrite) {
        const passwd* owner = getpwuid(device.st_uid);
        return "only user " +
               (owner != nullptr ? std::string(owner->pw_name) : std::to_string(device.st_uid)) +
               " may open it";
    }
    return "";
}

// The serial devices this machine has, for a device name that names none.
std::string SerialDevicesHint() {
    std::string found;
    for (const char* pattern :
         {"/dev/ttyS*", "/dev/ttyUSB*", "/dev/ttyACM*", "/dev/serial/by-id/*"}) {
        glob_t matches;
        if (glob(pattern, 0, nullptr, &matches) == 0) {
            for (size_t i = 0; i < matches.gl_pathc; ++i) {
                found += std::string(" ") + matches.gl_pathv[i];
            }
        }
        globfree(&matches);
    }
    return found.empty() ? "no serial device found" : "serial devices here:" + found;
}

std::string OpenFailureHint(const std::string& path, int error) {
    switch (error) {
    case EACCES:
        return PermissionHint(path);
    case ENOENT:
        return SerialDevicesHint();
    default:
        return "";
    }
}

// The process holding a lock on the open file, from the kernel's lock table; 0 when the table
// does not say. Its lines read "1: FLOCK  ADVISORY  WRITE 1234 00:19:5 0 EOF", the file given
// as device major:minor (hexadecimal):inode; waiting requests are marked "->" and skipped.
long LockHolder(int fd) {
    struct stat file;
    if (fstat(fd, &file) != 0) {
        return 0;
    }
    const std::string fileId = Format("%02x:%02x:%lu", major(file.st_dev), minor(file.st_dev),
                                      static_cast<unsigned long>(file.st_ino));
    std::ifstream locks("/proc/locks");
    std::string line;
    while (std::getline(locks, line)) {
        std::istringstream fields(line);
        std::string number, type, kind, mode, lockedFile;
        long pid = 0;
        if (fields >> number >> type >> kind >> mode >> pid >> lockedFile && type != "->" &&
            lockedFile == fileId) {
            return pid;
        }
    }
    return 0;
}

void SetCharacterSize(termios& settings, int dataBits) {
    settings.c_cflag &= ~CSIZE;
    switch (dataBits) {
    case 7:
        settings.c_cflag |= CS7;
        break;
    case 8:
        settings.c_cflag |= CS8;
        break;
    default:
        throw new SystemException(badSetupMessage);
    }
}

void SetStopBits(termios& settings, int stopBits) {
    switch (stopBits) {
    case 1:
        settings.c_cflag &= ~CSTOPB;
        break;
    case 2:
        settings.c_cflag |= CSTOPB;
        break;
    default:
        throw new SystemException(badSetupMessage);
    }
}

bool HasParity(char parity) {
    return parity != 'n' && parity != 'N';
}

void SetParity(termios& settings, char parity) {
    switch (parity) {
    case 'e':
    case 'E':
        settings.c_cflag |= PARENB;
        settings.c_cflag &= ~PARODD;
        settings.c_iflag |= INPCK;
        break;
    case 'n':
    case 'N':
        settings.c_cflag &= ~PARENB;
        settings.c_iflag &= ~INPCK;
        break;
    case 'o':
    case 'O':
        settings.c_cflag |= PARENB | PARODD;
        settings.c_iflag |= INPCK;
        break;
    default:
        throw new SystemException(badSetupMessage);
    }
}

// Raw 8-bit line with hardware flow control.
void MakeRawWithFlowControl(termios& settings) {
    settings.c_cflag |= CRTSCTS | CLOCAL | HUPCL | CREAD;
    settings.c_oflag &= ~(OPOST | ONLCR);
    settings.c_lflag &= ~(ISIG | ICANON | ECHO | ECHOE);
    settings.c_iflag &= ~(IGNBRK | BRKINT | ISTRIP | IUCLC | IXON | IXANY | IXOFF);
}

// The time allowed between two bytes of one delivery: "ComByteTimeMult" character times,
// never less than one VTIME unit.
int ByteTimeoutMs(const LineSettings& line) {
    const int bitsPerChar = 1 + line.dataBits + line.stopBits + (HasParity(line.parity) ? 1 : 0);
    const long double charTimeMs = static_cast<long double>(AppConfig::GetParameter(
                                       "ComByteTimeMult", defaultComByteTimeMult)) *
                                   bitsPerChar * 1000.0L / line.baud;
    return charTimeMs >= minByteTimeoutMs ? static_cast<int>(charTimeMs) : minByteTimeoutMs;
}

// How many of the received bytes belong to the read: all of them, or those through the end
// byte when it is among them (endByteSeen then tells so).
unsigned int BytesThroughEndByte(const byte* data, unsigned int received, bool useEndByte,
                                 byte endByte, bool& endByteSeen) {
    const byte* end = useEndByte ? std::find(data, data + received, endByte) : data + received;
    endByteSeen = end != data + received;
    return endByteSeen ? static_cast<unsigned int>(end - data) + 1 : received;
}

} // namespace

ComPort::ComPort()
    : handle(-1), initialSettings(), currentSettings(), byteTimeoutMs(0), settingsApplied(false),
      byteMaxTimeMs(0) {}

ComPort::~ComPort() {
    ComPort::Close();
}

void ComPort::Abandon() {
    // The descriptor stays open, with the device in its current settings, until the process
    // ends; the destructor then finds nothing to close.
    handle = -1;
}

void ComPort::Open() {
    const std::string tty = AppConfig::GetParameter("TTY", "");
    if (tty.empty()) {
        throw new ConfigurationException("Bad or missing tty name");
    }
    devicePath = "/dev/" + tty;
    LogMsg(LogType_Debug, "Opening serial port " + devicePath, true);

    readAhead.clear();
    settingsApplied = false;
    byteMaxTimeMs = AppConfig::GetParameter("SerialProtocolByteMaxTime", defaultByteMaxTimeMs);
    OpenDevice();
    LockDevice();
    if (tcgetattr(handle, &initialSettings) != 0) {
        Fail("Cannot read serial port settings. Please ensure that correct TTY specified");
    }
    ComPort_Setup(defaultComSettings);
    ComPort_Setup(IniFile::GetString("ComSettings", ""));
    if (!ApplySettings(TCSAFLUSH)) {
        Fail("Cannot set serial port settings");
    }
    settingsApplied = true;
    RequestLowLatency();
}

void ComPort::OpenDevice() {
    handle = open(devicePath.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
    if (handle == -1) {
        const int error = errno;
        ReportSystemCause(devicePath, error, OpenFailureHint(devicePath, error));
        errno = error;
        throw new SystemException("Unable to open serial port");
    }
    // Opened non-blocking so that a missing carrier cannot hang the open; I/O blocks from now.
    fcntl(handle, F_SETFL, 0);
}

void ComPort::Fail(const char* message) {
    const int error = errno;
    settingsApplied = false;
    ReportSystemCause(devicePath, error);
    errno = error;
    throw new SystemException(message);
}

// Serial programs on this system (terminal programs, modem managers) take an exclusive lock on
// the device they use; taking it too keeps two programs from reading each other's bytes.
void ComPort::LockDevice() {
    if (AppConfig::GetParameter("SkipInstanceChecking", 0) != 0) {
        return;
    }
    if (flock(handle, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        const long holder = LockHolder(handle);
        ReportCause(devicePath, holder != 0 ? Format("in use by process %ld", holder)
                                            : std::string("in use by another program"));
        close(handle);
        handle = -1;
        throw new ApplicationException("Another application is working now with ECR",
                                       ReturnCode_EcrPortLocked);
    }
}

// USB-serial adapters hold received bytes back for several milliseconds unless the driver
// runs in low-latency mode; that delay would hit every acknowledgement. Devices that do not
// know the request (a pseudo-terminal, for one) keep working as they are.
void ComPort::RequestLowLatency() {
    serial_struct serial;
    std::memset(&serial, 0, sizeof(serial));
    if (ioctl(handle, TIOCGSERIAL, &serial) != 0) {
        return;
    }
    serial.flags |= ASYNC_LOW_LATENCY;
    ioctl(handle, TIOCSSERIAL, &serial);
}

void ComPort::Close() {
    if (handle == -1) {
        return;
    }
    LogMsg(LogType_Debug, "Closing serial port", true);
    fsync(handle);
    tcsetattr(handle, TCSANOW, &initialSettings);
    close(handle);
    handle = -1;
    settingsApplied = false;
    readAhead.clear();
}

void ComPort::ComPort_Setup(const std::string& settings) {
    if (settings.empty()) {
        return;
    }
    const LineSettings line = ParseLineSettings(settings);
    // The device keeps the old settings until the next change applies these.
    settingsApplied = false;

    std::memset(&currentSettings, 0, sizeof(currentSettings));
    const speed_t speed = SpeedOf(line.baud);
    cfsetispeed(&currentSettings, speed);
    cfsetospeed(&currentSettings, speed);
    SetCharacterSize(currentSettings, line.dataBits);
    SetStopBits(currentSettings, line.stopBits);
    SetParity(currentSettings, line.parity);
    MakeRawWithFlowControl(currentSettings);
    byteTimeoutMs = ByteTimeoutMs(line);
}

void ComPort::ComPort_SetSerialPortTimeoutSettings(byte minBytes, unsigned int timeoutMs) {
    // VTIME is one byte: timeouts above 25.5 s wrap.
    const cc_t vtime = static_cast<cc_t>(timeoutMs / msPerVtimeUnit);
    // Every read sets its timeouts and restores them afterwards, mostly to the values the
    // device already holds; those changes are skipped, as they would change nothing.
    if (settingsApplied && currentSettings.c_cc[VMIN] == minBytes &&
        currentSettings.c_cc[VTIME] == vtime) {
        return;
    }
    // After a failure (or before the port is set up) memory cannot vouch for the device: it
    // has to answer first. A refused change asks it too, so that a device that has gone away
    // is reported as unreadable, whichever call noticed first.
    termios deviceSettings;
    if (!settingsApplied && tcgetattr(handle, &deviceSettings) != 0) {
        Fail("Cannot read serial port timeouts");
    }
    currentSettings.c_cc[VMIN] = minBytes;
    currentSettings.c_cc[VTIME] = vtime;
    if (!ApplyTimeouts()) {
        const int error = errno;
        if (tcgetattr(handle, &deviceSettings) != 0) {
            Fail("Cannot read serial port timeouts");
        }
        errno = error;
        Fail("Cannot set serial port timeouts");
    }
    settingsApplied = true;
}

// Everything but the timeouts was applied and checked when the port was opened.
bool ComPort::ApplyTimeouts() {
    static_assert(sizeof(tcflag_t) == sizeof(unsigned int) && sizeof(cc_t) == 1,
                  "termios field types");
    const TerminalModes modes = {currentSettings.c_iflag,
                                 currentSettings.c_oflag,
                                 currentSettings.c_cflag,
                                 currentSettings.c_lflag,
                                 currentSettings.c_line,
                                 currentSettings.c_cc,
                                 NCCS};
    return SetTerminalModesNow(handle, modes);
}

// The C library double-checks a change of the control flags and reports EINVAL when the
// driver kept its own, as a pseudo-terminal does with the parity bit, although everything else
// was applied. The settings count as applied when the device holds all but the control flags.
bool ComPort::ApplySettings(int when) {
    if (tcsetattr(handle, when, &currentSettings) == 0) {
        return true;
    }
    if (errno != EINVAL) {
        return false;
    }
    termios applied;
    return tcgetattr(handle, &applied) == 0 && applied.c_iflag == currentSettings.c_iflag &&
           applied.c_oflag == currentSettings.c_oflag &&
           applied.c_lflag == currentSettings.c_lflag &&
           applied.c_cc[VMIN] == currentSettings.c_cc[VMIN] &&
           applied.c_cc[VTIME] == currentSettings.c_cc[VTIME];
}

void ComPort::ComPort_SetInterByteReadTimeout(unsigned int timeoutMs, byte minBytes) {
    ComPort_SetSerialPortTimeoutSettings(minBytes, timeoutMs);
}

void ComPort::SetReadTimeout(unsigned int ms) {
    ComPort_SetSerialPortTimeoutSettings(0, ms);
}

void ComPort::GetReadTimeout(unsigned int& ms) {
    ms = currentSettings.c_cc[VTIME] * msPerVtimeUnit;
}

unsigned int ComPort::ReadUnknownSize(byte* data, unsigned int size,
                                      unsigned int firstByteTimeoutMs,
                                      unsigned int nextByteTimeoutMs, bool useEndByte,
                                      byte endByte) {
    if (size == 0 || data == nullptr) {
        THROW_INTERNAL_ERROR();
    }
    unsigned int savedTimeoutMs = 0;
    GetReadTimeout(savedTimeoutMs);
    SetReadTimeout(firstByteTimeoutMs);
    const HighResolutionTimer& timer = GetHighResolutionTimer();
    const long long startTime = timer.GetValue();
    const unsigned int count = ReceiveBlock(data, size, nextByteTimeoutMs, useEndByte, endByte);
    const long long endTime = timer.GetValue();
    SetReadTimeout(savedTimeoutMs);
    DataLogger::LogBlock(data, count, startTime, endTime, Direction_EcrToPc, "");
    return count;
}

unsigned int ComPort::ReceiveBlock(byte* data, unsigned int size, unsigned int nextByteTimeoutMs,
                                   bool useEndByte, byte endByte) {
    unsigned int count = 0;
    while (count < size) {
        if (count > 0 && !WaitForNextByte()) {
            break; // the line fell silent within the block
        }
        const unsigned int received = ReceiveBytes(data + count, size - count);
        if (received == 0) {
            break; // the line stayed silent for the timeout
        }
        bool endByteSeen = false;
        const unsigned int stored =
            BytesThroughEndByte(data + count, received, useEndByte, endByte, endByteSeen);
        // Bytes that arrived after the end byte belong to the next read.
        KeepForNextRead(data + count + stored, received - stored);
        const bool firstBytes = count == 0;
        count += stored;
        if (endByteSeen || count == size) {
            break;
        }
        if (firstBytes) {
            ComPort_SetSerialPortTimeoutSettings(1, nextByteTimeoutMs);
        }
    }
    return count;
}

// Reads what has arrived, up to maxSize bytes, waiting as the timeouts in force say: bytes kept
// from an earlier read first, as they came before anything still in the device. A single read
// call takes all bytes already waiting, which costs far less than fetching them one by one.
unsigned int ComPort::ReceiveBytes(byte* data, unsigned int maxSize) {
    if (!readAhead.empty()) {
        const unsigned int count =
            static_cast<unsigned int>(std::min<size_t>(readAhead.size(), maxSize));
        std::copy(readAhead.begin(), readAhead.begin() + count, data);
        readAhead.erase(readAhead.begin(), readAhead.begin() + count);
        return count;
    }
    for (;;) {
        const ssize_t result = read(handle, data, maxSize);
        if (result >= 0) {
            return static_cast<unsigned int>(result);
        }
        if (errno != EINTR) {
            Fail("Serial port read error");
        }
    }
}

// Waits until a further byte of a block can be read; false when the line stays silent for
// byteMaxTimeMs. The port's VMIN 1 would wait without limit.
bool ComPort::WaitForNextByte() {
    if (byteMaxTimeMs <= 0 || !readAhead.empty()) {
        return true;
    }
    using Clock = std::chrono::steady_clock;
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(byteMaxTimeMs);
    for (;;) {
        const long long leftMs =
            std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd device = {handle, POLLIN, 0};
        const int ready = poll(&device, 1, static_cast<int>(std::max(leftMs, 0LL)));
        if (ready != -1) {
            // A hang-up or error counts as ready: the read then reports it.
            return ready > 0;
        }
        if (errno != EINTR) {
            Fail("Serial port read error");
        }
    }
}

void ComPort::KeepForNextRead(const byte* data, unsigned int size) {
    readAhead.insert(readAhead.begin(), data, data + size);
}

bool ComPort::Read(byte* data, unsigned int size) {
    unsigned int firstByteTimeoutMs = 0;
    GetReadTimeout(firstByteTimeoutMs);
    return ReadUnknownSize(data, size, firstByteTimeoutMs, byteTimeoutMs, false, 0) == size;
}

unsigned int ComPort::ReadUnknownSize(byte* data, unsigned int size, byte endByte) {
    unsigned int firstByteTimeoutMs = 0;
    GetReadTimeout(firstByteTimeoutMs);
    return ReadUnknownSize(data, size, firstByteTimeoutMs, byteTimeoutMs, true, endByte);
}

bool ComPort::Write(const byte* data, unsigned int size) {
    if (size == 0 || data == nullptr) {
        THROW_INTERNAL_ERROR();
    }
    const HighResolutionTimer& timer = GetHighResolutionTimer();
    const long long startTime = timer.GetValue();
    const ssize_t written = write(handle, data, size);
    if (written == -1) {
        Fail("Serial port write error");
    }
    const long long endTime = timer.GetValue();
    DataLogger::LogBlock(data, static_cast<unsigned int>(written), startTime, endTime,
                         Direction_PcToEcr, "");
    return static_cast<unsigned int>(written) == size;
}

bool ComPort::WriteDirect(const byte* data, unsigned int size) {
    return Write(data, size);
}
