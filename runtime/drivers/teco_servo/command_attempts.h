#ifndef COMMAND_ATTEMPTS_H
#define COMMAND_ATTEMPTS_H

#include "teco_servo/driver_teco_servo.h"

// Types 0 to 3, 5 and 6 have operations; QuadWord and unknown codes none.
inline bool hasTransferOperation(int dataType)
{
    return dataType >= Bit && dataType <= BitBlock && dataType != QuadWord;
}

template <typename Attempt>
bool DriverTecoServo::runAttempts(AbstractDeviceInterface* port, const CommunicatorCommand& command,
                                  Attempt attempt)
{
    for (int done = 0;; ++done) {
        pauseForPortDelay(port);
        commError = false;
        if (!hasTransferOperation(command.dataType)) {
            setCommError(QStringLiteral("unsupported data type: ") + command.deviceAddress);
            return false;
        }
        attempt();
        if (!commError || done >= port->getRetry())
            return true;
    }
}

#endif
