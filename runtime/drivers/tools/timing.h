#ifndef TIMING_H
#define TIMING_H

// Sleeps the whole time, resuming after signals; any other failure returns at once.
void HRSleep(unsigned long milliseconds);
// Milliseconds of the monotonic clock; never goes back when the wall clock is set.
long long CurrentMSecsSinceBoot();
// True when a process with that id exists (also when we may not signal it).
bool ProcessIsRunning(long long pid);

#endif
