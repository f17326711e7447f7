#ifndef PORT_ECHO_FILTER_H
#define PORT_ECHO_FILTER_H

#include <functional>
#include <vector>

// What the port does with a line that hears its own transmission (2-wire RS-485
// adapters do). Auto finds out from what follows the first request and discards
// echoes from then on. The normal reply to function 5 or 6 is a copy of its
// request, so before such a request on a line not yet known the port sends a
// probe that no station takes (see probeFor) and hears whether it comes back.
enum class EchoMode { Auto, On, Off };

// Screens the first bytes after each request for its echo: drops it where the
// line echoes, finds out whether it does in the auto mode, and gives back every
// byte that was no echo, the start of the reply.
class EchoFilter {
public:
    enum class Verdict {
        NoEcho,   // nothing was screened, or the bytes were the reply
        Echo,     // the request's echo came and was dropped
        Found,    // the auto mode heard its first echo and drops them from now on
        Mismatch, // an echo was due and other bytes came
    };
    struct Result {
        Verdict verdict = Verdict::NoEcho;
        std::vector<char> kept; // read, and not an echo
    };
    // Reads up to count bytes into buffer, fewer when the deadline comes first.
    using Read = std::function<int(char* buffer, int count)>;

    explicit EchoFilter(EchoMode mode = EchoMode::Auto) : echoMode(mode) {}

    EchoMode mode() const { return echoMode; }
    bool discarding() const { return echoMode == EchoMode::On || (echoMode == EchoMode::Auto && known == Line::Echoes); }
    // Auto mode, nothing known of the line yet, and a request whose reply would
    // be its copy: the probe must go first.
    bool needsProbe(const char* request, int length) const;
    // The probe before a request: a one-register read of the same station with a
    // spoilt CRC, which every station drops, so that only an echo comes back.
    static std::vector<char> probeFor(const char* request);
    enum class Probe {
        Echoes,    // it came back byte for byte
        Quiet,     // nothing came back
        Undecided, // other bytes came: the line cannot be told
    };
    // What came back while the probe left and shortly after; learns the first two.
    Probe judgeProbe(const std::vector<char>& probe, const char* heard, int count);
    // Echoes that did not come back as sent.
    int mismatches() const { return faults; }

    // A port opened anew: whether the line echoes is to be found out again.
    void restart()
    {
        known = Line::Unknown;
        request.clear();
    }
    // A request went out: its echo, if the line has one, is still to come.
    void sent(const char* data, int length) { request.assign(data, data + length); }
    // Input was discarded: no echo is awaited any more.
    void forget() { request.clear(); }
    bool awaitingEcho() const { return !request.empty(); }

    // The first receive after a request, of firstCount bytes; othersHeld when bytes
    // read earlier still wait for the caller (the auto mode then judges nothing).
    Result screen(int firstCount, bool othersHeld, const Read& read);

private:
    Result drop(const Read& read);
    Result detect(int firstCount, const Read& read);

    enum class Line { Unknown, Echoes, Quiet };
    EchoMode echoMode;
    Line known = Line::Unknown; // what the auto mode has heard
    int faults = 0;
    std::vector<char> request;
};

#endif
