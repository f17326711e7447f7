#include "tools/timing.h"

#include <cerrno>
#include <csignal>
#include <ctime>
#include <limits>
#include <sys/types.h>

void HRSleep(unsigned long milliseconds)
{
    if (milliseconds == 0)
        return; // even a zero nanosleep costs the kernel's timer slack
    timespec request;
    request.tv_sec = static_cast<time_t>(milliseconds / 1000);
    request.tv_nsec = static_cast<long>((milliseconds % 1000) * 1000000UL);
    timespec remaining;
    while (nanosleep(&request, &remaining) != 0) {
        if (errno != EINTR)
            return;
        request = remaining;
    }
}

long long CurrentMSecsSinceBoot()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<long long>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

bool ProcessIsRunning(long long pid)
{
    // 0 and negative ids name process groups (or every process), never one process;
    // an id beyond pid_t would be cut to some other process's id.
    if (pid <= 0 || pid > std::numeric_limits<pid_t>::max())
        return false;
    if (kill(static_cast<pid_t>(pid), 0) == 0)
        return true;
    return errno == EPERM;
}
