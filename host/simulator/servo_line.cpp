#include "simulator/servo_line.h"
#include "port/line_settings.h"
#include "port/monotonic_clock.h"
#include "port/system_error.h"
#include "port/termios_settings.h"
#include "simulator/pseudo_terminal.h"
#include "simulator/servo_parameters.h"
#include "simulator/simulated_station.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/eventfd.h>
#include <sys/prctl.h>
#include <termios.h>
#include <unistd.h>

namespace {

// Silence after which a half-received frame is given up (or, with an unknown
// function code, taken as whole): far longer than any gap inside a frame.
constexpr long long ResyncSilenceNs = 20 * 1000000LL;

} // namespace

void ServoLine::wakeThread()
{
    const uint64_t one = 1;
    if (write(wakeFd, &one, sizeof one) < 0) {
        // the thread also notices on its next wake-up
    }
}

ServoLine::ServoLine(std::vector<int> stationIds)
{
    for (int id : stationIds) {
        if (id >= 1 && id <= 247 && stations.count(id) == 0) {
            stations[id] = std::make_unique<SimulatedStation>(id);
            loadServoParameters(*stations[id]);
        }
    }
}

ServoLine::~ServoLine()
{
    stop();
}

std::vector<int> ServoLine::stationIds() const
{
    std::vector<int> ids;
    for (const auto& entry : stations)
        ids.push_back(entry.first);
    return ids;
}

bool ServoLine::start(std::string* error)
{
    std::string failure;
    for (const auto& entry : stations) {
        if (!entry.second->valid())
            failure = entry.second->setupError();
    }
    if (stations.empty())
        failure = "no valid station id (1..247) given";
    if (failure.empty() && !running && openRawPty(&masterFd, &slaveKeeper, &slavePath, &failure)) {
        if (failure.empty()) {
            wakeFd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
            if (wakeFd < 0)
                failure = systemError("eventfd");
        }
        if (failure.empty()) {
            running = true;
            worker = std::thread([this] { run(); });
        }
    }
    if (!failure.empty()) {
        stop();
        if (error != nullptr)
            *error = failure;
        return false;
    }
    return true;
}

void ServoLine::stop()
{
    if (running) {
        running = false;
        wakeThread();
    }
    if (worker.joinable())
        worker.join();
    closeNetwork();
    std::lock_guard<std::mutex> guard(tapLock);
    for (int* fd : {&masterFd, &slaveKeeper, &wakeFd, &tapFd, &tapKeeper}) {
        if (*fd >= 0)
            close(*fd);
        *fd = -1;
    }
    tapPath.clear();
}

std::string ServoLine::openTap(std::string* error)
{
    std::lock_guard<std::mutex> guard(tapLock);
    if (tapFd >= 0)
        return tapPath;
    std::string failure;
    if (!openRawPty(&tapFd, &tapKeeper, &tapPath, &failure)) {
        for (int* fd : {&tapFd, &tapKeeper}) {
            if (*fd >= 0)
                close(*fd);
            *fd = -1;
        }
        tapPath.clear();
        if (error != nullptr)
            *error = failure;
    }
    return tapPath;
}

void ServoLine::writeToTap(const uint8_t* bytes, size_t count)
{
    std::lock_guard<std::mutex> guard(tapLock);
    if (tapFd < 0)
        return;
    // A listener that does not keep up loses bytes; the line never waits for it.
    size_t done = 0;
    while (done < count) {
        const ssize_t wrote = write(tapFd, bytes + done, count - done);
        if (wrote <= 0)
            return;
        done += static_cast<size_t>(wrote);
    }
}

void ServoLine::setMotion(bool on)
{
    std::lock_guard<std::mutex> guard(lock);
    if (on)
        motion.start(monotonicNs());
    else
        motion.stop();
    if (running)
        wakeThread(); // so that the thread starts keeping the tick
}

