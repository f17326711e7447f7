#include "simulator/servo_line.h"
#include "port/line_settings.h"
#include "port/monotonic_clock.h"
#include "port/system_error.h"
#include "port/termios_settings.h"
#include "simulator/pseudo_terminal.h"
#include "simulator/simulated_station.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/eventfd.h>
#include <termios.h>
#include <unistd.h>

namespace {

// Silence after which a half-received frame is given up (or, with an unknown
// function code, taken as whole): far longer than any gap inside a frame.
constexpr int ResyncSilenceMs = 20;

} // namespace

ServoLine::ServoLine(std::vector<int> stationIds)
{
    for (int id : stationIds) {
        if (id >= 1 && id <= 247 && stations.count(id) == 0)
            stations[id] = std::make_unique<SimulatedStation>(id);
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
        const uint64_t one = 1;
        if (write(wakeFd, &one, sizeof one) < 0) {
            // the thread also notices running on its next wake-up
        }
    }
    if (worker.joinable())
        worker.join();
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
    if (running) {
        // Wake the thread so that it starts keeping the tick.
        const uint64_t one = 1;
        if (write(wakeFd, &one, sizeof one) < 0) {
        }
    }
}

void ServoLine::advanceMotion()
{
    std::lock_guard<std::mutex> guard(lock);
    while (motion.tick(monotonicNs())) {
        for (auto& entry : stations) {
            SimulatedStation& station = *entry.second;
            station.setHoldingRegister(MotionRampAddress, motion.ramp());
            station.setHoldingRegister(MotionCounterAddress,
                                       static_cast<uint16_t>(station.holdingRegister(MotionCounterAddress) + 1));
        }
    }
}

int ServoLine::pollTimeoutMs() const
{
    int timeout = assembler.holding() ? ResyncSilenceMs : -1;
    std::lock_guard<std::mutex> guard(lock);
    if (motion.on()) {
        const long long untilTick = std::max(0LL, (motion.nextTickNs() - monotonicNs()) / 1000000LL + 1);
        timeout = timeout < 0 ? static_cast<int>(untilTick) : std::min(timeout, static_cast<int>(untilTick));
    }
    return timeout;
}

void ServoLine::run()
{
    uint8_t buffer[512];
    while (running) {
        pollfd fds[2] = {{masterFd, POLLIN, 0}, {wakeFd, POLLIN, 0}};
        const int ready = poll(fds, 2, pollTimeoutMs());
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
        if (ready == 0) {
            if (assembler.holding())
                handleFrames(assembler.silence());
            continue;
        }
        if (fds[0].revents & POLLIN) {
            const ssize_t got = read(masterFd, buffer, sizeof buffer);
            if (got > 0)
                takeBytes(buffer, static_cast<size_t>(got));
        } else if (fds[0].revents & (POLLHUP | POLLERR)) {
            // No client has the line open (cannot last while we keep our own end):
            // do not spin.
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }
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

void ServoLine::takeBytes(const uint8_t* bytes, size_t count)
{
    if (echo)
        writeToMaster(std::vector<uint8_t>(bytes, bytes + count));
    const LinePace pace = linePace();
    const long long heardNs = pacer.heard(pace, count, monotonicNs());
    if (pace.kept) {
        sleepUntil(heardNs);
        writeToTap(bytes, count);
    }
    if (!clientMatchesLine())
        return;
    handleFrames(assembler.take(bytes, count));
}

void ServoLine::handleFrames(const RequestAssembler::Frames& frames)
{
    for (const std::vector<uint8_t>& frame : frames)
        handleFrame(frame);
}

void ServoLine::handleFrame(const std::vector<uint8_t>& frame)
{
    const int slave = frame[0];
    std::vector<uint8_t> reply;
    int delayMs = 0;
    {
        std::lock_guard<std::mutex> guard(lock);
        heard.push_back(frame);
        if (heard.size() > HistoryLimit)
            heard.pop_front();
        ++heardPerStation[slave];
        if (slave == 0) {
            // Broadcast: every station acts, none answers.
            for (auto& entry : stations)
                entry.second->answer(frame);
            return;
        }
        SimulatedStation* station = find(slave);
        if (station == nullptr)
            return; // nobody there: the master times out
        reply = station->reply(frame, &delayMs);
    }
    if (reply.empty())
        return;
    sleepUntil(pacer.replyDone(linePace(), reply.size(), monotonicNs(), delayMs * 1000000LL));
    writeToMaster(reply);
    writeToTap(reply.data(), reply.size());
}

LinePace ServoLine::linePace() const
{
    LinePace pace;
    {
        std::lock_guard<std::mutex> guard(tapLock);
        pace.kept = tapFd >= 0;
    }
    // The client's termios settings live on the shared slave side of the pty.
    termios settings{};
    if (!pace.kept || tcgetattr(slaveKeeper, &settings) != 0)
        return pace;
    const LineSettings line = lineSettingsOf(settings);
    pace.characterNs = characterTimeNs(line);
    pace.gapNs = interFrameGapMicros(line.baud) * 1000LL;
    return pace;
}

void ServoLine::writeToMaster(const std::vector<uint8_t>& bytes)
{
    size_t done = 0;
    while (done < bytes.size() && running) {
        const ssize_t wrote = write(masterFd, bytes.data() + done, bytes.size() - done);
        if (wrote > 0) {
            done += static_cast<size_t>(wrote);
            continue;
        }
        if (wrote < 0 && errno != EAGAIN && errno != EINTR)
            return;
        pollfd out = {masterFd, POLLOUT, 0};
        poll(&out, 1, 50);
    }
}

