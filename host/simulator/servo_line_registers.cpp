// The line's register banks, faults and request history, as tests and the host
// tool see them: every call takes the line's lock.
#include "simulator/servo_line.h"
#include "simulator/simulated_station.h"

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
    return std::vector<std::vector<uint8_t>>(heard.begin(), heard.end());
}

int ServoLine::requestCount(int station) const
{
    std::lock_guard<std::mutex> guard(lock);
    const auto it = heardPerStation.find(station);
    return it == heardPerStation.end() ? 0 : it->second;
}

void ServoLine::clearRequests()
{
    std::lock_guard<std::mutex> guard(lock);
    heard.clear();
    heardPerStation.clear();
}
