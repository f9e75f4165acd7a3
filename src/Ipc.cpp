#include "Ipc.h"

#include "AppConfig.h"
#include "Defaults.h"
#include "EcrComm/EcrComm.h"

const std::string Ipc::InstanceNameCommon = "Global\\ZEL.TAVO";
const std::string Ipc::InstanceNameComPrefix = "COM";
std::string Ipc::currentInstanceName;

void Ipc::SetCurrentInstanceName(const std::string& name) {
    if (name != currentInstanceName) {
        currentInstanceName = name;
    }
}

bool Ipc::IsAnotherInstanceActive() {
    return false;
}

bool Ipc::IsCurrentInstanceActive() {
    return false;
}

void Ipc::EnterSingleProcessBlock() {}

void Ipc::LeaveSingleProcessBlock() {}

bool Ipc::IsWatchDogRunning() {
    return false;
}

void Ipc::StartCurrentInstanceWatchDog() {}

void Ipc::StopCurrentInstanceWatchDog() {}

void Ipc::InterruptOtherInstances() {}

void Ipc::WatchDogInterruptCallback(void*) {
    if (IsEcrConnected()) {
        DisconnectFromEcr();
    }
}

std::string GetCurrentInstanceName() {
    const std::string tty = AppConfig::GetParameter("TTY", "");
    return tty.empty() ? Ipc::InstanceNameCommon : Ipc::InstanceNameCommon + "." + tty;
}

void CheckOtherTAVOInstances() {
    if (AppConfig::GetParameter("SkipInstanceChecking", 0) != 0) {
        return;
    }
    Ipc::SetCurrentInstanceName(GetCurrentInstanceName());
    if (Ipc::IsAnotherInstanceActive()) {
        throw new ApplicationException("Another application is working now with ECR",
                                       ReturnCode_EcrPortLocked);
    }
    Ipc::EnterSingleProcessBlock();
    Ipc::InterruptOtherInstances();
}

ReturnCode RunServer() {
    AppConfig::GetParameter("ServerPortFrom", 0);
    AppConfig::GetParameter("ServerPortTo", 0);
    AppConfig::GetParameter("ConnectionTimeout", defaultTimeoutForServerConnection);
    return ReturnCode_InternalError;
}

ReturnCode Execute_Server(int data) {
    if (data != 1) {
        return ReturnCode_UnknownCommand;
    }
    return Server_DisconnectFromServer() ? ReturnCode_OK : ReturnCode_CommunicationError;
}
