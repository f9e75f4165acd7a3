// Command-line options of the ECR simulator.
#pragma once

#include <map>
#include <set>
#include <string>

#include "SimLine.h"

struct SimOptions {
    std::string device;              // serial device to serve; empty: create a pseudo-terminal
    int baud = 0;                    // device speed (0: 38400); on a pseudo-terminal the paced
                                     // speed (0: none)
    int bitsPerByte = 10;            // bits a byte takes on a paced line
    int turnaroundMs = 0;            // delay between the PC's last byte and the answer
    char parity = 'o';               // 'n', 'o' or 'e' on a serial device
    std::string dataDir;             // where sections are loaded from and saved to; empty: memory
    int tcVersion = 3;               // transport-control version spoken: 1, 2 or 3
    int protocolSet = 1;             // 0: protocol ids 1/3/4, 1: ids 11/13/14
    std::string password;            // empty: no authorisation asked
    int packet = 0;                  // records the PC sends before it waits for the answers;
                                     // 0: learnt from the PC's first pause in each session
    int packetGapMs = 50;            // silence after which held answers are sent anyway
    int idleTimeoutMs = 5000;        // a data session without a word from the PC ends; 0: never
    int ackTimeoutMs = 300;          // wait for the PC's ACK before a frame is sent again
    int retries = 10;                // attempts per frame
    int waitFrames = 2;              // "wait" answers before clear, init and fiscal commands end
    int nakFirst = 0;                // answer the first N frames with NAK
    int ignoreFirst = 0;             // ignore the first N frames completely
    int garbageBytes = 0;            // noise bytes sent before every frame
    double corruptRate = 0.0;        // probability that a byte on the line is damaged
    unsigned seed = 1;               // for the noise and the damage
    std::set<long long> busyRecords; // records answered "can not update"
    std::map<long long, int> badDataRecords; // record -> 1-based field reported bad
    int sessionTimeoutAfter = 0;             // end a data session on the ECR side after N records
    int requestAnswer = -1;                  // answer every operation request with this code
    int fiscalAnswer = 0;                    // final answer to fiscal commands
    int stallAnswer = 0;                     // cut the Nth frame sent after STX, then fall silent
    bool quiet = false;                      // no traffic log on standard error
};

// Parses the arguments. Prints the help and exits with 0 for --help; prints the error and exits
// with 2 on bad input.
SimOptions ParseSimOptions(int argc, char** argv);

// The line timing the options ask for: paced only on a pseudo-terminal with --baud.
LineTiming TimingOf(const SimOptions& options);
