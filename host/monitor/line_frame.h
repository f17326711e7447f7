#ifndef MONITOR_LINE_FRAME_H
#define MONITOR_LINE_FRAME_H

#include <QByteArray>

// One frame as it passed on the line, times on the monotonic clock.
struct LineFrame {
    QByteArray bytes;
    long long startNs = 0; // its first byte on the line (estimated from the baud rate)
    long long endNs = 0;   // its last byte read
    // False when no silence came before it: cut off the frame before it where
    // that one's CRC ended (a late read, an adapter's latency, trailing bytes).
    bool afterSilence = true;
};

#endif
