#include "Interruption.h"

#include <csignal>

#include "Exceptions.h"

namespace {

volatile std::sig_atomic_t pendingSignal = 0;

void OnStopSignal(int signalNumber) {
    if (pendingSignal != 0) {
        // Asked twice: the user does not want to wait for the clean stop.
        std::signal(signalNumber, SIG_DFL);
        std::raise(signalNumber);
        return;
    }
    pendingSignal = signalNumber;
}

} // namespace

void InstallInterruptHandlers() {
    struct sigaction action = {};
    action.sa_handler = OnStopSignal;
    sigemptyset(&action.sa_mask);
    // Calls that the signal interrupts go on: every wait on the line is bounded anyway, and a
    // file write that failed with EINTR would pass for a write error.
    action.sa_flags = SA_RESTART;
    for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP}) {
        sigaction(signalNumber, &action, nullptr);
    }
}

int PendingInterrupt() {
    return pendingSignal;
}

void StopIfInterrupted() {
    if (pendingSignal != 0) {
        throw new InterruptedException(pendingSignal);
    }
}

void ClearInterrupt() {
    pendingSignal = 0;
}
