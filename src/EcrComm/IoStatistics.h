// Process-wide counters of the run's line traffic, summarised in one log line. Plain static
// variables without locks; the frame calls of CommBase.h count, and nothing here raises but
// LogIoStatistics.
#pragma once

class IoStatistics {
public:
    static int FramesSend;     // frames the channel took whole
    static int FramesReceived; // frames read whole, valid or not
    static int LostRespCount;  // frames the channel did not deliver, in either direction
    static int GarbageCount;   // frames of another protocol or of a wrong or impossible length

    // Sets the four counters to 0. The run does so once, at its start, so that the line logged
    // at each disconnection counts every attempt so far.
    static void Reset();
    // GarbageCount + LostRespCount: frames themselves are not errors.
    static int GetIoErrorCount();
};

// Logs "I/O statistics : OUT frames = <sent>, IN frames = <received>", followed by
// ", LOST = <n>" and ", GARB = <n>" when those are not 0, with a time stamp, to the standard
// log. Raises what LogMsg raises: InternalException (exit status 99) with the standard log off.
void LogIoStatistics();
