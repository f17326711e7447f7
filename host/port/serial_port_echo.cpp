// The port's side of a 2-wire adapter's echo: the probe before functions 5 and
// 6 on a line not yet known, and the screening of what follows each request
// (EchoFilter decides, these read and write).
#include "port/serial_port.h"
#include "port/monotonic_clock.h"

// Before the first function 5 or 6 request of the auto mode: does the line echo?
// An echo comes back while the probe leaves, and a USB adapter hands it on
// within its latency; no station answers the probe. False, with the doubt
// said, when the answer is neither its echo nor silence.
bool SerialPort::probeEcho(const char* request)
{
    const std::vector<char> probe = EchoFilter::probeFor(request);
    waitForQuietLine();
    if (lost() || stopped())
        return false;
    discardInput();
    trace.note(QStringLiteral("does the line echo? a probe with a spoilt CRC, which no station answers"));
    const int written = transmit(probe.data(), static_cast<int>(probe.size()));
    trace.record("TX", probe.data(), written);
    std::vector<char> heard(probe.size() + 1);
    // Until the probe has left and the line has been quiet as long as ends a reply.
    const long long leavesNs = monotonicNs() + written * characterTimeNs(settings.line);
    replyFlowing = false;
    const int got = written == static_cast<int>(probe.size())
                        ? readUntil(heard.data(), static_cast<int>(heard.size()), leavesNs + silenceNs)
                        : -1;
    if (got < 0 || lost() || stopped())
        return false;
    if (got > 0)
        trace.record("RX", heard.data(), got);
    switch (echo.judgeProbe(probe, heard.data(), got)) {
    case EchoFilter::Probe::Echoes:
        trace.note(QStringLiteral("the line echoes each request (2-wire adapter): discarding the echo from now on"));
        return true;
    case EchoFilter::Probe::Quiet:
        trace.note(QStringLiteral("the line does not echo: a reply that repeats the request is the servo's"));
        return true;
    case EchoFilter::Probe::Undecided:
        break;
    }
    echoDoubt = QStringLiteral("cannot tell whether %1 echoes each request (the probe no station answers came back as "
                           "other bytes), so the reply to a function 5 or 6 write could be its own echo")
                .arg(settings.device);
    return false;
}

long long SerialPort::screenEcho(int firstCount, long long firstByteDeadlineNs)
{
    const EchoFilter::Result screened = echo.screen(
        firstCount, !heldBack.empty(),
        [this, firstByteDeadlineNs](char* buffer, int count) { return readUntil(buffer, count, firstByteDeadlineNs); });
    heldBack.insert(heldBack.end(), screened.kept.begin(), screened.kept.end());
    if (screened.verdict == EchoFilter::Verdict::Mismatch)
        trace.record("ECHO?", screened.kept.data(), static_cast<int>(screened.kept.size()));
    else if (screened.verdict == EchoFilter::Verdict::Found)
        trace.note(QStringLiteral("the line echoes each request (2-wire adapter): discarding the echo from now on"));
    if (!echo.discarding() || !heldBack.empty())
        return firstByteDeadlineNs;
    // The time-out is the servo's to answer in, counted after the echo.
    replyFlowing = false;
    return replyDeadlineNs();
}
