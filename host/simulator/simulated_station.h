#ifndef SIMULATOR_SIMULATED_STATION_H
#define SIMULATOR_SIMULATED_STATION_H

#include <cstdint>
#include <string>
#include <vector>

#include "simulator/station_faults.h"

typedef struct _modbus modbus_t;
typedef struct _modbus_mapping_t modbus_mapping_t;

// One servo: four register banks of 65536 entries each and a libmodbus RTU
// context that answers requests addressed to it. The context writes its reply
// into one end of a socket pair; we read it from the other, so libmodbus never
// touches the shared line and never sees requests meant for other stations.
// Not thread-safe: the line serialises every call.
class SimulatedStation {
public:
    explicit SimulatedStation(int id);
    ~SimulatedStation();
    SimulatedStation(const SimulatedStation&) = delete;
    SimulatedStation& operator=(const SimulatedStation&) = delete;

    bool valid() const { return context != nullptr && mapping != nullptr; }
    const std::string& setupError() const { return error; }
    int id() const { return stationId; }

    // The reply to one whole request (CRC checked by the caller), before faults.
    // Empty for a broadcast.
    std::vector<uint8_t> answer(const std::vector<uint8_t>& request);
    // Acts on the request and replies as the faults make it: may be empty
    // (silent), shortened, corrupted. A request that gets an exception changes
    // nothing. Counts the request against faults.remaining.
    std::vector<uint8_t> reply(const std::vector<uint8_t>& request, int* delayMs);

    StationFaults faults;

    uint16_t holdingRegister(int address) const;
    void setHoldingRegister(int address, uint16_t value);
    uint16_t inputRegister(int address) const;
    void setInputRegister(int address, uint16_t value);
    bool coil(int address) const;
    void setCoil(int address, bool on);
    bool discreteInput(int address) const;
    void setDiscreteInput(int address, bool on);

private:
    std::vector<uint8_t> exceptionReply(const std::vector<uint8_t>& request, uint8_t code);
    std::vector<uint8_t> drainReply();

    int stationId;
    modbus_t* context = nullptr;
    modbus_mapping_t* mapping = nullptr;
    int libraryEnd = -1; // the socket libmodbus writes to
    int ourEnd = -1;     // where we read its reply
    std::string error;
};

#endif
