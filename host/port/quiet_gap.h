#ifndef PORT_QUIET_GAP_H
#define PORT_QUIET_GAP_H

// Modbus RTU's 3.5 characters of silence before each request, counted from the
// last byte on the line, sent or received, or from opening the port, whichever
// came later. Times are the monotonic clock's nanoseconds; the port does the
// waiting, this says what it waits for.
class QuietGap {
public:
    explicit QuietGap(long long gapNs = 0) : gap(gapNs) {}

    // The port opened at atNs: nobody knows how long the line was quiet before.
    void opened(long long atNs)
    {
        lastActivity = atNs;
        transmitEnd = 0;
    }
    // A byte came in (or the last request was drained from the UART) at atNs.
    void heard(long long atNs) { lastActivity = atNs; }
    // A request went out; its last bit leaves the UART at endNs (estimated).
    void sent(long long endNs)
    {
        transmitEnd = endNs;
        lastActivity = endNs;
    }

    // The last request may still be in the UART: only then is draining it worth a call.
    bool transmitting(long long nowNs) const { return nowNs < transmitEnd; }
    long long quietFromNs() const { return lastActivity + gap; }

    enum class Action {
        Send,   // the line has been quiet long enough
        Sleep,  // until untilNs, then send
        Listen, // until untilNs for late bytes of an earlier exchange, which restart the gap
    };
    struct Step {
        Action action;
        long long untilNs;
    };
    // What to do at nowNs; dropLateBytes while input may still be discarded.
    Step next(long long nowNs, bool dropLateBytes) const
    {
        const long long quietFrom = quietFromNs();
        if (nowNs >= quietFrom)
            return {Action::Send, nowNs};
        return {dropLateBytes ? Action::Listen : Action::Sleep, quietFrom};
    }

private:
    long long gap;
    long long lastActivity = 0;
    long long transmitEnd = 0;
};

#endif
