// The data exchange commands run over an open ECR link.
#pragma once

#include <string>

#include "CommandLine.h"

// Read, Send, Delete, Clear, ReadAndClear, ClearAndSend and Init; returns a ReturnCode value.
int Execute_Standard(Command command, int dataType, const std::string& filename);
// ExecuteFiscal, ReadFiscalStatus and ReadEftStatus; returns ReturnCode_OK or throws.
int Execute_Fiscal(Command command, const std::string& filename);
