// ecrsim: a simulated cash register on a pseudo-terminal or a serial device.
#include <chrono>
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

using Clock = std::chrono::steady_clock;

[[noreturn]] void Die(const std::string& message) {
    std::fprintf(stderr, "ecrsim: %s: %s\n", message.c_str(), std::strerror(errno));
    std::exit(1);
}

// SIGINT and SIGTERM end the simulator. Without SA_RESTART a blocking call that the signal
// interrupts returns, and every wait of the line checks the request.
void InstallStopHandlers() {
    struct sigaction action = {};
    action.sa_handler = SimLine::RequestStop;
    sigemptyset(&action.sa_mask);
    action.sa_flags = 0;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
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

// Sends the first queued answer; one the PC does not take ends the data session.
void SendNext(SimLine& line, SimTransport& transport, SimEcr& ecr, Clock::time_point& lastHeard) {
    const SimTransport::SendResult result = transport.Send(ecr.Outgoing().front());
    if (result == SimTransport::Send_Delivered) {
        ecr.Outgoing().pop_front();
        lastHeard = Clock::now();
    } else if (result == SimTransport::Send_Lost) {
        ecr.EndSession("the PC took no answer");
        line.DropUnread();
    }
}

// Hands the PC's next frame to the register. A quiet line ends the PC's packet, so the held
// answers go out; a data session that stays quiet for the idle time-out ends.
void Listen(SimTransport& transport, SimEcr& ecr, const SimOptions& options, int gapMs,
            Clock::time_point& lastHeard) {
    std::vector<byte> frame;
    if (transport.Receive(frame, ecr.HasHeld() ? gapMs : 100)) {
        lastHeard = Clock::now();
        if (transport.TakeNewConnection()) {
            ecr.NewConnection();
        }
        ecr.Handle(frame);
    } else if (ecr.HasHeld()) {
        ecr.ReleaseHeld(true);
    } else if (options.idleTimeoutMs > 0 && ecr.InDataSession() &&
               Clock::now() - lastHeard > std::chrono::milliseconds(options.idleTimeoutMs)) {
        ecr.EndSession("nothing heard from the PC for " + std::to_string(options.idleTimeoutMs) +
                       " ms");
    }
}

// The register at work until a stop is requested: answers go out first; answers to records
// wait until the PC has sent its packet; a data session ends when a new link starts, when the
// PC does not take an answer, or when nothing was heard from the PC for the idle time-out.
void Serve(SimLine& line, SimTransport& transport, SimEcr& ecr, const SimOptions& options) {
    // A packet has ended when the PC has been quiet for the gap; on a slow line the PC's next
    // frame needs a few byte times more to show.
    const int gapMs = options.packetGapMs + static_cast<int>(3 * line.ByteTimeMs());
    Clock::time_point lastHeard = Clock::now();
    while (!SimLine::StopRequested()) {
        if (transport.TakeNewConnection() && !transport.Stalled()) {
            ecr.NewConnection();
        }
        if (transport.Stalled()) {
            ecr.Outgoing().clear();
            std::vector<byte> ignored;
            transport.Receive(ignored, 100); // read on, answer nothing
        } else if (!ecr.Outgoing().empty()) {
            SendNext(line, transport, ecr, lastHeard);
        } else if (ecr.HeldPacketComplete()) {
            ecr.ReleaseHeld(false);
        } else {
            Listen(transport, ecr, options, gapMs, lastHeard);
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    const SimOptions options = ParseSimOptions(argc, argv);
    const std::string dataDirProblem = SectionStore::PrepareDataDir(options.dataDir);
    if (!dataDirProblem.empty()) {
        std::fprintf(stderr, "ecrsim: %s\n", dataDirProblem.c_str());
        return 1;
    }
    InstallStopHandlers();

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
        MakeRaw(fd, SpeedOf(options.baud == 0 ? 38400 : options.baud), options.parity);
        deviceName = options.device;
    }
    // Every wait on the line is a poll that a stop can end; a write must never block.
    fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK);
    std::printf("%s\n", deviceName.c_str());
    std::fflush(stdout);

    SectionStore store(options.dataDir);
    SimLine line(fd, deviceSide, TimingOf(options), options.corruptRate, options.seed);
    SimTransport transport(line, options);
    SimEcr ecr(options, store);
    Serve(line, transport, ecr, options);
    if (deviceSide >= 0) {
        close(deviceSide);
    }
    close(fd);
    return 0;
}
