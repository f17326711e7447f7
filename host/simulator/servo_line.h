#ifndef SIMULATOR_SERVO_LINE_H
#define SIMULATOR_SERVO_LINE_H

#include <atomic>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "simulator/line_pacer.h"
#include "simulator/request_assembler.h"
#include "simulator/servo_motion.h"
#include "simulator/station_faults.h"

class SimulatedStation;

// Several simulated servos on one pseudo-terminal. A client opens devicePath()
// like a serial device; a thread reads its requests, splits them into frames,
// hands each to the station its slave byte names and writes the reply back at
// once; with a tap open it keeps the pace of a real line instead (see openTap).
// Every public member is safe to call from any thread while the line runs.
class ServoLine {
public:
    explicit ServoLine(std::vector<int> stationIds = {1, 2, 3});
    ~ServoLine();
    ServoLine(const ServoLine&) = delete;
    ServoLine& operator=(const ServoLine&) = delete;

    // Opens the pseudo-terminal and starts answering; false with a readable error.
    bool start(std::string* error = nullptr);
    void stop();
    std::string devicePath() const { return slavePath; }
    std::vector<int> stationIds() const;

    // Register banks, seen from the servo's side (addresses from 0).
    uint16_t holdingRegister(int station, int address) const;
    void setHoldingRegister(int station, int address, uint16_t value);
    uint16_t inputRegister(int station, int address) const;
    void setInputRegister(int station, int address, uint16_t value);
    bool coil(int station, int address) const;
    void setCoil(int station, int address, bool on);
    bool discreteInput(int station, int address) const;
    void setDiscreteInput(int station, int address, bool on);

    void setFaults(int station, const StationFaults& faults);
    void clearFaults();
    // The servos' own baud rate and stop bits, as set on their panels: requests
    // from a client whose port is set otherwise go unanswered, as garbled bytes
    // would on a real line (parity is not compared: a pseudo-terminal keeps none).
    // Baud 0 (the default) answers at any settings.
    void setLineSettings(int baud, int stopBits);
    // The line repeats every byte it hears, as a 2-wire adapter hears itself.
    void setEcho(bool on) { echo = on; }

    // Something alive to poll and monitor. While on, every station's
    //   HR1300 (address 1299, the register the driver's HR60010 mirrors) ramps
    //          0, 30, ..., 3000 and back down, one step each MotionTickMs: a slow
    //          speed ramp, 10 s up and 10 s down;
    //   HR1301 (address 1300) counts up by one each MotionTickMs, wrapping at 65535,
    //          from whatever was last written to it.
    // Off leaves both where they are.
    static constexpr int MotionTickMs = ServoMotion::TickMs;
    static constexpr int MotionRampAddress = ServoMotion::RampAddress;
    static constexpr int MotionCounterAddress = ServoMotion::CounterAddress;
    void setMotion(bool on);

    // A listen-only second pseudo-terminal that sees the line as a bus adapter in
    // receive-only mode would: requests and replies in the order they pass, with
    // the real silences between frames (the echo of a 2-wire line is not a frame).
    // From then on the line keeps the pace of the baud rate the client set: each
    // frame reaches the other side (and the tap) after its characters' time, and a
    // reply starts 3.5 characters after its request.
    // A listener discards the input waiting when it opens the tap: what the line
    // said before then is kept until the tap's buffer fills. Opening it again
    // gives the same path. Empty, with a readable error, on failure.
    std::string openTap(std::string* error = nullptr);

    // Whole requests with a good CRC, in arrival order: the last HistoryLimit of
    // them. requestCount() counts every one since the last clearRequests().
    static constexpr size_t HistoryLimit = 1000;
    std::vector<std::vector<uint8_t>> requests() const;
    int requestCount(int station) const;
    void clearRequests();

private:
    void run();
    int pollTimeoutMs() const;
    void takeBytes(const uint8_t* bytes, size_t count);
    void handleFrames(const RequestAssembler::Frames& frames);
    void handleFrame(const std::vector<uint8_t>& frame);
    LinePace linePace() const;
    void writeToMaster(const std::vector<uint8_t>& bytes);
    void writeToTap(const uint8_t* bytes, size_t count);
    void advanceMotion();
    bool clientMatchesLine() const;
    SimulatedStation* find(int station) const;

    std::map<int, std::unique_ptr<SimulatedStation>> stations;
    mutable std::mutex lock;
    std::deque<std::vector<uint8_t>> heard;
    std::map<int, int> heardPerStation;
    RequestAssembler assembler;   // thread only
    LinePacer pacer;              // thread only
    std::atomic<bool> echo{false};
    std::atomic<int> lineBaud{0};
    std::atomic<int> lineStopBits{2};
    std::atomic<bool> running{false};
    ServoMotion motion;           // under lock
    int masterFd = -1;
    int slaveKeeper = -1; // keeps the line up between clients' open and close
    int wakeFd = -1;
    std::string slavePath;
    mutable std::mutex tapLock;
    int tapFd = -1;
    int tapKeeper = -1; // holds the tap's raw settings; its unread input is never read
    std::string tapPath;
    std::thread worker;
};

#endif
