#ifndef SIMULATOR_STATION_FAULTS_H
#define SIMULATOR_STATION_FAULTS_H

#include <cstdint>

// Ways one simulated servo misbehaves on purpose, for tests and demos.
struct StationFaults {
    bool silent = false;          // hears the request, never answers
    int replyDelayMs = 0;         // answers this late
    int dropReplyBytes = 0;       // leaves off the last N bytes of its reply
    bool corruptCrc = false;      // flips the last CRC byte
    int wrongSlaveId = -1;        // 0..255: answers under this id (with a good CRC)
    int exceptionAddress = -1;    // requests starting at this address get...
    uint8_t exceptionCode = 4;    // ...this exception code instead of an answer
    bool wrongFunctionCode = false; // answers under the next function code (with a good CRC)
    int extraReplyBytes = 0;      // sends N bytes 0xFF more right after its reply's CRC
    // How many requests the faults apply to before they clear themselves
    // (-1: for good). 1 makes the first attempt fail and the retry succeed.
    int remaining = -1;

    bool any() const
    {
        return silent || replyDelayMs > 0 || dropReplyBytes > 0 || corruptCrc || wrongSlaveId >= 0
            || exceptionAddress >= 0 || wrongFunctionCode || extraReplyBytes > 0;
    }
};

#endif
