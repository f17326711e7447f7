#include "drvctl/trace_capture.h"

#include <cstring>

bool TraceCapture::open(const QString& path, QString* error)
{
    return pcap.open(path, error);
}

void TraceCapture::take(const char* direction, const QByteArray& bytes, long long monotonicNs)
{
    if (std::strcmp(direction, "TX") == 0 || std::strcmp(direction, "LATE") == 0) {
        // A request, or a reply that came too late for its request: a frame of its own.
        flushReply();
        LineFrame frame;
        frame.bytes = bytes;
        frame.startNs = monotonicNs;
        frame.endNs = monotonicNs;
        pcap.write(frame);
    } else if (std::strcmp(direction, "RX") == 0 && !bytes.isEmpty()) {
        if (reply.bytes.isEmpty())
            reply.startNs = monotonicNs;
        reply.bytes += bytes;
        reply.endNs = monotonicNs;
    }
    // ECHO? bytes come again as RX.
}

TraceByteSink TraceCapture::byteSink()
{
    return [this](const char* direction, const QByteArray& bytes, long long monotonicNs) {
        take(direction, bytes, monotonicNs);
    };
}

void TraceCapture::finish()
{
    flushReply();
    pcap.close();
}

void TraceCapture::flushReply()
{
    if (!reply.bytes.isEmpty())
        pcap.write(reply);
    reply = LineFrame();
}
