// Process-wide counters of the run's line traffic, summarised in one log line.
#pragma once

class IoStatistics {
public:
    static int FramesSend;
    static int FramesReceived;
    static int LostRespCount;
    static int GarbageCount;

    static void Reset();
    // Garbage and lost responses; frames themselves are not errors.
    static int GetIoErrorCount();
};

// Logs "I/O statistics : OUT frames = %d, IN frames = %d" with the losses and garbage, if any.
void LogIoStatistics();
