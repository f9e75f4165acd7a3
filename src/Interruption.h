// Clean interruption: SIGINT, SIGTERM and SIGHUP ask the run to stop at the next point where no
// frame is half on the line; a second signal ends the process at once.
#pragma once

// Installs the handlers for the three signals. Called once, before the ECR is contacted.
void InstallInterruptHandlers();
// The number of the signal that asked the run to stop, or 0 while none has.
int PendingInterrupt();
// Throws InterruptedException (exit status 128 + the signal's number) when a signal asked the
// run to stop; returns otherwise.
void StopIfInterrupted();
// Forgets a pending request; for tests.
void ClearInterrupt();
