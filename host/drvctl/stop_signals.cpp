#include "drvctl/stop_signals.h"
#include "drvctl/exit_codes.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <thread>
#include <unistd.h>

namespace {

int signalFd = -1;
int stopFd = -1; // an eventfd: readable while a stop is asked for
std::atomic<bool> stopAsked{false};

sigset_t stopSignals()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    return set;
}

void watch()
{
    for (;;) {
        signalfd_siginfo info;
        const ssize_t n = read(signalFd, &info, sizeof info);
        if (n != static_cast<ssize_t>(sizeof info)) {
            if (n < 0 && errno == EINTR)
                continue;
            return;
        }
        if (stopAsked.exchange(true)) {
            // The second one: the user does not want to wait for the first.
            const char text[] = "drvctl: stopped\n";
            if (write(STDERR_FILENO, text, sizeof text - 1) < 0) {
            }
            _exit(ExitInterrupted);
        }
        const uint64_t one = 1;
        if (write(stopFd, &one, sizeof one) < 0) {
        }
    }
}

} // namespace

void holdStopSignals()
{
    if (signalFd >= 0)
        return;
    const sigset_t set = stopSignals();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    signalFd = signalfd(-1, &set, SFD_CLOEXEC);
    stopFd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (signalFd >= 0 && stopFd >= 0)
        std::thread(watch).detach();
}

int stopSignalFd()
{
    return stopFd;
}

bool waitForStopSignal(int timeoutMs)
{
    if (stopAsked)
        return true;
    if (stopFd < 0)
        return false;
    pollfd ready{stopFd, POLLIN, 0};
    while (poll(&ready, 1, timeoutMs) < 0 && errno == EINTR) {
    }
    return stopAsked;
}

void resumeStopSignals()
{
    uint64_t count = 0;
    if (stopFd >= 0 && read(stopFd, &count, sizeof count) < 0) {
        // nothing was asked for
    }
    stopAsked = false;
}
