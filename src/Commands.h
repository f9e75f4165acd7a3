// The data exchange commands run over an open ECR link: the standard commands that move
// programming sections and reports between the ECR and a file, and the fiscal commands.
#pragma once

#include <string>

#include "CommandLine.h"

enum UpdateType {
    UpdateType_Add = 0,    // send the file's records
    UpdateType_Delete = 1, // delete the records the file names
};

enum StatusType {
    StatusType_ECR = 0,
    StatusType_EFT = 1,
};

// Read, Send, Delete, Clear, ReadAndClear, ClearAndSend and Init; returns the ReturnCode the
// file error counters call for.
int Execute_Standard(Command command, int dataType, const std::string& filename);
// Returns the number of records read from the ECR into the file.
int Read(int dataType, const std::string& filename);
void Send(int dataType, const std::string& filename, UpdateType updateType);
void Clear(int dataType);

// ExecuteFiscal, ReadFiscalStatus and ReadEftStatus; returns ReturnCode_OK or throws.
int Execute_Fiscal(Command command, const std::string& filename);
// Writes the ECR's or the payment terminal's status record as one CSV line.
void ReadStatus(const std::string& filename, StatusType statusType);
