#include "CommandLine.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>

#include "AppConfig.h"
#include "Defaults.h"
#include "Exceptions.h"
#include "Tools.h"
#include "Version.h"

namespace {

// Prints one usage line with the newline that ends it, and flushes.
void PrintLine(const std::string& text) {
    std::fputs(text.c_str(), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

struct CommandKeyword {
    const char* keyword;
    Command command;
};

const CommandKeyword commandKeywords[] = {
    {"READ", Command_Read},
    {"SEND", Command_Send},
    {"DELETE", Command_Delete},
    {"CLEAR", Command_Clear},
    {"READANDCLEAR", Command_ReadAndClear},
    {"CLEARANDSEND", Command_ClearAndSend},
    {"INIT", Command_Init},
    {"EXECUTEFISCAL", Command_ExecuteFiscal},
    {"READFISCALSTATUS", Command_ReadFiscalStatus},
    {"READEFTSTATUS", Command_ReadEftStatus},
    {"RUNSERVER", Command_RunServer},
    {"EXECUTESERVER", Command_ExecuteServer},
};

bool IsFiscal(Command command) {
    return command == Command_ExecuteFiscal || command == Command_ReadFiscalStatus ||
           command == Command_ReadEftStatus;
}

bool TakesFileName(Command command) {
    return command != Command_Init && command != Command_Clear && command != Command_RunServer &&
           command != Command_ExecuteServer;
}

} // namespace

void ShowUsage() {
    const std::string buildDate = __DATE__;
    PrintLine(Format("%s\n\n", programTitle));
    PrintLine(Format("Version %s%s (Compiled: %s %s)\n", programVersion, programBuildSuffix,
                     buildDate.c_str(), __TIME__));
    PrintLine(Format("Copyright (c) 2008-%s ZEL. All rights reserved.\n\n",
                     buildDate.substr(buildDate.size() - 4).c_str()));
    PrintLine("DATA PRESET AND REPORTS");
    PrintLine("-----------------------\n");
    PrintLine(Format("  %s.EXE command data [filename] [parameters]\n\n", programName));
    PrintLine("  command      - Read, Send, Delete, Clear, Init, ReadAndClear, ClearAndSend");
    PrintLine("  data         - PRG section or report number");
    PrintLine("  filename     - file name to use");
    PrintLine("  parameters   - configuration parameters in form /Name=Value\n");
    PrintLine("FISCAL PRINTER MODE");
    PrintLine("-------------------\n");
    PrintLine(Format("  %s.EXE command filename [parameters]\n\n", programName));
    PrintLine("  command      - ExecuteFiscal, ReadFiscalStatus, ReadEftStatus");
    PrintLine("  filename     - file name to use");
    PrintLine("  parameters   - configuration parameters in form /Name=Value");
}

std::string GetCommandLine(int argc, const char* const* argv) {
    std::string commandLine = std::string("\"") + argv[0] + "\"";
    for (int i = 1; i < argc; ++i) {
        commandLine += std::string(" ") + argv[i];
    }
    return commandLine;
}

Command ParseCommand(const std::string& data) {
    const std::string keyword = ToUpper(data);
    for (const CommandKeyword& entry : commandKeywords) {
        if (keyword == entry.keyword) {
            return entry.command;
        }
    }
    throw new CommandLineException("Unknown command");
}

bool IsNumber(const std::string& str) {
    return str.find_first_not_of("0123456789") == std::string::npos;
}

int ParseData(const std::string& data) {
    if (!IsNumber(data)) {
        throw new CommandLineException("Unknown data type");
    }
    const long value = std::strtol(data.c_str(), nullptr, 10);
    return value > INT_MAX ? INT_MAX : static_cast<int>(value);
}

void ParseConfigParam(const std::string& param, std::string& name, std::string& value) {
    const std::string error = "Bad command line parameter: " + param;
    if (param.empty() || (param[0] != '/' && param[0] != '-')) {
        throw new CommandLineException(error);
    }
    const size_t separator = param.find_first_of("=:");
    if (separator == std::string::npos) {
        throw new CommandLineException(error);
    }
    name = param.substr(1, separator - 1);
    value = param.substr(separator + 1);
    if (name.empty() || value.empty()) {
        throw new CommandLineException(error);
    }
}

BaseCommandParameters CollectParameters(int argc, const char* const* argv) {
    BaseCommandParameters params;
    params.command = ParseCommand(argv[1]);
    params.isFiscalCommand = IsFiscal(params.command);
    int next = 2;
    if (!params.isFiscalCommand && params.command != Command_RunServer) {
        if (argc < 3) {
            throw new CommandLineException("Not enough parameters");
        }
        params.data = ParseData(argv[2]);
        next = 3;
    }
    if (TakesFileName(params.command)) {
        if (next >= argc) {
            throw new CommandLineException("Not enough parameters");
        }
        params.filePath = argv[next++];
    }
    AppConfig::Clear();
    std::map<std::string, std::string> parameters; // collected as the command line gives them
    for (; next < argc; ++next) {
        std::string name;
        std::string value;
        ParseConfigParam(argv[next], name, value);
        AppConfig::SetParameter(name, value, false);
        parameters[name] = value;
    }
    AppConfig::Initialize();
    AppConfig::SetParameter("Delimiter", AppConfig::GetParameter("Delimiter", defaultCsvDelimiter),
                            false);
    return params;
}
