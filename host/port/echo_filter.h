#ifndef PORT_ECHO_FILTER_H
#define PORT_ECHO_FILTER_H

#include <functional>
#include <vector>

// What the port does with a line that hears its own transmission (2-wire RS-485
// adapters do). Auto finds out from the first reply that cannot be a copy of its
// request (any function but 5 and 6) and discards echoes from then on; until
// then the echo of a function 5 or 6 request passes for its reply.
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
    bool discarding() const { return found || echoMode == EchoMode::On; }
    // Echoes that did not come back as sent.
    int mismatches() const { return faults; }

    // A port opened anew: whether the line echoes is to be found out again.
    void restart()
    {
        found = false;
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

    EchoMode echoMode;
    bool found = false; // the auto mode has heard an echo
    int faults = 0;
    std::vector<char> request;
};

#endif
