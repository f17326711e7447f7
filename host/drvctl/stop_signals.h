#ifndef DRVCTL_STOP_SIGNALS_H
#define DRVCTL_STOP_SIGNALS_H

// Ctrl-C and SIGTERM for commands that end with a summary: held back from every
// thread and waited for, so that the command notices them between two steps.

// Call before any thread starts (the simulated line's), so that they inherit it.
void holdStopSignals();
// Blocks until Ctrl-C or SIGTERM, or at most timeoutMs (-1: no limit, 0: just
// look); true when stopped.
bool waitForStopSignal(int timeoutMs);

#endif
