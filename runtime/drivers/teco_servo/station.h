#ifndef STATION_H
#define STATION_H

// The slave a transaction talks to: the station the port reports, asked afresh
// for every transaction and refused above 255, or a slave id given by the
// caller (the fan-out to the station list), used unchecked.
class Station {
public:
    static Station fromPort() { return Station(true, 0); }
    static Station given(unsigned char slave) { return Station(false, slave); }

    bool askPort() const { return fromPortAsked; }
    unsigned char slave() const { return givenSlave; }

private:
    Station(bool askPort, unsigned char slave) : fromPortAsked(askPort), givenSlave(slave) {}
    bool fromPortAsked;
    unsigned char givenSlave;
};

#endif
