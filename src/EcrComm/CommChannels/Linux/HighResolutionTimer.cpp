#include "EcrComm/CommChannels/Linux/HighResolutionTimer.h"

#include <ctime>

namespace {
const long long nanosecondsPerSecond = 1000000000LL;
const double nanosecondsPerMs = 1000000.0;
} // namespace

long long GetTimeMs() {
    timespec now;
    if (clock_gettime(CLOCK_MONOTONIC_RAW, &now) != 0) {
        return 0;
    }
    return static_cast<long long>(now.tv_sec) * nanosecondsPerSecond + now.tv_nsec;
}

HighResolutionTimer::HighResolutionTimer() : m_isSupported(GetTimeMs() != 0) {}

long long HighResolutionTimer::GetValue() const {
    return m_isSupported ? GetTimeMs() : 0;
}

double HighResolutionTimer::GetIntervalMs(long long start, long long end) const {
    return m_isSupported ? static_cast<double>(end - start) / nanosecondsPerMs : 0.0;
}

HighResolutionTimer& GetHighResolutionTimer() {
    static HighResolutionTimer timer;
    return timer;
}
