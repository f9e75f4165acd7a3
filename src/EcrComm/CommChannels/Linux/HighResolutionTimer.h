// The monotonic clock behind the durations in the traffic log.
#pragma once

// Nanoseconds of the raw monotonic clock (the name is historical); 0 when it cannot be read.
// Raises nothing, as nothing here does.
long long GetTimeMs();

class HighResolutionTimer {
public:
    // Tries the clock once: the timer is supported when GetTimeMs gives a value.
    HighResolutionTimer();

    // True when the clock could be read at construction.
    bool Supported() const { return m_isSupported; }
    // The clock value (GetTimeMs, in nanoseconds), 0 when the clock is not available.
    long long GetValue() const;
    // Milliseconds between two clock values, (end - start) / 1000000, 0.0 when the clock is not
    // available.
    double GetIntervalMs(long long start, long long end) const;

private:
    bool m_isSupported;
};

// The one timer the channels share, made at first use and kept until the process ends.
HighResolutionTimer& GetHighResolutionTimer();
