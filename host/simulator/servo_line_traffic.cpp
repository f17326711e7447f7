// What passes on the simulated line: requests heard from the clients, the
// servos' replies, each on the line for its characters' time.
#include "port/line_settings.h"
#include "port/monotonic_clock.h"
#include "port/termios_settings.h"
#include "simulator/servo_line.h"
#include "simulator/simulated_station.h"

#include <algorithm>
#include <cerrno>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

void ServoLine::takeBytes(LineDriver from, const uint8_t* bytes, size_t count)
{
    if (echo) {
        const std::vector<uint8_t> heard(bytes, bytes + count);
        if (from == LineDriver::Master)
            writeToMaster(heard);
        else
            writeToNetworkClient(heard);
    }
    LinePace pace;
    if (from == LineDriver::Master) {
        pace = masterPace();
    } else if (!instant) {
        std::lock_guard<std::mutex> guard(lock);
        pace = networkPace;
    }
    // A client's UART sends what it was given back to back.
    long long& sendsUntil = from == LineDriver::Master ? masterSendsUntilNs : networkSendsUntilNs;
    sendsUntil = schedule.add(from, bytes, count, std::max(monotonicNs(), sendsUntil), pace);
}

void ServoLine::deliver(const Transmission& transmission)
{
    writeToTap(transmission.bytes.data(), transmission.bytes.size());
    if (transmission.driver == LineDriver::Station) {
        writeToMaster(transmission.bytes);
        writeToNetworkClient(transmission.bytes);
        return;
    }
    lastRequest = transmission;
    if (transmission.driver == LineDriver::Master && !clientMatchesLine())
        return;
    handleFrames(assembler.take(transmission.bytes.data(), transmission.bytes.size()), transmission);
}

void ServoLine::handleFrames(const RequestAssembler::Frames& frames, const Transmission& request)
{
    for (const std::vector<uint8_t>& frame : frames)
        handleFrame(frame, request);
}

void ServoLine::handleFrame(const std::vector<uint8_t>& frame, const Transmission& request)
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
    // The servo acts now and answers 3.5 characters after the request's end.
    const long long startNs = request.endNs + request.pace.gapNs + delayMs * 1000000LL;
    schedule.add(LineDriver::Station, reply.data(), reply.size(), startNs, request.pace);
}

LinePace ServoLine::masterPace() const
{
    LinePace pace;
    // The client's termios settings live on the shared slave side of the pty.
    termios settings{};
    if (instant || tcgetattr(slaveKeeper, &settings) != 0)
        return pace;
    const LineSettings line = lineSettingsOf(settings);
    pace.characterNs = characterTimeNs(line);
    pace.gapNs = interFrameGapMicros(line.baud) * 1000LL;
    return pace;
}

void ServoLine::writeToMaster(const std::vector<uint8_t>& bytes)
{
    size_t done = 0;
    bool flushed = false;
    while (done < bytes.size() && running) {
        const ssize_t wrote = write(masterFd, bytes.data() + done, bytes.size() - done);
        if (wrote > 0) {
            done += static_cast<size_t>(wrote);
            continue;
        }
        if (wrote < 0 && errno != EAGAIN && errno != EINTR)
            return;
        if (errno == EAGAIN && !flushed) {
            // Nobody reads the pseudo-terminal (a TCP client drives the line):
            // what waits there is stale, and the line never waits for a reader.
            tcflush(slaveKeeper, TCIFLUSH);
            flushed = true;
            continue;
        }
        pollfd out = {masterFd, POLLOUT, 0};
        if (poll(&out, 1, 50) <= 0)
            return;
    }
}
