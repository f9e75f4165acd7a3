#include "Ipc.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "AppConfig.h"
#include "Defaults.h"
#include "EcrComm/EcrComm.h"
#include "Path.h"
#include "Tools.h"

const std::string Ipc::InstanceNameCommon = "Global\\ZEL.TAVO";
const std::string Ipc::InstanceNameComPrefix = "COM";
std::string Ipc::currentInstanceName;
int Ipc::lockFd = -1;

namespace {

const char lockDirectory[] = "/run/lock";

int OpenLockFile(const std::string& path) {
    const bool created = !File::Exists(path);
    const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (fd >= 0 && created) {
        File::ShareWithGroupOfDirectory(fd, Path::GetDirectoryName(path));
    }
    return fd;
}

} // namespace

std::string Ipc::LockFilePath(const std::string& directory, const std::string& name) {
    std::string fileName = "tavo-" + name + ".lock";
    for (char& c : fileName) {
        if (c == '/' || c == '\\') {
            c = '_';
        }
    }
    return Path::Combine(directory, fileName);
}

void Ipc::SetCurrentInstanceName(const std::string& name) {
    if (name != currentInstanceName) {
        currentInstanceName = name;
    }
}

// Takes this instance's lock; another run holds the name when the lock is taken already.
// Without a writable lock directory no lock is possible and no rival can be seen.
bool Ipc::IsAnotherInstanceActive() {
    if (lockFd >= 0) {
        return false;
    }
    std::string logDirectory = AppConfig::GetParameter("LogFilePath", "");
    if (logDirectory.empty()) {
        logDirectory = GetLogDirectory();
    }
    int fd = OpenLockFile(LockFilePath(lockDirectory, currentInstanceName));
    if (fd < 0) {
        fd = OpenLockFile(LockFilePath(logDirectory, currentInstanceName));
    }
    if (fd < 0) {
        return false;
    }
    if (flock(fd, LOCK_EX | LOCK_NB) != 0) {
        const bool heldElsewhere = errno == EWOULDBLOCK;
        close(fd);
        return heldElsewhere;
    }
    lockFd = fd;
    return false;
}

bool Ipc::IsCurrentInstanceActive() {
    return lockFd >= 0;
}

void Ipc::EnterSingleProcessBlock() {}

void Ipc::LeaveSingleProcessBlock() {
    if (lockFd >= 0) {
        close(lockFd);
        lockFd = -1;
    }
}

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
