#ifndef PORT_FRAME_TRACE_H
#define PORT_FRAME_TRACE_H

#include <QByteArray>
#include <QString>
#include <functional>

// "[  12.345678] TX 01 03 00 63 00 0A 35 D3": seconds of the monotonic clock,
// direction, bytes in hex.
QString formatTraceLine(double seconds, const char* direction, const char* bytes, int length);

// Each transfer as it was: direction ("TX", "RX", ...), bytes, monotonic time in
// nanoseconds. For capture files, which want the bytes rather than the text.
using TraceByteSink = std::function<void(const char* direction, const QByteArray& bytes, long long monotonicNs)>;

// Hands one formatted line per frame to a sink, and the bytes to a byte sink;
// silent without them.
class FrameTrace {
public:
    void setSink(std::function<void(const QString&)> sink) { output = std::move(sink); }
    void setByteSink(TraceByteSink sink) { byteOutput = std::move(sink); }
    bool enabled() const { return output || byteOutput; }
    void record(const char* direction, const char* bytes, int length) const;
    // A line of text in the same form, for what the port found out about the line.
    void note(const QString& text) const;

private:
    std::function<void(const QString&)> output;
    TraceByteSink byteOutput;
};

#endif
