#include "simulator/servo_line.h"
#include "simulator/request_framing.h"
#include "simulator/simulated_station.h"

#include <cerrno>
#include <chrono>
#include <cstring>
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

std::string systemError(const char* what)
{
    return std::string(what) + ": " + std::strerror(errno);
}

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
    if (failure.empty() && !running) {
        masterFd = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        char name[128] = {0};
        if (masterFd < 0)
            failure = systemError("posix_openpt");
        else if (grantpt(masterFd) != 0 || unlockpt(masterFd) != 0)
            failure = systemError("grantpt/unlockpt");
        else if (ptsname_r(masterFd, name, sizeof name) != 0)
            failure = systemError("ptsname");
        if (failure.empty()) {
            slavePath = name;
            slaveKeeper = open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
            termios raw{};
            if (slaveKeeper < 0 || tcgetattr(slaveKeeper, &raw) != 0)
                failure = systemError(name);
            else {
                // Raw, so the line discipline never changes a byte in either direction.
                cfmakeraw(&raw);
                tcsetattr(slaveKeeper, TCSANOW, &raw);
                termios masterRaw{};
                if (tcgetattr(masterFd, &masterRaw) == 0) {
                    cfmakeraw(&masterRaw);
                    tcsetattr(masterFd, TCSANOW, &masterRaw);
                }
            }
        }
        if (failure.empty()) {
            wakeFd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
            if (wakeFd < 0)
                failure = systemError("eventfd");
        }
        if (failure.empty()) {
            fcntl(masterFd, F_SETFL, fcntl(masterFd, F_GETFL) | O_NONBLOCK);
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
    for (int* fd : {&masterFd, &slaveKeeper, &wakeFd}) {
        if (*fd >= 0)
            close(*fd);
        *fd = -1;
    }
}

void ServoLine::run()
{
    uint8_t buffer[512];
    while (running) {
        pollfd fds[2] = {{masterFd, POLLIN, 0}, {wakeFd, POLLIN, 0}};
        const int ready = poll(fds, 2, pending.empty() ? -1 : ResyncSilenceMs);
        if (ready < 0 && errno != EINTR)
            break;
        if (!running)
            break;
        if (ready == 0) {
            splitFrames(true);
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

void ServoLine::takeBytes(const uint8_t* bytes, size_t count)
{
    if (echo)
        writeToMaster(std::vector<uint8_t>(bytes, bytes + count));
    pending.insert(pending.end(), bytes, bytes + count);
    splitFrames(false);
}

void ServoLine::splitFrames(bool silenceSeen)
{
    while (!pending.empty()) {
        const int length = RequestFraming::expectedLength(pending.data(), pending.size());
        if (length == RequestFraming::UnknownLength) {
            // Only the silence after it tells where such a frame ends.
            if (!silenceSeen)
                return;
            std::vector<uint8_t> frame;
            frame.swap(pending);
            if (RequestFraming::crcMatches(frame.data(), frame.size()))
                handleFrame(frame);
            return;
        }
        if (length == RequestFraming::NeedMoreBytes || pending.size() < static_cast<size_t>(length)) {
            if (silenceSeen)
                pending.clear(); // a fragment the master gave up on
            return;
        }
        std::vector<uint8_t> frame(pending.begin(), pending.begin() + length);
        if (!RequestFraming::crcMatches(frame.data(), frame.size())) {
            // A master sends nothing more before our answer or its time-out, so
            // everything held now belongs to the damaged frame.
            pending.clear();
            return;
        }
        pending.erase(pending.begin(), pending.begin() + length);
        handleFrame(frame);
    }
}

void ServoLine::handleFrame(const std::vector<uint8_t>& frame)
{
    const int slave = frame[0];
    std::vector<uint8_t> reply;
    int delayMs = 0;
    {
        std::lock_guard<std::mutex> guard(lock);
        heard.push_back(frame);
        if (slave == 0) {
            // Broadcast: every station acts, none answers.
            for (auto& entry : stations)
                entry.second->answer(frame);
            return;
        }
        SimulatedStation* station = find(slave);
        if (station == nullptr)
            return; // nobody there: the master times out
        reply = station->applyFaults(frame, station->answer(frame), &delayMs);
    }
    if (delayMs > 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(delayMs));
    writeToMaster(reply);
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

SimulatedStation* ServoLine::find(int station) const
{
    const auto it = stations.find(station);
    return it == stations.end() ? nullptr : it->second.get();
}

uint16_t ServoLine::holdingRegister(int station, int address) const
{
    std::lock_guard<std::mutex> guard(lock);
    const SimulatedStation* s = find(station);
    return s ? s->holdingRegister(address) : 0;
}

void ServoLine::setHoldingRegister(int station, int address, uint16_t value)
{
    std::lock_guard<std::mutex> guard(lock);
    if (SimulatedStation* s = find(station))
        s->setHoldingRegister(address, value);
}

uint16_t ServoLine::inputRegister(int station, int address) const
{
    std::lock_guard<std::mutex> guard(lock);
    const SimulatedStation* s = find(station);
    return s ? s->inputRegister(address) : 0;
}

void ServoLine::setInputRegister(int station, int address, uint16_t value)
{
    std::lock_guard<std::mutex> guard(lock);
    if (SimulatedStation* s = find(station))
        s->setInputRegister(address, value);
}

bool ServoLine::coil(int station, int address) const
{
    std::lock_guard<std::mutex> guard(lock);
    const SimulatedStation* s = find(station);
    return s && s->coil(address);
}

void ServoLine::setCoil(int station, int address, bool on)
{
    std::lock_guard<std::mutex> guard(lock);
    if (SimulatedStation* s = find(station))
        s->setCoil(address, on);
}

bool ServoLine::discreteInput(int station, int address) const
{
    std::lock_guard<std::mutex> guard(lock);
    const SimulatedStation* s = find(station);
    return s && s->discreteInput(address);
}

void ServoLine::setDiscreteInput(int station, int address, bool on)
{
    std::lock_guard<std::mutex> guard(lock);
    if (SimulatedStation* s = find(station))
        s->setDiscreteInput(address, on);
}

void ServoLine::setFaults(int station, const StationFaults& faults)
{
    std::lock_guard<std::mutex> guard(lock);
    if (SimulatedStation* s = find(station))
        s->faults = faults;
}

void ServoLine::clearFaults()
{
    std::lock_guard<std::mutex> guard(lock);
    for (auto& entry : stations)
        entry.second->faults = StationFaults();
}

std::vector<std::vector<uint8_t>> ServoLine::requests() const
{
    std::lock_guard<std::mutex> guard(lock);
    return heard;
}

int ServoLine::requestCount(int station) const
{
    std::lock_guard<std::mutex> guard(lock);
    int count = 0;
    for (const auto& frame : heard)
        count += frame[0] == station ? 1 : 0;
    return count;
}

void ServoLine::clearRequests()
{
    std::lock_guard<std::mutex> guard(lock);
    heard.clear();
}
