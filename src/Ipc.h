// Instance guard and server mode: runs are named after the serial device they use, so that
// two runs do not talk to one ECR at once. A run holds an exclusive lock on a file named after
// its instance (in /run/lock, else in the log directory) from the guard to its end; the
// system releases it when the process ends, however it ends.
//
// The watch-dog and the signalling of other instances belong to the server mode, which this
// build does not have: those members do nothing, and are kept so that the interface is whole.
#pragma once

#include <string>

#include "Exceptions.h"

// Process-wide: at most one instance name and one held lock per process.
class Ipc {
public:
    // "Global\ZEL.TAVO": the name every instance name starts with.
    static const std::string InstanceNameCommon;
    // "COM": prefix of port-numbered instance names; this build names instances by "TTY"
    // and does not use it.
    static const std::string InstanceNameComPrefix;

    // Nothing to construct: every member is static.
    Ipc() = default;
    ~Ipc() = default;

    // Makes name this run's instance name; a lock already held stays held under the old name.
    static void SetCurrentInstanceName(const std::string& name);
    // The instance name set last; "" before SetCurrentInstanceName.
    static std::string GetCurrentInstanceNameRegistered() { return currentInstanceName; }
    // Takes the lock of the current instance name (creating its file) and returns false; true
    // when another process holds it. Also false, without a new lock, when this process holds
    // its lock already, and when no lock file can be opened in either directory or the lock
    // fails otherwise: no rival can be seen then, and the run goes on. Raises nothing.
    static bool IsAnotherInstanceActive();
    // True while this process holds its instance lock.
    static bool IsCurrentInstanceActive();
    // Does nothing: the lock taken by IsAnotherInstanceActive is the whole block.
    static void EnterSingleProcessBlock();
    // Releases the instance lock, if held; the lock file itself stays. Safe to call twice.
    static void LeaveSingleProcessBlock();
    // Always false: there is no watch-dog in this build.
    static bool IsWatchDogRunning();
    // Do nothing in this build.
    static void StartCurrentInstanceWatchDog();
    static void StopCurrentInstanceWatchDog();
    static void InterruptOtherInstances();
    // Closes the ECR link when it is open; context is not used. Raises what DisconnectFromEcr
    // raises.
    static void WatchDogInterruptCallback(void* context);

    // The lock file of an instance name, in the given directory: "tavo-<name>.lock" with every
    // '/' and '\' of the name replaced by '_'.
    static std::string LockFilePath(const std::string& directory, const std::string& name);

private:
    static std::string currentInstanceName;
    static int lockFd;
};

// "Global\ZEL.TAVO", followed by "." and the "TTY" setting when there is one.
std::string GetCurrentInstanceName();
// Registers this run under GetCurrentInstanceName() and takes its lock, held until
// Ipc::LeaveSingleProcessBlock or the end of the process. Raises ApplicationException "Another
// application is working now with ECR" (exit status 16, ReturnCode_EcrPortLocked) when another
// run holds the name. Does nothing when "SkipInstanceChecking" is non-zero.
void CheckOtherTAVOInstances();

// Server mode is not available on this platform. RunServer reads its three settings and returns
// ReturnCode_InternalError (99).
ReturnCode RunServer();
// ReturnCode_UnknownCommand (15) for any data but 1. For 1 (disconnect from the server), over
// the serial link, the only one this build opens, raises ApplicationException
// "DisconnectFromServer command not supported" (exit status 99).
ReturnCode Execute_Server(int data);
