// One run of the program: parse, configure, log, guard, execute, report.
#pragma once

#include "CommandLine.h"
#include "Exceptions.h"

// Connects, runs the command and disconnects; repeats after a communication error up to
// "RetryCount" attempts.
ReturnCode ExecuteCommand(BaseCommandParameters params);
// The whole run; returns the process exit status.
int RunApplication(int argc, const char* const* argv);
