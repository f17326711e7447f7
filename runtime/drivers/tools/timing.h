#ifndef TIMING_H
#define TIMING_H

#include "tools/drivertools_export.h"

// Sleeps the whole time, resuming after signals; any other failure returns at once.
DRIVERTOOLS_EXPORT void HRSleep(unsigned long milliseconds);
// Milliseconds of the monotonic clock; never goes back when the wall clock is set.
DRIVERTOOLS_EXPORT long long CurrentMSecsSinceBoot();
// True when a process with that id exists (also when we may not signal it).
DRIVERTOOLS_EXPORT bool ProcessIsRunning(long long pid);

#endif
