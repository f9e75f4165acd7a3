// One run of the program: parse, configure, log, guard, execute, report.
#pragma once

#include "CommandLine.h"
#include "Exceptions.h"

// Connects, runs the command and disconnects, repeating while an attempt ends in
// ReturnCode_CommunicationError, up to "RetryCount" attempts (at least one); returns the last
// attempt's code. An attempt's exception closes the link and is logged and shown here. Raises
// only ConfigurationException "Invalid ProtocolSet parameter" (exit status 10), before any.
ReturnCode ExecuteCommand(BaseCommandParameters params);
// The whole run; returns the process exit status and raises nothing. No argument, or "/?", "/h",
// "/help", "-?", "-h" or "-help" first, prints the usage text and returns 0, touching neither
// configuration nor logs; any other run ends with "Completed OK" or "Completed with errors" and
// "Return value <status>". REQUIRES: argv holds argc entries, argv[0] included.
int RunApplication(int argc, const char* const* argv);
