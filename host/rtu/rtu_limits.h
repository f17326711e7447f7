#ifndef HOST_RTU_LIMITS_H
#define HOST_RTU_LIMITS_H

#include "teco_servo/modbus_rtu_sizes.h"

// The Modbus quantity limits every standard slave accepts: what the host side
// (drvctl, the simulated line, the monitor) splits and checks by. The driver has
// wider bit bounds of its own (2008 bits, 1976 coils) that its behaviour fixes.
namespace Rtu {

constexpr int MaxRegistersPerRead = static_cast<int>(ModbusRtu::MaxRegistersPerRead);
constexpr int MaxBitsPerRead = 2000;
constexpr int MaxRegistersPerWrite = static_cast<int>(ModbusRtu::MaxRegistersPerWrite);
constexpr int MaxCoilsPerWrite = 1968;

} // namespace Rtu

#endif
