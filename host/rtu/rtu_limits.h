#ifndef HOST_RTU_LIMITS_H
#define HOST_RTU_LIMITS_H

// The Modbus quantity limits every standard slave accepts: what the host side
// (drvctl, the simulated line, the monitor) splits and checks by. The driver has
// wider bounds of its own (2008 bits, 1976 coils) that its behaviour fixes.
namespace Rtu {

constexpr int MaxRegistersPerRead = 125;
constexpr int MaxBitsPerRead = 2000;
constexpr int MaxRegistersPerWrite = 123;
constexpr int MaxCoilsPerWrite = 1968;

} // namespace Rtu

#endif
