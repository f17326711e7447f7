#ifndef DRVCTL_STOP_SIGNALS_H
#define DRVCTL_STOP_SIGNALS_H

// Ctrl-C and SIGTERM for the commands that work on a line: held back from every
// thread and taken by a watcher thread of their own. The first one asks the
// command to stop (stopSignalFd becomes readable, and every wait of the port
// polls it); a second one while that stop is under way ends the process at once.

// Call before any other thread starts (the simulated line's), so that they inherit it.
void holdStopSignals();
// Readable from the first Ctrl-C until resumeStopSignals(); -1 before holdStopSignals().
int stopSignalFd();
// Blocks until a stop was asked for, or at most timeoutMs (-1: no limit, 0: just
// look); true when stopped. It stays asked for until resumeStopSignals().
bool waitForStopSignal(int timeoutMs);
// The stop was dealt with and the session goes on (a cancelled shell line): the
// next Ctrl-C asks again.
void resumeStopSignals();

#endif
