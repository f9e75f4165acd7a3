#include "SimOptions.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <vector>

namespace {

const char helpText[] =
    "Usage: ecrsim [options]\n"
    "\n"
    "Plays a ZEL cash register on a serial line so that tavo, and the back-office scripts that\n"
    "call it, can be tried without a cash register. Without --device it creates a\n"
    "pseudo-terminal and prints its name (for example pts/3) as the first line of standard\n"
    "output; pass that name to tavo as the serial device:\n"
    "\n"
    "    ecrsim --data-dir demo &          # prints e.g. pts/3\n"
    "    tavo send 3 plu.csv /TTY=pts/3\n"
    "    tavo read 3 back.csv /TTY=pts/3\n"
    "\n"
    "It runs until it is interrupted (Ctrl-C or SIGTERM). Every frame is decoded on standard\n"
    "error. Sections live in memory and, with --data-dir, in DIR/sectionN.csv (loaded at start,\n"
    "written after every change), so a demo can be inspected and prepared by hand. Executed\n"
    "fiscal commands are appended to DIR/fiscal.csv.\n"
    "\n"
    "Line:\n"
    "  --device PATH          serve a serial device (null-modem cable, USB adapter) instead\n"
    "  --baud N               line speed: on a device its setting (default 38400); on the\n"
    "                         pseudo-terminal bytes then pass no faster than on such a line,\n"
    "                         both ways (default: at once)\n"
    "  --bits-per-byte B      bits one byte takes on that line (default 10: start bit, 8 data\n"
    "                         bits, stop bit; 11 with parity)\n"
    "  --turnaround MS        delay between the PC's last byte and the answer to it (an ACK\n"
    "                         or NAK and any frame right behind it), as a USB adapter adds\n"
    "                         (default 0)\n"
    "  --parity n|o|e         parity on a device (default o, as tavo's default settings)\n"
    "  --tc-version 1|2|3     transport-control version (default 3); frames of another\n"
    "                         version are answered with NAK, so tavo's fallback shows\n"
    "  --ack-timeout MS       wait for tavo's acknowledgement (default 300)\n"
    "  --retries N            attempts per frame (default 10)\n"
    "\n"
    "Cash register:\n"
    "  --data-dir DIR         load and save sections in DIR (created when missing)\n"
    "  --protocol-set 0|1     protocol identifiers 1/3/4 or 11/13/14 (default 1)\n"
    "  --password TEXT        ask for authorisation with this password\n"
    "  --packet N             tavo's RecordsInPacket: answers to records are held until N\n"
    "                         are due (default: learnt from the first pause of each session)\n"
    "  --packet-gap MS        a pause after which held answers go out anyway (default 50)\n"
    "  --idle-timeout MS      end a data session that hears nothing for MS (default 5000;\n"
    "                         0 never); a new link (frame number 0) always ends it\n"
    "  --wait-frames N        'wait' answers during clear, init and fiscal commands (default 2)\n"
    "  --request-answer CODE  answer every operation request with CODE (2 busy, 6 failed,\n"
    "                         7 not activated, 1 unknown command)\n"
    "  --fiscal-answer CODE   final answer to fiscal commands (default 0, done)\n"
    "\n"
    "Faults:\n"
    "  --nak-first N          answer the first N frames with NAK\n"
    "  --ignore-first N       ignore the first N frames (no answer at all)\n"
    "  --garbage N            send N noise bytes before every frame\n"
    "  --corrupt-rate R       damage each byte on the line with probability R, both ways\n"
    "  --seed N               seed for noise and damage (default 1)\n"
    "  --busy-record KEY      answer the record with this number 'can not update' (repeatable)\n"
    "  --bad-data KEY:FIELD   reject the record with this number, naming FIELD (1-based)\n"
    "  --session-timeout N    end every data session on the ECR side after N records\n"
    "  --stall-answer N       send only the first byte (STX) of the Nth frame of the run, then\n"
    "                         fall silent for good (still reading, never answering)\n"
    "\n"
    "  --quiet                no traffic log\n"
    "  --help                 this text\n";

[[noreturn]] void Fail(const std::string& message) {
    std::fprintf(stderr, "ecrsim: %s (see ecrsim --help)\n", message.c_str());
    std::exit(2);
}

long long ToNumber(const std::string& option, const std::string& text) {
    char* end = nullptr;
    errno = 0;
    const long long value = std::strtoll(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || errno != 0) {
        Fail("option " + option + " needs a number, not '" + text + "'");
    }
    return value;
}

int ToInt(const std::string& option, const std::string& text, long long min, long long max) {
    const long long value = ToNumber(option, text);
    if (value < min || value > max) {
        Fail("option " + option + " is out of range: " + text);
    }
    return static_cast<int>(value);
}

} // namespace

