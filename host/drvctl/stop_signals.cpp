#include "drvctl/stop_signals.h"

#include <cerrno>
#include <csignal>
#include <ctime>

namespace {

sigset_t stopSignals()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    return set;
}

} // namespace

void holdStopSignals()
{
    const sigset_t set = stopSignals();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

bool waitForStopSignal(int timeoutMs)
{
    const sigset_t set = stopSignals();
    if (timeoutMs < 0) {
        int signal = 0;
        return sigwait(&set, &signal) == 0;
    }
    const timespec wait{timeoutMs / 1000, (timeoutMs % 1000) * 1000000L};
    for (;;) {
        if (sigtimedwait(&set, nullptr, &wait) > 0)
            return true;
        if (errno != EINTR)
            return false; // EAGAIN: the time is up
    }
}
