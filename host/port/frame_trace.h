#ifndef PORT_FRAME_TRACE_H
#define PORT_FRAME_TRACE_H

#include <QString>
#include <functional>

// "[  12.345678] TX 01 03 00 63 00 0A 35 D3": seconds of the monotonic clock,
// direction, bytes in hex.
QString formatTraceLine(double seconds, const char* direction, const char* bytes, int length);

// Hands one formatted line per frame to a sink; silent without one.
class FrameTrace {
public:
    void setSink(std::function<void(const QString&)> sink) { output = std::move(sink); }
    bool enabled() const { return static_cast<bool>(output); }
    void record(const char* direction, const char* bytes, int length) const;
    // A line of text in the same form, for what the port found out about the line.
    void note(const QString& text) const;

private:
    std::function<void(const QString&)> output;
};

#endif
