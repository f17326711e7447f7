#ifndef DRVCTL_FAULT_SWITCHES_H
#define DRVCTL_FAULT_SWITCHES_H

#include <QString>

#include "drvctl/invocation.h"
#include "simulator/station_faults.h"

// --fault [STATION:]NAME[=VALUE]: one way a simulated servo misbehaves, for every
// station of the line unless STATION is given. False with a readable error.
bool parseFaultSwitch(const QString& text, FaultSwitch* fault, QString* error);
// Adds the switch's fault to what a station already has.
void applyFaultSwitch(const FaultSwitch& fault, StationFaults* faults);
// One line per fault for --help.
QString faultSwitchHelp();

#endif
