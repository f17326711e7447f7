#ifndef MONITOR_FRAME_SPLITTER_H
#define MONITOR_FRAME_SPLITTER_H

#include "monitor/line_frame.h"
#include "port/line_settings.h"

#include <vector>

// Cuts the bytes heard on a line into frames where the line was silent for
// 3.5 characters. A read delivers bytes after they were on the line, so a chunk
// of n bytes read at time t began n characters earlier. A run without such a
// silence is also cut where a frame of known length ends with a good CRC, or
// where one that runs to the end of the run begins.
class FrameSplitter {
public:
    explicit FrameSplitter(const LineSettings& line);

    long long characterNs() const { return charNs; }
    // The silence taken as a frame boundary.
    long long boundaryNs() const { return thresholdNs; }

    // Bytes as read, readNs the monotonic time of the read. Returns the frames
    // that a silence before these bytes ended.
    std::vector<LineFrame> feed(const char* bytes, int length, long long readNs);
    // Nothing came until nowNs: the frames in progress, once the silence is long enough.
    std::vector<LineFrame> idle(long long nowNs);
    // End of the stream: whatever is held.
    std::vector<LineFrame> finish();

    // A run this long is cut regardless: no frame is longer than 256 bytes.
    static constexpr int MaxRunBytes = 1024;

private:
    std::vector<LineFrame> closeRun();

    long long charNs;
    long long thresholdNs;
    QByteArray run;
    long long runStartNs = 0;
    long long lastByteNs = 0;
};

#endif
