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
    // No SA_RESTART: a wait on the line returns early, and the caller looks at the request.
    action.sa_flags = 0;
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
