// The command line: command keywords, their arguments and /Name=Value parameters.
#pragma once

#include <string>

enum Command {
    Command_Read = 0,
    Command_Send = 1,
    Command_Delete = 2,
    Command_Clear = 3,
    Command_ReadAndClear = 4,
    Command_ClearAndSend = 5,
    Command_Init = 6,
    Command_ExecuteFiscal = 7,
    Command_ReadFiscalStatus = 8,
    Command_ReadEftStatus = 9,
    Command_RunServer = 10,
    Command_ExecuteServer = 11,
};

struct BaseCommandParameters {
    Command command = Command_Read;
    std::string filePath;
    int data = 0;
    bool isFiscalCommand = false;
    bool parametersChanged = false;
};

void ShowUsage();
// The command line for the log: argv[0] in double quotes, then " arg" for each argument.
std::string GetCommandLine(int argc, const char* const* argv);
Command ParseCommand(const std::string& data);
bool IsNumber(const std::string& str);
// Digits only; the value saturates at the largest int. "" is 0.
int ParseData(const std::string& data);
// Splits "/Name=Value" or "-Name:Value" at the first '=' or ':'.
void ParseConfigParam(const std::string& param, std::string& name, std::string& value);
// Parses the whole command line and loads the configuration.
BaseCommandParameters CollectParameters(int argc, const char* const* argv);
