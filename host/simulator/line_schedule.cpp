#include "simulator/line_schedule.h"

#include <algorithm>

namespace {

bool overlaps(long long aStart, long long aEnd, long long bStart, long long bEnd)
{
    return aStart < bEnd && bStart < aEnd;
}

} // namespace

long long LineSchedule::add(LineDriver driver, const uint8_t* bytes, size_t count, long long startNs,
                            const LinePace& pace)
{
    Entry entry;
    entry.sent.driver = driver;
    entry.sent.bytes.assign(bytes, bytes + count);
    entry.sent.startNs = startNs;
    entry.sent.endNs = startNs + static_cast<long long>(count) * pace.characterNs;
    entry.sent.pace = pace;
    entry.order = added++;
    onLine.push_back(std::move(entry));
    return onLine.back().sent.endNs;
}

// The bytes as a listener hears them: a character that overlaps a character of
// another transmission is damaged by it.
std::vector<uint8_t> LineSchedule::heardAs(const Entry& entry) const
{
    const Transmission& t = entry.sent;
    std::vector<uint8_t> heard = t.bytes;
    if (t.pace.characterNs <= 0)
        return heard;
    const auto collide = [&t, &heard](const Transmission& other) {
        if (other.pace.characterNs <= 0 || !overlaps(t.startNs, t.endNs, other.startNs, other.endNs))
            return;
        for (size_t i = 0; i < heard.size(); ++i) {
            const long long from = t.startNs + static_cast<long long>(i) * t.pace.characterNs;
            const long long to = from + t.pace.characterNs;
            for (size_t j = 0; j < other.bytes.size(); ++j) {
                const long long otherFrom = other.startNs + static_cast<long long>(j) * other.pace.characterNs;
                if (overlaps(from, to, otherFrom, otherFrom + other.pace.characterNs))
                    heard[i] &= other.bytes[j];
            }
        }
    };
    for (const Entry& other : onLine)
        if (other.order != entry.order)
            collide(other.sent);
    for (const Entry& other : delivered)
        collide(other.sent);
    return heard;
}

std::vector<Transmission> LineSchedule::due(long long nowNs)
{
    std::vector<Entry> ended;
    for (const Entry& entry : onLine)
        if (entry.sent.endNs <= nowNs)
            ended.push_back(entry);
    std::sort(ended.begin(), ended.end(), [](const Entry& a, const Entry& b) {
        return a.sent.endNs != b.sent.endNs ? a.sent.endNs < b.sent.endNs : a.order < b.order;
    });
    std::vector<Transmission> out;
    for (const Entry& entry : ended) {
        Transmission heard = entry.sent;
        heard.bytes = heardAs(entry);
        out.push_back(std::move(heard));
    }
    onLine.erase(std::remove_if(onLine.begin(), onLine.end(), [nowNs](const Entry& e) { return e.sent.endNs <= nowNs; }),
                 onLine.end());
    delivered.insert(delivered.end(), ended.begin(), ended.end());
    forgetDelivered();
    return out;
}

// Whatever is added from now on starts after every delivered transmission ended:
// only those that something still on the line overlaps can damage anything.
void LineSchedule::forgetDelivered()
{
    long long earliestStart = -1;
    for (const Entry& entry : onLine)
        earliestStart = earliestStart < 0 ? entry.sent.startNs : std::min(earliestStart, entry.sent.startNs);
    delivered.erase(std::remove_if(delivered.begin(), delivered.end(),
                                   [earliestStart](const Entry& e) { return earliestStart < 0 || e.sent.endNs <= earliestStart; }),
                    delivered.end());
}

long long LineSchedule::nextDueNs() const
{
    long long next = -1;
    for (const Entry& entry : onLine)
        next = next < 0 ? entry.sent.endNs : std::min(next, entry.sent.endNs);
    return next;
}

bool LineSchedule::busy(LineDriver driver) const
{
    return std::any_of(onLine.begin(), onLine.end(), [driver](const Entry& e) { return e.sent.driver == driver; });
}
