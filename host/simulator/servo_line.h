#ifndef SIMULATOR_SERVO_LINE_H
#define SIMULATOR_SERVO_LINE_H

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "simulator/station_faults.h"

class SimulatedStation;

// Several simulated servos on one pseudo-terminal. A client opens devicePath()
// like a serial device; a thread reads its requests, splits them into frames,
// hands each to the station its slave byte names and writes the reply back.
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
    // The line repeats every byte it hears, as a 2-wire adapter hears itself.
    void setEcho(bool on) { echo = on; }

    // Whole requests with a good CRC, in arrival order, and how many of them
    // named each station.
    std::vector<std::vector<uint8_t>> requests() const;
    int requestCount(int station) const;
    void clearRequests();

private:
    void run();
    void takeBytes(const uint8_t* bytes, size_t count);
    void splitFrames(bool silenceSeen);
    void handleFrame(const std::vector<uint8_t>& frame);
    void writeToMaster(const std::vector<uint8_t>& bytes);
    SimulatedStation* find(int station) const;

    std::map<int, std::unique_ptr<SimulatedStation>> stations;
    mutable std::mutex lock;
    std::vector<std::vector<uint8_t>> heard;
    std::vector<uint8_t> pending; // bytes of a frame not yet complete (thread only)
    std::atomic<bool> echo{false};
    std::atomic<bool> running{false};
    int masterFd = -1;
    int slaveKeeper = -1; // keeps the line up between clients' open and close
    int wakeFd = -1;
    std::string slavePath;
    std::thread worker;
};

#endif
