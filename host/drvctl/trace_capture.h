#ifndef DRVCTL_TRACE_CAPTURE_H
#define DRVCTL_TRACE_CAPTURE_H

#include <QByteArray>
#include <QString>

#include "monitor/line_frame.h"
#include "monitor/pcap_writer.h"
#include "port/frame_trace.h"

// --pcap for the commands that drive the line: the port's transfers, as its
// byte sink hands them over, saved as frames for Wireshark. What was sent is one
// frame, and so is a late reply the port dropped; what was received until the
// next request is the reply (the driver reads it in two parts: the first five
// bytes, then the rest).
class TraceCapture {
public:
    bool open(const QString& path, QString* error);
    // One transfer of the port: direction ("TX", "RX", "LATE", "ECHO?"), bytes,
    // monotonic time.
    void take(const char* direction, const QByteArray& bytes, long long monotonicNs);
    // For SerialPort::setTraceByteSink; the capture must outlive the port's use of it.
    TraceByteSink byteSink();
    // Writes the reply still being gathered.
    void finish();

private:
    void flushReply();

    PcapWriter pcap;
    LineFrame reply;
};

#endif
