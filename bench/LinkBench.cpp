// Round trips over a pseudo-terminal against a peer thread that answers at once:
//   BM_BareEcho       write 64 bytes, read a 16-byte answer, straight on the terminal
//                     (what the pseudo-terminal itself allows);
//   BM_ComPortEcho    the same through ComPort (byte-wise reads, timeouts set per read);
//   BM_PortWithTC     one acknowledged 64-byte block plus one framed 16-byte answer, with the
//                     response time equal to the read timeout (1000 ms, both defaults) and
//                     with 500 ms, so that every acknowledgement read changes the terminal's
//                     timeouts twice;
//   BM_FrameExchange  the same as application frames through SendFrame and ReadFrame.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <termios.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "AppConfig.h"
#include "EcrComm/CommBase.h"
#include "EcrComm/CommChannel.h"
#include "EcrComm/CommChannels/Compatibility/TcFrameSeqNo.h"
#include "EcrComm/CommChannels/Linux/ComPort.h"
#include "EcrComm/CommChannels/PortWithTC.h"
#include "EcrComm/CommChannels/TcFrame.h"
#include "Exceptions.h"

namespace {

const unsigned int requestSize = 64;
const unsigned int answerSize = 16;

struct PseudoTerminal {
    int master = -1;
    std::string ttyName; // below /dev

    PseudoTerminal() {
        master = posix_openpt(O_RDWR | O_NOCTTY);
        if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0) {
            throw std::runtime_error("no pseudo-terminal");
        }
        ttyName = std::string(ptsname(master)).substr(5);
    }
    ~PseudoTerminal() { close(master); }
};

void Configure(const std::string& tty) {
    AppConfig::Clear();
    AppConfig::SetParameter("ConfigFilePath", "/nonexistent/TAVO.ini", false);
    AppConfig::SetParameter("TTY", tty, false);
    AppConfig::SetParameter("ComSettings", "", false);
    AppConfig::Initialize();
}

// Reads exactly size bytes; false once the other side has gone.
bool ReadAll(int fd, byte* data, size_t size) {
    size_t done = 0;
    while (done < size) {
        const ssize_t got = read(fd, data + done, size - done);
        if (got <= 0) {
            return false;
        }
        done += static_cast<size_t>(got);
    }
    return true;
}

// Echo peer: reads each request and answers it with answerSize bytes at once. Ends when the
// program side closes the terminal.
void RunEchoPeer(int master) {
    byte request[requestSize];
    const std::vector<byte> answer(answerSize, 0x5A);
    while (ReadAll(master, request, sizeof(request))) {
        if (write(master, answer.data(), answer.size()) < 0) {
            return;
        }
    }
}

// Transport-control peer: takes each frame (skipping the PC's ACK of the previous answer) and
// answers with ACK followed by a 16-byte answer frame, in one write.
void RunFramePeer(int master, const std::vector<byte>& answerPayload) {
    std::vector<std::vector<byte>> answers;
    byte seqNo = 32;
    for (int i = 0; i < 224; ++i, seqNo = TcFrameSeqNo::Next(seqNo)) {
        byte frame[128];
        const uint16 size =
            TcFrame::Build(answerPayload.data(), static_cast<uint16>(answerPayload.size()), seqNo,
                           frame, sizeof(frame));
        std::vector<byte> reply(size + 1u, tcframe::ACK);
        std::copy(frame, frame + size, reply.begin() + 1);
        answers.push_back(reply);
    }
    byte buf[512];
    size_t next = 0;
    for (;;) {
        // Read through the frame's ETX.
        ssize_t got = 0;
        bool frameSeen = false;
        while (!frameSeen) {
            got = read(master, buf, sizeof(buf));
            if (got <= 0) {
                return;
            }
            frameSeen = buf[got - 1] == tcframe::ETX;
        }
        const std::vector<byte>& reply = answers[next];
        next = (next + 1) % answers.size();
        if (write(master, reply.data(), reply.size()) < 0) {
            return;
        }
    }
}

void BM_BareEcho(benchmark::State& state) {
    PseudoTerminal pty;
    const int slave = open(("/dev/" + pty.ttyName).c_str(), O_RDWR | O_NOCTTY);
    termios raw;
    tcgetattr(slave, &raw);
    cfmakeraw(&raw);
    raw.c_cc[VMIN] = 1;
    raw.c_cc[VTIME] = 0;
    tcsetattr(slave, TCSANOW, &raw);
    std::thread peer(RunEchoPeer, pty.master);

    const std::vector<byte> request(requestSize, 0x41);
    byte answer[answerSize];
    for (auto _ : state) {
        if (write(slave, request.data(), request.size()) != requestSize ||
            !ReadAll(slave, answer, sizeof(answer))) {
            state.SkipWithError("echo failed");
            break;
        }
    }
    close(slave);
    peer.join();
    state.SetItemsProcessed(state.iterations());
}

// One request block out, one answer block back, as often as the benchmark asks.
void ExchangeBlocks(benchmark::State& state, ICommChannel& port) {
    const std::vector<byte> request(requestSize, 0x41);
    byte answer[answerSize];
    for (auto _ : state) {
        if (!port.Write(request.data(), requestSize) || !port.Read(answer, answerSize)) {
            state.SkipWithError("exchange failed");
            break;
        }
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_ComPortEcho(benchmark::State& state) {
    PseudoTerminal pty;
    Configure(pty.ttyName);
    ComPort port;
    port.Open();
    port.SetReadTimeout(1000);
    std::thread peer(RunEchoPeer, pty.master);

    ExchangeBlocks(state, port);
    port.Close();
    peer.join();
}

void BM_PortWithTC(benchmark::State& state) {
    PseudoTerminal pty;
    Configure(pty.ttyName);
    AppConfig::SetParameter("SerialProtocolResponseMaxTime", std::to_string(state.range(0)), false);
    PortWithTC port(CommChannel_SerialPortWithTC);
    port.Open();
    port.SetReadTimeout(1000);
    std::thread peer(RunFramePeer, pty.master, std::vector<byte>(answerSize, 0x5A));

    ExchangeBlocks(state, port);
    port.Close();
    peer.join();
}

void BM_FrameExchange(benchmark::State& state) {
    PseudoTerminal pty;
    Configure(pty.ttyName);
    SetProtocol(GetProtocolIDBySet(Protocol_Standard));
    // The answer as an application frame of 16 bytes: 13 data bytes after the header.
    std::vector<byte> answerFrame = {Protocol_Standard_Set1, answerSize - 3, 0};
    answerFrame.resize(answerSize, 0x5A);
    SelectCommChannel(CommChannel_SerialPortWithTC);
    CommChannel_Open();
    CommChannel_SetReadTimeout(1000);
    std::thread peer(RunFramePeer, pty.master, answerFrame);

    const std::vector<byte> request(requestSize - 3, 0x41);
    byte answer[1024];
    for (auto _ : state) {
        uint16 length = 0;
        if (SendFrame(request.data(), static_cast<uint16>(request.size())) != CommResult_OK ||
            ReadFrame(answer, sizeof(answer), length) != CommResult_OK) {
            state.SkipWithError("exchange failed");
            break;
        }
    }
    CommChannel_Close();
    SelectCommChannel(CommChannel_Ethernet);
    peer.join();
    state.SetItemsProcessed(state.iterations());
}

} // namespace

BENCHMARK(BM_BareEcho)->UseRealTime();
BENCHMARK(BM_ComPortEcho)->UseRealTime();
BENCHMARK(BM_PortWithTC)->Arg(1000)->Arg(500)->UseRealTime();
BENCHMARK(BM_FrameExchange)->UseRealTime();
