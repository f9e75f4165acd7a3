// The data exchange commands run over an open ECR link: the standard commands that move
// programming sections and reports between the ECR and a file, and the fiscal commands.
//
// Every function here needs the link opened by ConnectToEcr and leaves it open. Besides the
// failures each one names, any of them raises what the ECR session raises: CommunicationException
// (exit status 5) for a failed link or an unexpected answer, and ApplicationException carrying
// the ECR's answer (busy, or in fiscal mode a wrong keylock, 3; command failed 4; bad password
// 11; not activated 12; unknown 15; a fiscal command with bad data 14). A signal ends a command
// at the next point where the ECR has answered everything sent, with InterruptedException (exit
// status 128 + the signal's number); a file being read from the ECR is completed first.
//
// When the ECR ends a Send session on its own time-out and a packet holds one record, the
// session is renegotiated and resumes at the count of records accepted so far, so a record
// skipped or rejected earlier makes some records go twice; that is how the ECR has always been
// fed, and it stays. With larger packets, or at the third time-out in a row with no record
// accepted in between, Send raises CommunicationException (exit status 5) instead.
#pragma once

#include <string>

#include "CommandLine.h"

// What Send asks the ECR to do with the file's records.
enum UpdateType {
    UpdateType_Add = 0,    // send the file's records
    UpdateType_Delete = 1, // delete the records the file names
};

// Whose status ReadStatus asks for.
enum StatusType {
    StatusType_ECR = 0, // the ECR's own fiscal status
    StatusType_EFT = 1, // the status of the ECR's payment terminal
};

// Read, Send, Delete, Clear, ReadAndClear (clears only when records were read), ClearAndSend
// (refuses an unopenable file before it clears) and Init. Returns ReturnCode 2 for empty,
// malformed or (unless "IgnoreDuplicates") duplicate lines, else 14 when the ECR rejected
// records, else 0. InternalException (99) for any other command.
int Execute_Standard(Command command, int dataType, const std::string& filename);
// Reads section or report dataType into the file and returns the record count; the file is on
// the disk when this returns. Raises ConfigurationException "Unsupported file type" (10), what
// the file's writer raises (FileIo.h), and CommunicationException "Bad record received" (5) for
// a record that does not convert.
int Read(int dataType, const std::string& filename);
// Sends the file's records (for UpdateType_Delete: deletes those it names) in packets of
// "RecordsInPacket"; refused lines and records are listed and counted in FileErrors, not raised.
// Raises ConfigurationException "Unsupported file type" (10), what the reader raises at Open
// (FileIo.h), and CommunicationException (5) for the ECR time-outs described above.
void Send(int dataType, const std::string& filename, UpdateType updateType);
// Clears section or report dataType and waits until the ECR has finished. An interruption stops
// the waiting only; the ECR finishes on its own.
void Clear(int dataType);

// ExecuteFiscal, ReadFiscalStatus and ReadEftStatus; returns ReturnCode_OK or throws.
// ExecuteFiscal checks every line before it sends any, in file order ("SortInputFileLines"
// becomes 0): a bad line raises ApplicationException "Input file contains bad data" (exit status
// 2). InternalException (99) for any other command.
int Execute_Fiscal(Command command, const std::string& filename);
// Writes the ECR's or the payment terminal's status record as one CSV line into the file
// (created or truncated). Does not authorise. Raises FileIoException "Unable to open file
// '<name>'" or "File '<name>' write error" (13), CommunicationException "Bad status data
// received" (5) when the record does not convert.
void ReadStatus(const std::string& filename, StatusType statusType);
