#include "Application.h"

#include <cstdio>
#include <cstring>

#include "AppConfig.h"
#include "Commands.h"
#include "EcrComm/CommChannels/DataLogger.h"
#include "EcrComm/EcrComm.h"
#include "EcrComm/IoStatistics.h"
#include "FileErrors.h"
#include "Interruption.h"
#include "Ipc.h"
#include "Logging.h"
#include "Tools.h"
#include "Version.h"

namespace {

bool IsHelpSwitch(const char* arg) {
    static const char* const helpSwitches[] = {"/help", "/h", "/?", "-help", "-h", "-?"};
    for (const char* helpSwitch : helpSwitches) {
        if (std::strcmp(arg, helpSwitch) == 0) {
            return true;
        }
    }
    return false;
}

ReturnCode RunCommandOnce(const BaseCommandParameters& params, ProtocolID protocol) {
    ConnectToEcr(protocol);
    int result;
    if (params.isFiscalCommand) {
        result = Execute_Fiscal(params.command, params.filePath);
    } else if (params.command == Command_ExecuteServer) {
        result = Execute_Server(params.data);
    } else {
        result = Execute_Standard(params.command, params.data, params.filePath);
    }
    DisconnectFromEcr();
    return static_cast<ReturnCode>(result);
}

} // namespace

ReturnCode ExecuteCommand(BaseCommandParameters params) {
    const ProtocolID protocol =
        GetProtocolIDBySet(params.isFiscalCommand ? Protocol_Fiscal : Protocol_Standard);
    const int retryCount = AppConfig::GetParameter("RetryCount", 1);
    int errorCount = 0;
    for (;;) {
        ReturnCode result;
        try {
            StopIfInterrupted();
            result = RunCommandOnce(params, protocol);
        } catch (Exception* e) {
            DisconnectFromEcr(e);
            result = HandleException(e);
        }
        if (result != ReturnCode_CommunicationError) {
            return result;
        }
        if (++errorCount >= retryCount) {
            return result;
        }
    }
}

int RunApplication(int argc, const char* const* argv) {
    if (argc < 2 || IsHelpSwitch(argv[1])) {
        ShowUsage();
        return ReturnCode_OK;
    }
    ReturnCode status;
    try {
        const BaseCommandParameters params = CollectParameters(argc, argv);
        IoStatistics::Reset();
        FileErrors::Reset();
        StartLogging();
        LogMsg(LogType_Both, "\n", false);
        const std::string startLine = Format(
            "%s driver version %s%s started (as %s). Command line: %s", programName, programVersion,
            programBuildSuffix, "executable", GetCommandLine(argc, argv).c_str());
        LogMsg(LogType_Both, startLine, true);
        OpenTraceFile(startLine);
        InstallInterruptHandlers();
        CheckOtherTAVOInstances();
        status = params.command == Command_RunServer ? RunServer() : ExecuteCommand(params);
    } catch (Exception* e) {
        status = HandleException(e);
    }
    Ipc::LeaveSingleProcessBlock();
    CloseTraceFile();
    const std::string completed =
        Format("Completed %s", status == ReturnCode_OK ? "OK" : "with errors");
    LogMsgNoThrow(LogType_Both, completed, true);
    std::printf("%s\n", completed.c_str());
    std::printf("Return value %i\n", status);
    std::fflush(stdout);
    StopLogging(status != ReturnCode_OK);
    return status;
}