void ServoLine::advanceMotion()
{
    std::lock_guard<std::mutex> guard(lock);
    uint16_t previousSpeed = motion.ramp();
    while (motion.tick(monotonicNs())) {
        const uint16_t speed = motion.ramp();
        for (auto& entry : stations) {
            SimulatedStation& station = *entry.second;
            station.setHoldingRegister(MotionRampAddress, speed);
            station.setHoldingRegister(MotionCounterAddress,
                                       static_cast<uint16_t>(station.holdingRegister(MotionCounterAddress) + 1));
            moveServoStatus(station, previousSpeed, speed);
        }
        previousSpeed = speed;
    }
}

// The next moment the thread has something to do: a transmission ends, a
// half-heard request is given up, the motion ticks. -1: only input wakes it.
long long ServoLine::wakeAtNs() const
{
    long long at = schedule.nextDueNs();
    const auto earliest = [&at](long long candidate) { at = at < 0 ? candidate : std::min(at, candidate); };
    if (assembler.holding())
        earliest(lastRequest.endNs + ResyncSilenceNs);
    std::lock_guard<std::mutex> guard(lock);
    if (motion.on())
        earliest(motion.nextTickNs());
    return at;
}

void ServoLine::run()
{
    // Characters end to the microsecond: wake when asked, not up to 50 us later.
    prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL);
    while (running) {
        pollfd fds[4] = {{masterFd, POLLIN, 0}, {wakeFd, POLLIN, 0}, {listenFd, POLLIN, 0}, {networkFd, POLLIN, 0}};
        const long long wakeAt = wakeAtNs();
        const long long leftNs = std::max(0LL, wakeAt - monotonicNs());
        const timespec wait = {static_cast<time_t>(leftNs / 1000000000LL), static_cast<long>(leftNs % 1000000000LL)};
        const int ready = ppoll(fds, 4, wakeAt < 0 ? nullptr : &wait, nullptr);
        if (ready < 0 && errno != EINTR)
            break;
        if (!running)
            break;
        advanceMotion();
        if (fds[1].revents & POLLIN) {
            uint64_t count = 0;
            if (read(wakeFd, &count, sizeof count) < 0) {
            }
        }
        if (fds[0].revents & POLLIN) {
            readMaster();
        } else if (fds[0].revents & (POLLHUP | POLLERR)) {
            // No client has the line open (cannot last while we keep our own end):
            // do not spin.
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        if (fds[2].revents & POLLIN)
            acceptNetworkClient();
        if (fds[3].revents & (POLLIN | POLLHUP | POLLERR))
            readNetworkClient();
        if (dropClient.exchange(false))
            dropNetworkConnection();
        for (;;) {
            const std::vector<Transmission> ended = schedule.due(monotonicNs());
            if (ended.empty())
                break;
            for (const Transmission& t : ended)
                deliver(t);
        }
        if (assembler.holding() && !schedule.busy(LineDriver::Master) && !schedule.busy(LineDriver::Network)
            && monotonicNs() >= lastRequest.endNs + ResyncSilenceNs)
            handleFrames(assembler.silence(), lastRequest);
    }
}

void ServoLine::readMaster()
{
    uint8_t buffer[512];
    const ssize_t got = read(masterFd, buffer, sizeof buffer);
    if (got > 0)
        takeBytes(LineDriver::Master, buffer, static_cast<size_t>(got));
}

void ServoLine::setLineSettings(int baud, int stopBits)
{
    lineBaud = baud;
    lineStopBits = stopBits;
}

bool ServoLine::clientMatchesLine() const
{
    if (lineBaud == 0)
        return true;
    // The client's termios settings live on the shared slave side of the pty.
    termios client{};
    if (tcgetattr(slaveKeeper, &client) != 0)
        return true;
    // Parity cannot be told: Linux clears PARENB on every pseudo-terminal.
    const LineSettings set = lineSettingsOf(client);
    return set.baud == lineBaud && set.stopBits == lineStopBits;
}
