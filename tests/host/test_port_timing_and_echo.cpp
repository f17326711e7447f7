// The port's two rules of the line, apart from any device: the quiet gap before
// each request and the screening of a 2-wire adapter's echo.
#include "host_test_support.h"
#include "port/echo_filter.h"
#include "port/quiet_gap.h"
#include "port/serial_port.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

TEST(QuietGap, WaitsFromTheLastByteOnTheLineOrFromOpening)
{
    using Action = QuietGap::Action;
    struct Event {
        char kind; // 'o' opened, 's' a request's last bit leaves, 'h' a byte heard
        long long atMs;
    };
    const struct {
        const char* name;
        std::vector<Event> events;
        long long askedMs;
        bool dropLateBytes;
        Action action;
        long long untilMs;
    } cases[] = {
        {"opened just now", {{'o', 0}}, 1, false, Action::Sleep, 4},
        {"opened a gap ago", {{'o', 0}}, 4, false, Action::Send, 4},
        {"right after a request", {{'o', 0}, {'s', 10}}, 10, false, Action::Sleep, 14},
        {"right after a request, input to discard", {{'o', 0}, {'s', 10}}, 11, true, Action::Listen, 14},
        {"a late reply restarts the gap", {{'o', 0}, {'s', 10}, {'h', 12}}, 13, true, Action::Listen, 16},
        {"after a reply", {{'o', 0}, {'s', 10}, {'h', 30}}, 33, false, Action::Sleep, 34},
        {"long after a reply", {{'o', 0}, {'s', 10}, {'h', 30}}, 50, true, Action::Send, 50},
        {"opening again forgets the request", {{'s', 100}, {'o', 20}}, 24, false, Action::Send, 24},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        QuietGap gap(4 * Ms);
        for (const Event& e : c.events) {
            if (e.kind == 'o')
                gap.opened(e.atMs * Ms);
            else if (e.kind == 's')
                gap.sent(e.atMs * Ms);
            else
                gap.heard(e.atMs * Ms);
        }
        const QuietGap::Step step = gap.next(c.askedMs * Ms, c.dropLateBytes);
        EXPECT_EQ(static_cast<int>(step.action), static_cast<int>(c.action));
        EXPECT_EQ(step.untilNs, c.untilMs * Ms);
    }
    QuietGap gap(4 * Ms);
    gap.sent(10 * Ms);
    EXPECT_TRUE(gap.transmitting(9 * Ms)); // still in the UART: worth draining
    EXPECT_FALSE(gap.transmitting(10 * Ms));
}

// A line that holds these bytes and hands out as many as asked while they last.
class ScriptedLine {
public:
    explicit ScriptedLine(const char* hexBytes) : bytes(QByteArray::fromHex(hexBytes)) {}
    EchoFilter::Read reader()
    {
        return [this](char* buffer, int count) {
            const int n = std::min(count, static_cast<int>(bytes.size()));
            std::copy(bytes.constData(), bytes.constData() + n, buffer);
            bytes.remove(0, n);
            return n;
        };
    }
    QByteArray bytes; // not read yet
};

