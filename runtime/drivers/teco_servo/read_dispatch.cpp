#include "teco_servo/driver_teco_servo.h"
#include "tools/timing.h"

// Placeholder until the read operations land: every command is refused.
QByteArray DriverTecoServo::read(AbstractDeviceInterface* port, const CommunicatorCommand& command)
{
    HRSleep(static_cast<unsigned long>(qMax(0, port->getDelay())));
    clearError();
    setCommError(QStringLiteral("unsupported data type: ") + command.deviceAddress);
    return QByteArray();
}
