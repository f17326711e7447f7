// drvctl monitor: listen-only decoding of a line that another master drives.
#include "drvctl/exit_codes.h"
#include "drvctl/session.h"

int Session::monitor(const Invocation& request)
{
    return out.usage(QStringLiteral("monitor is not available in this build"), request.command);
}
