#ifndef SIMULATOR_LINE_PACER_H
#define SIMULATOR_LINE_PACER_H

#include <algorithm>
#include <cstddef>

// The pace of a real line at the client's baud rate. A pseudo-terminal hands
// bytes over at once; a line takes each character's time, and a servo answers
// 3.5 characters after the request at the earliest. Kept only while a tap
// listens, so that the silences it hears are real. Times in monotonic nanoseconds.
struct LinePace {
    bool kept = false;
    long long characterNs = 0;
    long long gapNs = 0;
};

class LinePacer {
public:
    // count request bytes came from the pseudo-terminal at nowNs: when the last
    // of them ends on the line (nowNs when the pace is not kept).
    long long heard(const LinePace& pace, size_t count, long long nowNs)
    {
        lastHeard = pace.kept ? std::max(nowNs, lastHeard) + static_cast<long long>(count) * pace.characterNs : nowNs;
        return lastHeard;
    }
    // When a reply of size bytes, held back delayNs by its servo, has reached the client.
    long long replyDone(const LinePace& pace, size_t size, long long nowNs, long long delayNs) const
    {
        if (!pace.kept)
            return nowNs + delayNs;
        return std::max(nowNs, lastHeard + pace.gapNs) + delayNs + static_cast<long long>(size) * pace.characterNs;
    }

private:
    long long lastHeard = 0; // when the last request byte ended
};

#endif
