// The monotonic clock behind the durations in the traffic log.
#pragma once

// Nanoseconds of the raw monotonic clock (the name is historical); 0 when it cannot be read.
long long GetTimeMs();

class HighResolutionTimer {
public:
    HighResolutionTimer();

    bool Supported() const { return m_isSupported; }
    // The clock value, 0 when the clock is not available.
    long long GetValue() const;
    // Milliseconds between two clock values, 0.0 when the clock is not available.
    double GetIntervalMs(long long start, long long end) const;

private:
    bool m_isSupported;
};

// The one timer the channels share.
HighResolutionTimer& GetHighResolutionTimer();
