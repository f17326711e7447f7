// The simulated line's pieces apart from any pseudo-terminal: requests put
// together from the bytes as they come, the wire with its characters' time, the motion.
#include "host_test_support.h"
#include "simulator/line_schedule.h"
#include "simulator/request_assembler.h"
#include "simulator/servo_motion.h"

#include <gtest/gtest.h>

namespace {

TEST(RequestAssembler, WholeRequestsFromChunksAndSilences)
{
    const struct {
        const char* name;
        std::vector<const char*> chunks; // "|" is a silence
        QStringList requests;
    } cases[] = {
        {"a read in one chunk", {"010300000001840a"}, {"01 03 00 00 00 01 84 0a"}},
        {"a read in three chunks", {"0103", "0000", "0001840a"}, {"01 03 00 00 00 01 84 0a"}},
        {"two requests in one chunk", {"010300000001840a 0106003100cd1990"},
         {"01 03 00 00 00 01 84 0a", "01 06 00 31 00 cd 19 90"}},
        {"function 16 waits for its byte count and data", {"011000000001", "02", "0007e7", "92"},
         {"01 10 00 00 00 01 02 00 07 e7 92"}},
        {"a damaged request takes what is held behind it", {"010300000001840b 0106003100cd1990"}, {}},
        {"a fragment is given up at a silence", {"010300", "|", "010300000001840a"}, {"01 03 00 00 00 01 84 0a"}},
        {"a function without a layout ends at the silence", {"010800000000e00b", "|"}, {"01 08 00 00 00 00 e0 0b"}},
        {"... and is dropped with a bad CRC", {"010800000000e00c", "|"}, {}},
        {"a broadcast is a request like any other", {"000600090005981a"}, {"00 06 00 09 00 05 98 1a"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        RequestAssembler assembler;
        QStringList requests;
        for (const char* chunk : c.chunks) {
            const QByteArray bytes = QByteArray::fromHex(chunk);
            const RequestAssembler::Frames frames =
                std::string(chunk) == "|"
                    ? assembler.silence()
                    : assembler.take(reinterpret_cast<const uint8_t*>(bytes.constData()), static_cast<size_t>(bytes.size()));
            for (const auto& frame : frames)
                requests << QString::fromStdString(hex(QByteArray(reinterpret_cast<const char*>(frame.data()),
                                                                  static_cast<int>(frame.size()))));
        }
        EXPECT_EQ(lines(requests), lines(c.requests));
        EXPECT_FALSE(assembler.holding());
    }
}

// Everything that ended by `nowMs`, as a listener on the line heard it.
TEST(LineSchedule, TransmissionsEndAfterTheirCharactersAndCollideWhereTheyOverlap)
{
    struct Sent {
        LineDriver driver;
        const char* bytes;
        double startMs, characterMs;
    };
    const struct {
        const char* name;
        std::vector<Sent> sent;
        double nowMs;
        QStringList heard; // "M", "N" or "S" and the bytes, in the order they ended
        double nextDueMs;  // -1: nothing left on the line
    } cases[] = {
        {"a request ends after its characters' time", {{LineDriver::Master, "01 03 00 00 00 01 84 0a", 10, 1}}, 18,
         {"M 01 03 00 00 00 01 84 0a"}, -1},
        {"... and not before", {{LineDriver::Master, "01 03 00 00 00 01 84 0a", 10, 1}}, 17.9, {}, 18},
        {"request, then a reply 3.5 characters later: in order, untouched",
         {{LineDriver::Master, "01 03 00 00 00 01 84 0a", 0, 1}, {LineDriver::Station, "01 03 02 00 07 f9 86", 11.5, 1}},
         18.5, {"M 01 03 00 00 00 01 84 0a", "S 01 03 02 00 07 f9 86"}, -1},
        {"a late reply that ends after a prompt one comes second",
         {{LineDriver::Station, "02 03 02 00 01 3d 84", 5, 1}, {LineDriver::Station, "01 03 02 00 07 f9 86", 1, 0.5}},
         12, {"S 01 03 02 00 07 f9 86", "S 02 03 02 00 01 3d 84"}, -1},
        {"overlapping characters damage both", {{LineDriver::Station, "ff 33", 0, 1}, {LineDriver::Station, "0f f0", 1, 1}},
         3, {"S ff 03", "S 03 f0"}, -1},
        {"half a character off: each overlaps two",
         {{LineDriver::Station, "ff ff", 0, 1}, {LineDriver::Master, "7e e7", 0.5, 1}}, 3, {"S 7e 66", "M 7e e7"}, -1},
        {"a reply into a request the master is sending",
         {{LineDriver::Master, "01 03", 0, 1}, {LineDriver::Station, "f0", 1.5, 1}}, 2, {"M 01 00"}, 2.5},
        {"an instant line: at once, in the order added, nothing collides",
         {{LineDriver::Master, "01 02", 5, 0}, {LineDriver::Station, "03 04", 5, 0}}, 5, {"M 01 02", "S 03 04"}, -1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        LineSchedule schedule;
        for (const Sent& s : c.sent) {
            const QByteArray bytes = QByteArray::fromHex(s.bytes);
            const LinePace pace{static_cast<long long>(s.characterMs * Ms), static_cast<long long>(3.5 * s.characterMs * Ms)};
            schedule.add(s.driver, reinterpret_cast<const uint8_t*>(bytes.constData()), static_cast<size_t>(bytes.size()),
                         static_cast<long long>(s.startMs * Ms), pace);
        }
        QStringList heard;
        for (const Transmission& t : schedule.due(static_cast<long long>(c.nowMs * Ms))) {
            const char* who = t.driver == LineDriver::Master ? "M" : t.driver == LineDriver::Network ? "N" : "S";
            heard << QStringLiteral("%1 %2").arg(QLatin1String(who),
                                                 QString::fromStdString(hex(QByteArray(reinterpret_cast<const char*>(t.bytes.data()),
                                                                                       static_cast<int>(t.bytes.size())))));
        }
        EXPECT_EQ(lines(heard), lines(c.heard));
        EXPECT_EQ(schedule.nextDueNs(), c.nextDueMs < 0 ? -1 : static_cast<long long>(c.nextDueMs * Ms));
    }
}

TEST(ServoMotion, RampsUpAndDownOneStepPerTick)
{
    const struct {
        long long step;
        int ramp;
    } ramp[] = {{0, 0}, {1, 30}, {99, 2970}, {100, 3000}, {101, 2970}, {199, 30}, {200, 0}, {201, 30}};
    for (const auto& r : ramp)
        EXPECT_EQ(ServoMotion::rampAt(r.step), r.ramp) << "step " << r.step;

    ServoMotion motion;
    EXPECT_FALSE(motion.tick(500 * Ms)); // off
    motion.start(0);
    const struct {
        long long atMs;
        int ticks, ramp;
    } beats[] = {{99, 0, 0}, {100, 1, 30}, {350, 2, 90}, {350, 0, 90}};
    for (const auto& b : beats) {
        int ticks = 0;
        while (motion.tick(b.atMs * Ms))
            ++ticks;
        EXPECT_EQ(ticks, b.ticks) << "at " << b.atMs << " ms";
        EXPECT_EQ(motion.ramp(), b.ramp) << "at " << b.atMs << " ms";
    }
    motion.start(360 * Ms); // already on: keeps its beat
    EXPECT_EQ(motion.nextTickNs(), 400 * Ms);
    motion.stop();
    motion.start(1000 * Ms); // on again: goes on from where it stood
    EXPECT_EQ(motion.nextTickNs(), 1100 * Ms);
    EXPECT_TRUE(motion.tick(1100 * Ms));
    EXPECT_EQ(motion.ramp(), 120);
}

} // namespace
