// ecrsim: a simulated cash register on a pseudo-terminal or a serial device.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <termios.h>
#include <unistd.h>

#include "EcrComm/CommChannels/Linux/ComPort.h"
#include "SectionStore.h"
#include "SimEcr.h"
#include "SimLine.h"
#include "SimOptions.h"
#include "SimTransport.h"

namespace {

volatile std::sig_atomic_t stopRequested = 0;

void RequestStop(int) {
    stopRequested = 1;
}

[[noreturn]] void Die(const std::string& message) {
    std::fprintf(stderr, "ecrsim: %s: %s\n", message.c_str(), std::strerror(errno));
    std::exit(1);
}

void MakeRaw(int fd, speed_t speed, char parity) {
    termios settings;
    if (tcgetattr(fd, &settings) != 0) {
        Die("cannot read the line settings");
    }
    cfmakeraw(&settings);
    cfsetispeed(&settings, speed);
    cfsetospeed(&settings, speed);
    settings.c_cflag |= CLOCAL | CREAD;
    settings.c_cflag &= ~(PARENB | PARODD);
    if (parity != 'n') {
        settings.c_cflag |= PARENB | (parity == 'o' ? PARODD : 0);
    }
    if (tcsetattr(fd, TCSANOW, &settings) != 0) {
        Die("cannot set the line settings");
    }
}

speed_t SpeedOf(int baud) {
    speed_t speed;
    if (!BaudRateToSpeed(baud, speed)) {
        std::fprintf(stderr, "ecrsim: unsupported speed %d\n", baud);
        std::exit(2);
    }
    return speed;
}

// Creates the pseudo-terminal; keeps its device side open so that the line stays up between
// two runs of the tool, and raw so that nothing is echoed back.
int OpenPseudoTerminal(std::string& deviceName, int& deviceSide) {
    const int master = posix_openpt(O_RDWR | O_NOCTTY);
    if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0) {
        Die("cannot create a pseudo-terminal");
    }
    const char* path = ptsname(master);
    if (path == nullptr) {
        Die("cannot name the pseudo-terminal");
    }
    deviceSide = open(path, O_RDWR | O_NOCTTY);
    if (deviceSide < 0) {
        Die("cannot open the pseudo-terminal");
    }
    MakeRaw(deviceSide, B38400, 'n');
    deviceName = std::string(path).substr(std::strlen("/dev/"));
    return master;
}

} // namespace

int main(int argc, char** argv) {
    const SimOptions options = ParseSimOptions(argc, argv);
    std::signal(SIGINT, RequestStop);
    std::signal(SIGTERM, RequestStop);
    std::signal(SIGPIPE, SIG_IGN);

    int fd;
    int deviceSide = -1;
    std::string deviceName;
    if (options.device.empty()) {
        fd = OpenPseudoTerminal(deviceName, deviceSide);
    } else {
        fd = open(options.device.c_str(), O_RDWR | O_NOCTTY);
        if (fd < 0) {
            Die("cannot open " + options.device);
        }
        MakeRaw(fd, SpeedOf(options.baud), options.parity);
        deviceName = options.device;
    }
    std::printf("%s\n", deviceName.c_str());
    std::fflush(stdout);

    SectionStore store(options.dataDir);
    SimLine line(fd, options.corruptRate, options.seed);
    SimTransport transport(line, options);
    SimEcr ecr(options, store);
    std::vector<byte> frame;
    while (!stopRequested) {
        auto& outgoing = ecr.Outgoing();
        auto& held = ecr.Held();
        if (!outgoing.empty()) {
            transport.Send(outgoing.front());
            outgoing.pop_front();
            continue;
        }
        if (static_cast<int>(held.size()) >= options.packet) {
            outgoing.insert(outgoing.end(), held.begin(), held.end());
            held.clear();
            continue;
        }
        const int waitMs = held.empty() ? 100 : options.packetGapMs;
        if (transport.Receive(frame, waitMs)) {
            if (transport.TakeNewConnection()) {
                ecr.NewConnection();
            }
            ecr.Handle(frame);
        } else if (!held.empty()) {
            // The line is quiet: the PC is waiting for the answers of a short packet.
            outgoing.insert(outgoing.end(), held.begin(), held.end());
            held.clear();
        }
    }
    if (deviceSide >= 0) {
        close(deviceSide);
    }
    close(fd);
    return 0;
}
