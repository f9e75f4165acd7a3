// Instance guard and server mode: runs are named after the serial device they use, so that
// two runs do not talk to one ECR at once. A run holds an exclusive lock on a file named after
// its instance (in /run/lock, else in the log directory) from the guard to its end; the
// system releases it when the process ends, however it ends.
#pragma once

#include <string>

#include "Exceptions.h"

class Ipc {
public:
    static const std::string InstanceNameCommon;
    static const std::string InstanceNameComPrefix;

    Ipc() = default;
    ~Ipc() = default;

    static void SetCurrentInstanceName(const std::string& name);
    static std::string GetCurrentInstanceNameRegistered() { return currentInstanceName; }
    static bool IsAnotherInstanceActive();
    static bool IsCurrentInstanceActive();
    static void EnterSingleProcessBlock();
    static void LeaveSingleProcessBlock();
    static bool IsWatchDogRunning();
    static void StartCurrentInstanceWatchDog();
    static void StopCurrentInstanceWatchDog();
    static void InterruptOtherInstances();
    static void WatchDogInterruptCallback(void* context);

    // The lock file of an instance name, in the given directory.
    static std::string LockFilePath(const std::string& directory, const std::string& name);

private:
    static std::string currentInstanceName;
    static int lockFd;
};

// "Global\ZEL.TAVO", followed by "." and the "TTY" setting when there is one.
std::string GetCurrentInstanceName();
// Registers this run and fails with ReturnCode_EcrPortLocked when another run holds its name.
void CheckOtherTAVOInstances();

// Server mode is not available on this platform: both read their settings and fail.
ReturnCode RunServer();
ReturnCode Execute_Server(int data);
