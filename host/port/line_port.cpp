#include "port/line_port.h"
#include "port/monotonic_clock.h"

#include <algorithm>
#include <cerrno>
#include <poll.h>

namespace {

constexpr long long NsPerMs = 1000000;

} // namespace

LinePort::Wait LinePort::waitFor(int fd, short events, long long deadlineNs)
{
    for (;;) {
        if (stopSeen)
            return Wait::Stopped;
        const long long leftNs = deadlineNs - monotonicNs();
        if (leftNs <= 0)
            return Wait::TimedOut;
        pollfd fds[2] = {{fd, events, 0}, {stopFd, POLLIN, 0}};
        // Rounded up, so that a wait shorter than a millisecond is not a busy loop.
        const long long leftMs = std::min<long long>((leftNs + NsPerMs - 1) / NsPerMs, 60000);
        const int ready = ::poll(fds, stopFd >= 0 ? 2 : 1, static_cast<int>(leftMs));
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready < 0)
            return Wait::HungUp;
        if (stopFd >= 0 && (fds[1].revents & POLLIN)) {
            stopSeen = true;
            return Wait::Stopped;
        }
        if (fds[0].revents & events)
            return Wait::Ready;
        if (fds[0].revents & (POLLHUP | POLLERR | POLLNVAL))
            return Wait::HungUp;
    }
}

long long LinePort::replyDeadlineNs() const
{
    return monotonicNs() + std::max(0, transaction.timeoutMs) * NsPerMs;
}

bool LinePort::stopRequested()
{
    if (!stopSeen && stopFd >= 0) {
        pollfd stop{stopFd, POLLIN, 0};
        stopSeen = ::poll(&stop, 1, 0) > 0 && (stop.revents & POLLIN);
    }
    return stopSeen;
}

void LinePort::requestLeaving(long long nowNs)
{
    closeExchange();
    requestStartNs = nowNs;
}

void LinePort::replyByte(long long nowNs)
{
    if (requestStartNs >= 0)
        replyEndNs = nowNs;
}

void LinePort::closeExchange()
{
    if (requestStartNs >= 0 && replyEndNs >= requestStartNs)
        lineNs += replyEndNs - requestStartNs;
    requestStartNs = -1;
    replyEndNs = -1;
}

long long LinePort::lineTimeNs() const
{
    const bool running = requestStartNs >= 0 && replyEndNs >= requestStartNs;
    return lineNs + (running ? replyEndNs - requestStartNs : 0);
}

void LinePort::resetLineTime()
{
    closeExchange();
    lineNs = 0;
}
