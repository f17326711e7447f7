#ifndef SPECIAL_REGISTERS_H
#define SPECIAL_REGISTERS_H

#include <array>

// The eleven driver-side registers behind HR60000..HR60010 (zero-based
// 59999..60009): entry 0 the number of stations in the station list, entries
// 1..8 their slave ids, entry 9 the slave id that entry 10 is read from, entry
// 10 the monitored servo register 1299 (the user's HR1300). Every index used on
// the table lies in 0..10.
class SpecialRegisters {
public:
    static const int Count = 11;
    static const int StationCountEntry = 0;
    static const int MaxStations = 8;
    static const int ReadStationEntry = 9;
    static const int MonitoredEntry = 10;
    static const unsigned short MonitoredServoRegister = 1299;

    // Entry index of a zero-based address; 0..10 inside the special range.
    static int indexOf(unsigned short address) { return (address + 5537) & 0xFFFF; }
    static bool contains(unsigned short address) { return indexOf(address) <= MonitoredEntry; }

    unsigned short at(int entry) const { return entries[static_cast<unsigned int>(entry)]; }
    unsigned short& operator[](int entry) { return entries[static_cast<unsigned int>(entry)]; }

    // The stations of the list, at most 8 whatever entry 0 holds, so that
    // entries 9 and 10 never act as stations.
    int listedStations() const { return at(StationCountEntry) < MaxStations ? at(StationCountEntry) : MaxStations; }
    // Slave id of list position 1..8.
    unsigned char stationAt(int position) const { return static_cast<unsigned char>(at(position) & 0xFF); }
    unsigned char readStation() const { return static_cast<unsigned char>(at(ReadStationEntry) & 0xFF); }
    // Entries 0 and 9 name stations of a list of 8.
    void capStationCount() { capAt(StationCountEntry); }
    void capReadStation() { capAt(ReadStationEntry); }

private:
    void capAt(int entry)
    {
        if (at(entry) > MaxStations)
            entries[static_cast<unsigned int>(entry)] = MaxStations;
    }

    std::array<unsigned short, Count> entries{};
};

#endif
