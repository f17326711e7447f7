#ifndef SIMULATOR_LINE_SCHEDULE_H
#define SIMULATOR_LINE_SCHEDULE_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

// The pace of a real line at some baud rate and framing: each character's time
// and the 3.5 characters a servo waits before it answers. Zero for a line that
// answers at once. Times in monotonic nanoseconds.
struct LinePace {
    long long characterNs = 0;
    long long gapNs = 0;
};

// Who drives the line during a transmission.
enum class LineDriver {
    Master,  // the client on the pseudo-terminal
    Network, // the client connected over TCP
    Station, // a servo's reply
};

// Bytes on the line, one character each characterNs from startNs.
struct Transmission {
    LineDriver driver = LineDriver::Master;
    std::vector<uint8_t> bytes;
    long long startNs = 0;
    long long endNs = 0;
    LinePace pace;
};

// The shared wire of an RS-485 line. Everything put on it is handed over when its
// last character has ended, in the order the transmissions end. Nothing waits for
// the line to be free, as no Modbus device listens before it talks: characters of
// two transmissions that overlap in time collide, and both come out damaged
// (each such byte is the AND of the two, as a line driven both ways reads).
class LineSchedule {
public:
    // Bytes that start on the line at startNs; returns when the last one ends.
    long long add(LineDriver driver, const uint8_t* bytes, size_t count, long long startNs, const LinePace& pace);
    // Every transmission that has ended by nowNs, in the order they ended.
    std::vector<Transmission> due(long long nowNs);
    // When the next transmission ends; -1 when none is on the line.
    long long nextDueNs() const;
    // A transmission of this driver has not ended yet.
    bool busy(LineDriver driver) const;

private:
    struct Entry {
        Transmission sent;       // as it was put on the line
        uint64_t order;          // to keep equal end times in the order added
    };
    std::vector<uint8_t> heardAs(const Entry& entry) const;
    void forgetDelivered();

    std::vector<Entry> onLine;   // not yet ended
    std::deque<Entry> delivered; // ended, but something still on the line began before they ended
    uint64_t added = 0;
};

#endif
