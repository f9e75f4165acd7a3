#include "SimOptions.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

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

// Each option that takes a value sets its field from it, or fails with the option's name.
using Setter = void (*)(SimOptions&, const std::string& name, const std::string& value);

template <int SimOptions::*field, long long min, long long max>
void SetInt(SimOptions& o, const std::string& name, const std::string& value) {
    o.*field = ToInt(name, value, min, max);
}

template <std::string SimOptions::*field>
void SetText(SimOptions& o, const std::string&, const std::string& value) {
    o.*field = value;
}

void SetParity(SimOptions& o, const std::string& name, const std::string& value) {
    if (value != "n" && value != "o" && value != "e") {
        Fail("option " + name + " takes n, o or e");
    }
    o.parity = value[0];
}

void SetCorruptRate(SimOptions& o, const std::string& name, const std::string& value) {
    char* end = nullptr;
    o.corruptRate = std::strtod(value.c_str(), &end);
    if (value.empty() || *end != '\0' || o.corruptRate < 0 || o.corruptRate > 1) {
        Fail("option " + name + " takes a probability from 0 to 1");
    }
}

void SetSeed(SimOptions& o, const std::string& name, const std::string& value) {
    o.seed = static_cast<unsigned>(ToNumber(name, value));
}

void AddBusyRecord(SimOptions& o, const std::string& name, const std::string& value) {
    o.busyRecords.insert(ToNumber(name, value));
}

void AddBadData(SimOptions& o, const std::string& name, const std::string& value) {
    const size_t colon = value.find(':');
    if (colon == std::string::npos) {
        Fail("option " + name + " takes KEY:FIELD");
    }
    o.badDataRecords[ToNumber(name, value.substr(0, colon))] =
        ToInt(name, value.substr(colon + 1), 0, 255);
}

const struct {
    const char* name;
    Setter set;
} valueOptions[] = {
    {"--device", SetText<&SimOptions::device>},
    {"--baud", SetInt<&SimOptions::baud, 50, 4000000>},
    {"--bits-per-byte", SetInt<&SimOptions::bitsPerByte, 1, 64>},
    {"--turnaround", SetInt<&SimOptions::turnaroundMs, 0, 60000>},
    {"--parity", SetParity},
    {"--data-dir", SetText<&SimOptions::dataDir>},
    {"--tc-version", SetInt<&SimOptions::tcVersion, 1, 3>},
    {"--protocol-set", SetInt<&SimOptions::protocolSet, 0, 1>},
    {"--password", SetText<&SimOptions::password>},
    {"--packet", SetInt<&SimOptions::packet, 1, 100000>},
    {"--packet-gap", SetInt<&SimOptions::packetGapMs, 1, 60000>},
    {"--idle-timeout", SetInt<&SimOptions::idleTimeoutMs, 0, 3600000>},
    {"--ack-timeout", SetInt<&SimOptions::ackTimeoutMs, 1, 60000>},
    {"--retries", SetInt<&SimOptions::retries, 1, 1000>},
    {"--wait-frames", SetInt<&SimOptions::waitFrames, 0, 100000>},
    {"--request-answer", SetInt<&SimOptions::requestAnswer, 0, 255>},
    {"--fiscal-answer", SetInt<&SimOptions::fiscalAnswer, 0, 255>},
    {"--nak-first", SetInt<&SimOptions::nakFirst, 0, 1000000>},
    {"--ignore-first", SetInt<&SimOptions::ignoreFirst, 0, 1000000>},
    {"--garbage", SetInt<&SimOptions::garbageBytes, 0, 1000>},
    {"--corrupt-rate", SetCorruptRate},
    {"--seed", SetSeed},
    {"--busy-record", AddBusyRecord},
    {"--bad-data", AddBadData},
    {"--session-timeout", SetInt<&SimOptions::sessionTimeoutAfter, 1, 1000000000>},
    {"--stall-answer", SetInt<&SimOptions::stallAnswer, 1, 1000000000>},
};

Setter SetterOf(const std::string& name) {
    for (const auto& option : valueOptions) {
        if (name == option.name) {
            return option.set;
        }
    }
    Fail("unknown option " + name);
}

} // namespace

SimOptions ParseSimOptions(int argc, char** argv) {
    SimOptions o;
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
        const Setter set = SetterOf(name);
        if (i + 1 >= argc) {
            Fail("option " + name + " needs a value");
        }
        set(o, name, argv[++i]);
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
