// The simulated line's pieces apart from any pseudo-terminal: requests put
// together from the bytes as they come, the pace of a real line, the motion.
#include "host_test_support.h"
#include "simulator/line_pacer.h"
#include "simulator/request_assembler.h"
#include "simulator/servo_motion.h"

#include <gtest/gtest.h>

namespace {

constexpr long long Ms = 1000000;

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

// Characters of 1 ms, a gap of 3.5 ms.
TEST(LinePacer, RequestsTakeTheirCharactersTimeAndRepliesFollowTheGap)
{
    const LinePace kept{true, Ms, 3500000};
    const LinePace instant{};
    struct Heard {
        size_t count;
        double atMs, endsMs;
    };
    const struct {
        const char* name;
        LinePace pace;
        std::vector<Heard> heard;
        size_t replySize;
        double nowMs, delayMs, replyDoneMs;
    } cases[] = {
        {"not kept: at once, plus the servo's delay", instant, {{8, 10, 10}}, 7, 12, 40, 52},
        {"8 bytes then a 7-byte reply", kept, {{8, 10, 18}}, 7, 10.5, 0, 28.5},
        {"a request in two chunks ends after both", kept, {{4, 10, 14}, {4, 11, 18}}, 7, 11, 0, 28.5},
        {"a servo that answers late", kept, {{8, 10, 18}}, 7, 19, 40, 68.5},
        {"a reply asked for after the gap starts at once", kept, {{8, 10, 18}}, 7, 30, 0, 37},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        LinePacer pacer;
        for (const Heard& h : c.heard)
            EXPECT_EQ(pacer.heard(c.pace, h.count, static_cast<long long>(h.atMs * Ms)), static_cast<long long>(h.endsMs * Ms));
        EXPECT_EQ(pacer.replyDone(c.pace, c.replySize, static_cast<long long>(c.nowMs * Ms),
                                  static_cast<long long>(c.delayMs * Ms)),
                  static_cast<long long>(c.replyDoneMs * Ms));
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
