#include "port/monotonic_clock.h"

#include <cerrno>
#include <ctime>

long long monotonicNs()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<long long>(now.tv_sec) * 1000000000LL + now.tv_nsec;
}

void sleepUntil(long long atNs)
{
    timespec wake;
    wake.tv_sec = static_cast<time_t>(atNs / 1000000000LL);
    wake.tv_nsec = static_cast<long>(atNs % 1000000000LL);
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &wake, nullptr) == EINTR) {
    }
}
