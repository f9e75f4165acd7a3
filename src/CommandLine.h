// The command line: command keywords, their arguments and /Name=Value parameters.
#pragma once

#include <string>

// The command of a run, named by its keyword (any letter case) as the first argument. All but
// the fiscal commands and RunServer take a number next; all but those marked otherwise then
// take a file name.
enum Command {
    Command_Read = 0,             // "Read": a PRG section or report from the ECR into a file
    Command_Send = 1,             // "Send": a file's records into the ECR
    Command_Delete = 2,           // "Delete": delete the records a file names
    Command_Clear = 3,            // "Clear": clear a section or report in the ECR; no file
    Command_ReadAndClear = 4,     // "ReadAndClear": Read, then Clear when records were read
    Command_ClearAndSend = 5,     // "ClearAndSend": Clear, then Send
    Command_Init = 6,             // "Init": initialise a section in the ECR; no file
    Command_ExecuteFiscal = 7,    // "ExecuteFiscal": run a file of fiscal commands
    Command_ReadFiscalStatus = 8, // "ReadFiscalStatus": the ECR's status into a file
    Command_ReadEftStatus = 9,    // "ReadEftStatus": the payment terminal's status into a file
    Command_RunServer = 10,       // "RunServer": server mode, not in this build; no arguments
    Command_ExecuteServer = 11,   // "ExecuteServer": a server command, by number; no file
};

// What the command line asks for, apart from the /Name=Value settings (those go to AppConfig).
struct BaseCommandParameters {
    Command command = Command_Read;
    std::string filePath;           // the file argument; "" for commands that take none
    int data = 0;                   // section, report or server command number; 0 if none
    bool isFiscalCommand = false;   // ExecuteFiscal, ReadFiscalStatus or ReadEftStatus
    bool parametersChanged = false; // for the server mode; nothing in this build sets it
};

// Prints the usage text on standard output, flushing line by line. Raises nothing.
void ShowUsage();
// The command line for the log: argv[0] in double quotes, then " arg" for each argument.
// REQUIRES: argv holds argc entries, argv[0] included.
std::string GetCommandLine(int argc, const char* const* argv);
// The command whose keyword is data, compared without regard to case. Raises
// CommandLineException "Unknown command" (exit status 1) for any other text.
Command ParseCommand(const std::string& data);
// True when str holds the digits 0 to 9 only; "" counts as a number.
bool IsNumber(const std::string& str);
// Digits only; the value saturates at the largest int. "" is 0. Raises CommandLineException
// "Unknown data type" (exit status 1) for anything else, a sign included.
int ParseData(const std::string& data);
// Splits "/Name=Value" or "-Name:Value" at the first '=' or ':'; name and value are taken as
// they stand, untrimmed. Raises CommandLineException "Bad command line parameter: <param>" (exit
// status 1) when param starts with neither '/' nor '-', has no separator, or the name or the
// value is empty (so "/Password=" is refused rather than taken as no password).
void ParseConfigParam(const std::string& param, std::string& name, std::string& value);
// Parses the whole command line, stores the settings in AppConfig and loads the configuration
// ("Delimiter" is then stored as resolved). Raises CommandLineException (exit status 1) "Unknown
// command", "Not enough parameters", "Unknown data type" or "Bad command line parameter:
// <param>", and what AppConfig::Initialize raises. REQUIRES: argc >= 2.
BaseCommandParameters CollectParameters(int argc, const char* const* argv);