TEST(EchoFilter, DropsFindsOrKeepsWhatFollowsTheRequest)
{
    using Verdict = EchoFilter::Verdict;
    const char* const read2 = "010300000002c40b";
    const char* const echoThenReply = "010300000002c40b 01030400000000fa33";
    const char* const reply = "01030400000000fa33";
    const struct {
        const char* name;
        EchoMode mode;
        const char* request;
        const char* line;
        int firstCount;
        bool othersHeld;
        Verdict verdict;
        const char* kept;
        const char* unread;
        bool discarding; // afterwards
        int mismatches;
    } cases[] = {
        {"on: the echo goes", EchoMode::On, read2, echoThenReply, 9, false, Verdict::Echo, "", "01 03 04 00 00 00 00 fa 33", true, 0},
        {"on: a reply where the echo was due is kept", EchoMode::On, read2, reply, 9, false, Verdict::Mismatch,
         "01 03 04 00 00 00 00 fa", "33", true, 1},
        {"auto: the first echo is found", EchoMode::Auto, read2, echoThenReply, 9, false, Verdict::Found, "",
         "01 03 04 00 00 00 00 fa 33", true, 0},
        {"auto: a quiet line's reply is kept", EchoMode::Auto, read2, reply, 9, false, Verdict::NoEcho,
         "01 03 04 00 00 00 00 fa", "33", false, 0},
        {"auto: asks no more than the caller first", EchoMode::Auto, read2, reply, 5, false, Verdict::NoEcho,
         "01 03 04 00 00", "00 00 fa 33", false, 0},
        {"auto: a write's reply that begins as its request ends at its CRC", EchoMode::Auto,
         "011008100001026c3401d7", "011008100001026c ff", 5, false, Verdict::NoEcho, "01 10 08 10 00 01 02 6c", "ff",
         false, 0},
        {"auto: functions 5 and 6 are not screened", EchoMode::Auto, "01060009abcde76d", "01060009abcde76d", 8, false,
         Verdict::NoEcho, "", "01 06 00 09 ab cd e7 6d", false, 0},
        {"auto: nothing is judged while earlier bytes are held", EchoMode::Auto, read2, echoThenReply, 9, true,
         Verdict::NoEcho, "", "01 03 00 00 00 02 c4 0b 01 03 04 00 00 00 00 fa 33", false, 0},
        {"off: the echo passes for the reply", EchoMode::Off, read2, echoThenReply, 9, false, Verdict::NoEcho, "",
         "01 03 00 00 00 02 c4 0b 01 03 04 00 00 00 00 fa 33", false, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EchoFilter filter(c.mode);
        const QByteArray request = QByteArray::fromHex(c.request);
        filter.sent(request.constData(), request.size());
        ASSERT_TRUE(filter.awaitingEcho());
        ScriptedLine line(c.line);
        const EchoFilter::Result result = filter.screen(c.firstCount, c.othersHeld, line.reader());
        EXPECT_EQ(static_cast<int>(result.verdict), static_cast<int>(c.verdict));
        EXPECT_EQ(hex(QByteArray(result.kept.data(), static_cast<int>(result.kept.size()))), c.kept);
        EXPECT_EQ(hex(line.bytes), c.unread);
        EXPECT_EQ(filter.discarding(), c.discarding);
        EXPECT_EQ(filter.mismatches(), c.mismatches);
        EXPECT_FALSE(filter.awaitingEcho()); // one screening per request
    }
}

// Before a function 5 or 6 request on a line not yet known: a read of the same
// station with both CRC bytes inverted, and what came back decides.
TEST(EchoFilter, TheProbeBeforeFunctions5And6)
{
    using Probe = EchoFilter::Probe;
    const QByteArray write6 = QByteArray::fromHex("07060009abcd");
    const std::vector<char> probe = EchoFilter::probeFor(write6.constData());
    // Its good CRC would be 84 6c.
    EXPECT_EQ(hex(QByteArray(probe.data(), static_cast<int>(probe.size()))), "07 03 00 00 00 01 7b 93");
    const struct {
        const char* name;
        const char* heard;
        Probe verdict;
        bool probeNext; // before the next function 6 request
        bool discarding;
    } cases[] = {
        {"it came back: the line echoes", "0703000000017b93", Probe::Echoes, false, true},
        {"nothing came back: no echo", "", Probe::Quiet, false, false},
        {"other bytes: cannot be told", "0703020000", Probe::Undecided, true, false},
        {"half of it: cannot be told", "07030000", Probe::Undecided, true, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EchoFilter filter(EchoMode::Auto);
        ASSERT_TRUE(filter.needsProbe(write6.constData(), write6.size()));
        const QByteArray heard = QByteArray::fromHex(c.heard);
        EXPECT_EQ(static_cast<int>(filter.judgeProbe(probe, heard.constData(), heard.size())), static_cast<int>(c.verdict));
        EXPECT_EQ(filter.needsProbe(write6.constData(), write6.size()), c.probeNext);
        EXPECT_EQ(filter.discarding(), c.discarding);
    }
    // Only the auto mode probes, only before 5 and 6, only while the line is unknown.
    const QByteArray read3 = QByteArray::fromHex("070300000001");
    EXPECT_FALSE(EchoFilter(EchoMode::Auto).needsProbe(read3.constData(), read3.size()));
    EXPECT_FALSE(EchoFilter(EchoMode::On).needsProbe(write6.constData(), write6.size()));
    EXPECT_FALSE(EchoFilter(EchoMode::Off).needsProbe(write6.constData(), write6.size()));
    EchoFilter learnt(EchoMode::Auto);
    learnt.sent(read3.constData(), read3.size());
    ScriptedLine reply("0703020000 ff");
    learnt.screen(5, false, reply.reader()); // a reply, no echo before it
    EXPECT_FALSE(learnt.needsProbe(write6.constData(), write6.size()));
}

// A line that answers the probe with other bytes: the write does not go out,
// and the port says why.
TEST(SerialPortTest, AProbeThatCannotBeToldKeepsTheWriteHome)
{
    PtyPair pty;
    SerialPort port(portOptions(pty.path(), 100));
    ASSERT_TRUE(port.open());
    std::thread line([&] {
        if (pty.take(8, 5000).size() == 8)
            pty.send("01 03 02 00 00 b8 44"); // a servo that answers even a spoilt CRC
    });
    EXPECT_EQ(port.send("\x01\x06\x00\x09\xAB\xCD\xE7\x6D", 8), -1);
    line.join();
    EXPECT_EQ(port.doubt().toStdString(),
              "cannot tell whether " + pty.path() + " echoes each request (the probe no station answers came back as "
              "other bytes), so the reply to a function 5 or 6 write could be its own echo");
    EXPECT_EQ(pty.take(8, 200).size(), 0); // the write stayed home
}

TEST(EchoFilter, AFoundEchoIsForgottenWhenThePortOpensAgain)
{
    EchoFilter filter(EchoMode::Auto);
    filter.sent("\x01\x03\x00\x00\x00\x02\xC4\x0B", 8);
    ScriptedLine line("010300000002c40b");
    EXPECT_EQ(static_cast<int>(filter.screen(9, false, line.reader()).verdict), static_cast<int>(EchoFilter::Verdict::Found));
    EXPECT_TRUE(filter.discarding());
    filter.restart();
    EXPECT_FALSE(filter.discarding());
}

} // namespace
