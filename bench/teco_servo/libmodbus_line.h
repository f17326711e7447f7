#ifndef LIBMODBUS_LINE_H
#define LIBMODBUS_LINE_H

#include <modbus.h>

#include "instant_servo.h"

// libmodbus's RTU master talking to an instant servo: its context gets a file
// descriptor of its own whose read, write and select this program answers in
// memory, so libmodbus runs its own code for a transaction without any I/O,
// as the driver does against its instant port.
class LibmodbusLine {
public:
    explicit LibmodbusLine(InstantServo& servo);
    ~LibmodbusLine();
    LibmodbusLine(const LibmodbusLine&) = delete;
    LibmodbusLine& operator=(const LibmodbusLine&) = delete;

    modbus_t* context() const { return modbusContext; }

private:
    modbus_t* modbusContext = nullptr;
};

#endif