SimOptions ParseSimOptions(int argc, char** argv) {
    SimOptions o;
    using Setter = std::function<void(const std::string&, const std::string&)>;
    const std::map<std::string, Setter> withValue = {
        {"--device", [&](auto&, auto& v) { o.device = v; }},
        {"--baud", [&](auto& n, auto& v) { o.baud = ToInt(n, v, 50, 4000000); }},
        {"--bits-per-byte", [&](auto& n, auto& v) { o.bitsPerByte = ToInt(n, v, 1, 64); }},
        {"--turnaround", [&](auto& n, auto& v) { o.turnaroundMs = ToInt(n, v, 0, 60000); }},
        {"--parity",
         [&](auto& n, auto& v) {
             if (v != "n" && v != "o" && v != "e") {
                 Fail("option " + n + " takes n, o or e");
             }
             o.parity = v[0];
         }},
        {"--data-dir", [&](auto&, auto& v) { o.dataDir = v; }},
        {"--tc-version", [&](auto& n, auto& v) { o.tcVersion = ToInt(n, v, 1, 3); }},
        {"--protocol-set", [&](auto& n, auto& v) { o.protocolSet = ToInt(n, v, 0, 1); }},
        {"--password", [&](auto&, auto& v) { o.password = v; }},
        {"--packet", [&](auto& n, auto& v) { o.packet = ToInt(n, v, 1, 100000); }},
        {"--packet-gap", [&](auto& n, auto& v) { o.packetGapMs = ToInt(n, v, 1, 60000); }},
        {"--idle-timeout", [&](auto& n, auto& v) { o.idleTimeoutMs = ToInt(n, v, 0, 3600000); }},
        {"--ack-timeout", [&](auto& n, auto& v) { o.ackTimeoutMs = ToInt(n, v, 1, 60000); }},
        {"--retries", [&](auto& n, auto& v) { o.retries = ToInt(n, v, 1, 1000); }},
        {"--wait-frames", [&](auto& n, auto& v) { o.waitFrames = ToInt(n, v, 0, 100000); }},
        {"--request-answer", [&](auto& n, auto& v) { o.requestAnswer = ToInt(n, v, 0, 255); }},
        {"--fiscal-answer", [&](auto& n, auto& v) { o.fiscalAnswer = ToInt(n, v, 0, 255); }},
        {"--nak-first", [&](auto& n, auto& v) { o.nakFirst = ToInt(n, v, 0, 1000000); }},
        {"--ignore-first", [&](auto& n, auto& v) { o.ignoreFirst = ToInt(n, v, 0, 1000000); }},
        {"--garbage", [&](auto& n, auto& v) { o.garbageBytes = ToInt(n, v, 0, 1000); }},
        {"--corrupt-rate",
         [&](auto& n, auto& v) {
             char* end = nullptr;
             o.corruptRate = std::strtod(v.c_str(), &end);
             if (v.empty() || *end != '\0' || o.corruptRate < 0 || o.corruptRate > 1) {
                 Fail("option " + n + " takes a probability from 0 to 1");
             }
         }},
        {"--seed", [&](auto& n, auto& v) { o.seed = static_cast<unsigned>(ToNumber(n, v)); }},
        {"--busy-record", [&](auto& n, auto& v) { o.busyRecords.insert(ToNumber(n, v)); }},
        {"--bad-data",
         [&](auto& n, auto& v) {
             const size_t colon = v.find(':');
             if (colon == std::string::npos) {
                 Fail("option " + n + " takes KEY:FIELD");
             }
             o.badDataRecords[ToNumber(n, v.substr(0, colon))] =
                 ToInt(n, v.substr(colon + 1), 0, 255);
         }},
        {"--session-timeout",
         [&](auto& n, auto& v) { o.sessionTimeoutAfter = ToInt(n, v, 1, 1000000000); }},
        {"--stall-answer", [&](auto& n, auto& v) { o.stallAnswer = ToInt(n, v, 1, 1000000000); }},
    };
    for (int i = 1; i < argc; ++i) {
        const std::string name = argv[i];
        if (name == "--help" || name == "-h") {
            std::fputs(helpText, stdout);
            std::exit(0);
        }
        if (name == "--quiet") {
            o.quiet = true;
            continue;
        }
        const auto setter = withValue.find(name);
        if (setter == withValue.end()) {
            Fail("unknown option " + name);
        }
        if (i + 1 >= argc) {
            Fail("option " + name + " needs a value");
        }
        setter->second(name, argv[++i]);
    }
    return o;
}

LineTiming TimingOf(const SimOptions& options) {
    LineTiming timing;
    timing.turnaroundMs = options.turnaroundMs;
    if (options.device.empty()) {
        // A device has the speed of its own line.
        timing.baud = options.baud;
        timing.bitsPerByte = options.bitsPerByte;
    }
    return timing;
}
