#ifndef DRVCTL_DRIVER_PARAMETER_LINE_H
#define DRVCTL_DRIVER_PARAMETER_LINE_H

#include "parameters/parameter_line.h"

class AbstractDeviceInterface;
class DriverInterface;

// Parameter transfers as driver commands on the session's port: word and bit
// reads and writes, each one driver call with the driver's error text.
class DriverParameterLine : public ParameterLine {
public:
    DriverParameterLine(DriverInterface* driver, AbstractDeviceInterface* port) : driver(driver), port(port) {}

    bool readRegisters(const QString& address, int count, RawValues* values, QString* error) override;
    bool readBits(const QString& address, int count, RawValues* values, QString* error) override;
    bool writeRegisters(const QString& address, const RawValues& values, QString* error) override;
    bool writeBit(const QString& address, bool on, QString* error) override;

private:
    bool read(int dataType, const QString& address, int count, RawValues* values, QString* error);
    bool write(int dataType, const QString& address, const RawValues& values, QString* error);

    DriverInterface* driver;
    AbstractDeviceInterface* port;
};

#endif
