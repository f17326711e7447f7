// The pause that paces the attempts of a command, and the steps and stations
// inside the operations that make several transactions.
#include "teco_servo/command_attempts.h"

#include "tools/timing.h"

void DriverTecoServo::pauseForPortDelay(AbstractDeviceInterface* port)
{
    // A negative delay from the port means no pause, not a huge unsigned one.
    const int delay = port->getDelay();
    if (delay > 0)
        HRSleep(static_cast<unsigned long>(delay));
}
