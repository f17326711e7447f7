#include "port/frame_trace.h"

#include "port/monotonic_clock.h"

QString formatTraceLine(double seconds, const char* direction, const char* bytes, int length)
{
    QString line = QString::asprintf("[%11.6f] %s", seconds, direction);
    for (int i = 0; i < length; ++i)
        line += QString::asprintf(" %02X", static_cast<unsigned char>(bytes[i]));
    return line;
}

void FrameTrace::record(const char* direction, const char* bytes, int length) const
{
    if (!enabled() || length <= 0)
        return;
    const long long now = monotonicNs();
    if (output)
        output(formatTraceLine(static_cast<double>(now) / 1e9, direction, bytes, length));
    if (byteOutput)
        byteOutput(direction, QByteArray(bytes, length), now);
}

void FrameTrace::note(const QString& text) const
{
    if (output)
        output(QString::asprintf("[%11.6f] ", static_cast<double>(monotonicNs()) / 1e9) + text);
}
