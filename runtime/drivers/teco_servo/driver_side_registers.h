#ifndef DRIVER_SIDE_REGISTERS_H
#define DRIVER_SIDE_REGISTERS_H

// Eleven driver-side registers behind HR60000..HR60010 (zero-based 59999..60009):
// entry 0 the number of stations in the station list, entries 1..8 their slave
// ids, entry 9 the slave id entry 10 is read from, entry 10 the monitored servo
// register 1299 (the user's HR1300).
namespace SpecialRegisters {

const int Count = 11;
const int StationCountEntry = 0;
const int MaxStations = 8;
const int ReadStationEntry = 9;
const int MonitoredEntry = 10;
const unsigned short MonitoredServoRegister = 1299;

// Entry index of a zero-based address; 0..10 inside the special range.
inline int indexOf(unsigned short address)
{
    return (address + 5537) & 0xFFFF;
}

inline bool contains(unsigned short address)
{
    return indexOf(address) <= MonitoredEntry;
}

} // namespace SpecialRegisters

#endif
