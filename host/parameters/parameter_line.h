#ifndef PARAMETERS_PARAMETER_LINE_H
#define PARAMETERS_PARAMETER_LINE_H

#include <QString>

#include "parameters/parameter_codec.h"

// What parameter transfers ask of a line: one driver command each. drvctl
// answers them with the driver plug-in; tests with a fake servo.
class ParameterLine {
public:
    virtual ~ParameterLine() = default;
    // `count` registers (word commands) or bits from the address text on.
    virtual bool readRegisters(const QString& address, int count, RawValues* values, QString* error) = 0;
    virtual bool readBits(const QString& address, int count, RawValues* values, QString* error) = 0;
    // Registers from the address text on, with the function its area writes with.
    virtual bool writeRegisters(const QString& address, const RawValues& values, QString* error) = 0;
    // A coil, or a bit of a register (HR100.3: read, changed and written back).
    virtual bool writeBit(const QString& address, bool on, QString* error) = 0;
};

#endif
