#ifndef DRVCTL_TRACE_CAPTURE_H
#define DRVCTL_TRACE_CAPTURE_H

#include <QString>

#include "monitor/line_frame.h"
#include "monitor/pcap_writer.h"

// --pcap for the commands that drive the line: the port's trace lines back into
// frames for Wireshark. What was sent is one frame, and so is a late reply the
// port dropped; what was received until the next request is the reply (the
// driver reads it in two parts: the first five bytes, then the rest).
class TraceCapture {
public:
    bool open(const QString& path, QString* error);
    // One line of the port's trace: "[  12.345678] TX 01 03 00 63 00 0A 35 D3".
    void take(const QString& traceLine);
    // Writes the reply still being gathered.
    void finish();

private:
    void flushReply();

    PcapWriter pcap;
    LineFrame reply;
};

#endif
