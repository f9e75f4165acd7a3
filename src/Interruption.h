// Clean interruption: SIGINT, SIGTERM and SIGHUP ask the run to stop at the next point where no
// frame is half on the line; a second signal ends the process at once.
#pragma once

// Installs the handlers for the three signals, with interrupted system calls restarted (a file
// write cut short by a signal would pass for a write error). Called once, before the ECR is
// contacted. A second signal restores the default action and raises it again, so the process
// ends as that signal ends it. Raises nothing.
void InstallInterruptHandlers();
// The number of the signal that asked the run to stop, or 0 while none has.
int PendingInterrupt();
// Throws InterruptedException (exit status 128 + the signal's number) when a signal asked the
// run to stop; returns otherwise. The request stays pending.
void StopIfInterrupted();
// Forgets a pending request; for tests.
void ClearInterrupt();
