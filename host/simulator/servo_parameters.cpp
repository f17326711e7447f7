#include "simulator/servo_parameters.h"
#include "simulator/simulated_station.h"

#include <algorithm>
#include <cstring>

namespace {

// Zero-based register numbers: the map's HR257 is register 256.
struct Preset {
    int address;
    uint16_t value;
};

const Preset HoldingPresets[] = {
    // Control: speed mode, servo on by terminal, auto brake and power-loss alarm bits.
    {256, 1}, {257, 0}, {258, 0x0012}, {259, 100}, {260, 120}, {261, 533}, {263, 50}, {265, 0xFFF4},
    // Speed: 3000 rpm limit, ramps, gains, internal speeds, inertia ratio 2.5 (float, high word first).
    {512, 3000}, {513, 200}, {514, 200}, {515, 10}, {516, 40}, {517, 100}, {518, 100}, {519, 20},
    {522, 500}, {523, 1000}, {524, 0xFE0C}, {525, 0x4020}, {526, 0x0000},
    // Torque limits 300 %, filter 0.50 ms, notch 1500 Hz.
    {768, 300}, {769, 300}, {770, 50}, {771, 1500},
    // Position: gear 10000/4096, gain, in-position range, following error 50000 and home offset -2000
    // (both high word first).
    {1024, 10000}, {1025, 0}, {1026, 4096}, {1027, 0}, {1028, 35}, {1029, 10}, {1030, 0}, {1031, 50000},
    {1032, 0xFFFF}, {1033, 0xF830}, {1034, 300},
};

constexpr int Torque = 4096;       // IR4097, 0.1 %
constexpr int Position = 4097;     // IR4098..IR4099, low word first
constexpr int DcBus = 4099;        // IR4100, 0.1 V
constexpr int Temperature = 4100;  // IR4101..IR4102, float, low word first
constexpr int StatusBits = 4104;   // IR4105: ready, in position, brake released
constexpr int ServoOnInput = 32;   // DI33
constexpr int EmergencyInput = 33; // DI34, a closed contact when all is well

constexpr float RoomTemperature = 35.0f;

float temperatureOf(const SimulatedStation& s)
{
    const uint32_t bits = static_cast<uint32_t>(s.inputRegister(Temperature + 1)) << 16 | s.inputRegister(Temperature);
    float value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

void setTemperature(SimulatedStation& s, float value)
{
    uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    s.setInputRegister(Temperature, static_cast<uint16_t>(bits & 0xFFFF));
    s.setInputRegister(Temperature + 1, static_cast<uint16_t>(bits >> 16));
}

} // namespace

void loadServoParameters(SimulatedStation& station)
{
    for (const Preset& preset : HoldingPresets)
        station.setHoldingRegister(preset.address, preset.value);
    station.setInputRegister(DcBus, 3110);
    setTemperature(station, RoomTemperature);
    station.setInputRegister(StatusBits, 0x0003);
    station.setDiscreteInput(EmergencyInput, true);
}

void moveServoStatus(SimulatedStation& station, uint16_t previousSpeed, uint16_t speed)
{
    // Accelerating takes torque, braking gives some back.
    const int torque = speed > previousSpeed ? 350 + speed / 100 : speed < previousSpeed ? -200 - speed / 200 : 40;
    station.setInputRegister(Torque, static_cast<uint16_t>(torque));
    // 10000 pulses a revolution, one tick a tenth of a second.
    const uint32_t position = (static_cast<uint32_t>(station.inputRegister(Position + 1)) << 16 | station.inputRegister(Position))
                              + static_cast<uint32_t>(speed) * 10000u / 600u;
    station.setInputRegister(Position, static_cast<uint16_t>(position & 0xFFFF));
    station.setInputRegister(Position + 1, static_cast<uint16_t>(position >> 16));
    station.setInputRegister(DcBus, static_cast<uint16_t>(3110 - speed / 30 + (torque < 0 ? 60 : 0)));
    const float heating = speed > 0 ? 0.02f + static_cast<float>(std::abs(torque)) / 20000.0f : -0.01f;
    setTemperature(station, std::clamp(temperatureOf(station) + heating, RoomTemperature, 65.0f));
    station.setInputRegister(StatusBits, static_cast<uint16_t>(0x0001 | (speed == 0 ? 0x0002 : 0) | (speed > 0 ? 0x0004 : 0)));
    station.setDiscreteInput(ServoOnInput, speed > 0);
}
