#ifndef PORT_MONOTONIC_CLOCK_H
#define PORT_MONOTONIC_CLOCK_H

// The host side's one clock, CLOCK_MONOTONIC in nanoseconds: trace time stamps,
// the quiet gap, the simulated line's pace and the monitor's frame times all
// read it, so that their times compare.
long long monotonicNs();

// Sleeps until the clock reads atNs (at once when it already does), resuming
// after signals.
void sleepUntil(long long atNs);

#endif
