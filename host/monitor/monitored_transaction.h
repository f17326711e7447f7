#ifndef MONITOR_MONITORED_TRANSACTION_H
#define MONITOR_MONITORED_TRANSACTION_H

#include "monitor/line_frame.h"

#include <QString>
#include <vector>

// What went wrong with one transaction seen on the line (the first thing only).
enum class LineProblem {
    None,
    BadCrc,          // "bad CRC"
    NoReply,         // "no reply"
    WrongStation,    // "reply from station 7"
    WrongFunction,   // "reply with function 4"
    TruncatedFrame,  // "truncated frame (7 of 9 bytes)"
    WrongLength,     // "reply of 9 bytes where 7 were expected"
    ExtraBytes,      // "3 extra bytes after the reply"
    NoRequest,       // "frame without a request"
};

// One request with its reply, or a frame that belongs to no transaction, decoded
// into the driver's terms: HR100 is holding register 99 on the wire.
struct MonitoredTransaction {
    LineFrame request;   // empty bytes for a frame without a request
    LineFrame reply;     // empty bytes when none came (or none is due: broadcasts)
    long long timeNs = 0; // start of the request (or of the lone frame), monotonic clock
    int station = -1;    // the slave id the request named (0: broadcast)
    int function = -1;   // the request's function code
    bool isWrite = false;
    QString address;     // the driver's text of the first address: HR100, DO5, FN6HR50, DI3, IR7
    int count = 0;       // registers or coils
    std::vector<int> values; // read from the reply, or written by the request
    int exceptionCode = 0;
    LineProblem problem = LineProblem::None;
    int problemValue = 0;    // the station, function or byte count the problem text names
    int expectedLength = 0;  // of the reply, for TruncatedFrame and WrongLength
};

QString problemText(const MonitoredTransaction& transaction);
// "illegal data address" for 2, empty for a code without a standard meaning.
QString exceptionName(int code);

#endif
