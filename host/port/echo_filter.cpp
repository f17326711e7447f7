#include "port/echo_filter.h"
#include "rtu/rtu_frame.h"

#include <algorithm>
#include <cstdint>

namespace {

// Normal replies to functions 5 and 6 are copies of the request, so an echo
// cannot be told from them.
bool replyMayEqualRequest(const std::vector<char>& request)
{
    return request.size() >= 2 && (request[1] == 5 || request[1] == 6);
}

} // namespace

EchoFilter::Result EchoFilter::screen(int firstCount, bool othersHeld, const Read& read)
{
    Result result;
    if (request.empty())
        return result;
    if (discarding())
        result = drop(read);
    else if (echoMode == EchoMode::Auto && !othersHeld && !replyMayEqualRequest(request))
        result = detect(firstCount, read);
    request.clear();
    return result;
}

EchoFilter::Result EchoFilter::drop(const Read& read)
{
    const int length = static_cast<int>(request.size());
    std::vector<char> echo(request.size());
    const int got = read(echo.data(), length);
    Result result;
    if (got == length && echo == request) {
        result.verdict = Verdict::Echo;
        return result;
    }
    // Not our echo: whatever came is the start of the answer.
    ++faults;
    result.verdict = Verdict::Mismatch;
    result.kept.assign(echo.begin(), echo.begin() + std::max(0, got));
    return result;
}

EchoFilter::Result EchoFilter::detect(int firstCount, const Read& read)
{
    const int length = static_cast<int>(request.size());
    std::vector<char> seen(request.size());
    // First no more than the caller asked for, so that a short reply costs no
    // extra wait; then on, a byte at a time, only while every byte matched and
    // they do not already make a whole reply (those of 15 and 16 begin as their request).
    int got = read(seen.data(), std::min(firstCount, length));
    const auto wholeReply = [&seen](int count) {
        return Rtu::isWholeReply(reinterpret_cast<const uint8_t*>(seen.data()), static_cast<size_t>(count));
    };
    while (got < length && got > 0 && std::equal(seen.begin(), seen.begin() + got, request.begin())
           && !wholeReply(got)) {
        const int more = read(seen.data() + got, 1);
        if (more <= 0)
            break;
        got += more;
    }
    Result result;
    if (got == length && seen == request) {
        found = true;
        result.verdict = Verdict::Found;
        return result;
    }
    result.kept.assign(seen.begin(), seen.begin() + std::max(0, got));
    return result;
}
