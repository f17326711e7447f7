#include "port/frame_trace.h"

#include <ctime>

QString formatTraceLine(double seconds, const char* direction, const char* bytes, int length)
{
    QString line = QString::asprintf("[%11.6f] %s", seconds, direction);
    for (int i = 0; i < length; ++i)
        line += QString::asprintf(" %02X", static_cast<unsigned char>(bytes[i]));
    return line;
}

namespace {

double monotonicSeconds()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + now.tv_nsec / 1e9;
}

} // namespace

void FrameTrace::record(const char* direction, const char* bytes, int length) const
{
    if (!output || length <= 0)
        return;
    output(formatTraceLine(monotonicSeconds(), direction, bytes, length));
}

void FrameTrace::note(const QString& text) const
{
    if (output)
        output(QString::asprintf("[%11.6f] ", monotonicSeconds()) + text);
}
