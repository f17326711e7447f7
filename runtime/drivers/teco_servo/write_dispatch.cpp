#include "teco_servo/driver_teco_servo.h"
#include "tools/timing.h"

// Placeholder until the write operations land: every command is refused.
bool DriverTecoServo::write(AbstractDeviceInterface* port, const CommunicatorCommand& command,
                            const QByteArray&)
{
    HRSleep(static_cast<unsigned long>(qMax(0, port->getDelay())));
    clearError();
    setCommError(QStringLiteral("unsupported data type: ") + command.deviceAddress);
    return false;
}

void DriverTecoServo::pauseForPortDelay(AbstractDeviceInterface* port)
{
    HRSleep(static_cast<unsigned long>(qMax(0, port->getDelay())));
}
