// The termios port layer over pseudo-terminals: line settings, early return,
// time-out, input discard, quiet gap, echo discard, RS-485 refusal, trace.
#include "host_test_support.h"
#include "port/frame_trace.h"
#include "port/line_settings.h"
#include "simulator/servo_line.h"
#include "tools/device_setting.h"

#include <gtest/gtest.h>

#include <QRegularExpression>
#include <QStringList>
#include <thread>

namespace {

TEST(LineSettingsTest, TextFormAndTheDefaultPortRecord)
{
    const struct {
        const char* text;
        const char* expected; // settings as printed back, or the error text
    } cases[] = {
        {"rs232, 19200 ,even,7,1", "RS232,19200,EVEN,7,1"},
        {"RS485,9600,NONE,8", "line settings must read TYPE,BAUD,PARITY,DATA,STOP (e.g. RS485,9600,NONE,8,2): RS485,9600,NONE,8"},
        {"RS485,14400,NONE,8,2", "unsupported baud rate: 14400"},
    };
    LineSettings settings;
    QString error;
    for (const auto& c : cases) {
        const bool ok = parseLineSettings(QString::fromLatin1(c.text), &settings, &error);
        EXPECT_EQ((ok ? settings.toString() : error).toStdString(), c.expected);
    }
    // The driver's default record, stop-bit code 0 and parity code 2: 11-bit characters.
    ASSERT_TRUE(lineSettingsFromDeviceSetting(DeviceSetting(SerialDevice, QStringLiteral("/dev/ttyS1"), 9600, 8, 0, 2),
                                              &settings, &error)) << error.toStdString();
    EXPECT_EQ(settings.toString(), QStringLiteral("RS485,9600,EVEN,8,1"));
}

TEST(SerialPortTest, Rs485ModeRefusedByAPseudoTerminalIsReportedNotFatal)
{
    PtyPair pty;
    SerialPortOptions options = portOptions(pty.path(), 100);
    SerialPort port(options);
    ASSERT_TRUE(port.open()) << port.errorString().toStdString();
    // The system's reason varies (ENOTTY from a kernel, ENOSYS under user-mode emulation).
    const QString status = port.rs485Status();
    EXPECT_TRUE(status.startsWith(QStringLiteral("RS-485 mode not available on %1 (").arg(QString::fromStdString(pty.path()))))
        << status.toStdString();
    EXPECT_TRUE(status.endsWith(QStringLiteral("): the adapter must switch the line direction itself"))) << status.toStdString();
    options.requireRs485 = true;
    SerialPort demanding(options);
    EXPECT_FALSE(demanding.open());
    EXPECT_EQ(demanding.errorString(), status);
}

// Option 12 comes first, as the driver sends it before every request: stale input must go.
TEST(SerialPortTest, ReceiveReturnsOnceTheBytesAreThereAndWaitsOutTheTimeOutOtherwise)
{
    const struct {
        int timeoutMs;
        const char* stale; // a late reply to an earlier request
        const char* first;
        const char* later; // 30 ms after the first chunk
        const char* expected;
        long long minMs, maxMs;
    } cases[] = {
        {2000, "01 03 02 00 07", "01 03", "14 00 0a 99", "01 03 14 00 0a", 25, 500}, // far from the time-out
        {120, "", "", "", "", 115, 400},
        {120, "", "01 03 14", "", "01 03 14", 115, 400},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.expected);
        PtyPair pty;
        SerialPort port(portOptions(pty.path(), c.timeoutMs));
        ASSERT_TRUE(port.open());
        pty.send(c.stale);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_TRUE(port.setOption(12, QVariant(0)));
        std::thread peer([&] {
            pty.send(c.first);
            std::this_thread::sleep_for(std::chrono::milliseconds(30));
            pty.send(c.later);
        });
        char buffer[5] = {};
        const auto start = Clock::now();
        const int got = port.receive(buffer, 5);
        const long long elapsed = msSince(start);
        peer.join();
        EXPECT_EQ(hex(QByteArray(buffer, std::max(0, got))), c.expected);
        EXPECT_GE(elapsed, c.minMs);
        EXPECT_LT(elapsed, c.maxMs);
    }
}

// At 300 baud a character takes 37 ms and 3.5 of them 128 ms: the waits the
// port must keep are lower bounds, and one it must not keep is bounded far above
// scheduling noise (QuietGap's own test has the exact times).
TEST(SerialPortTest, QuietGapCountsFromTheLastRequestAndFromOpening)
{
    const struct {
        bool sendBefore; // a request just went out
        int pauseMs;     // before the request that is timed
        long long minMs, maxMs;
    } cases[] = {
        {true, 0, 128, 2000},  // 2 characters take 73 ms, then the gap
        {false, 0, 90, 2000},  // opening took some of the gap
        {false, 200, 0, 100},
        {true, 260, 0, 100},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.sendBefore) + " " + std::to_string(c.pauseMs));
        PtyPair pty;
        SerialPortOptions options = portOptions(pty.path(), 200);
        options.line.baud = 300;
        options.interFrameGap = true;
        SerialPort port(options);
        ASSERT_TRUE(port.open());
        if (c.sendBefore)
            port.send("\x01\x03", 2);
        std::this_thread::sleep_for(std::chrono::milliseconds(c.pauseMs));
        const auto start = Clock::now();
        port.send("\x01\x03", 2);
        EXPECT_GE(msSince(start), c.minMs);
        EXPECT_LT(msSince(start), c.maxMs);
    }
}

// The late reply comes while the port waits out the gap before the next request:
// option 12 was asked before it came, and still it must not be taken as the answer.
TEST(SerialPortTest, LateReplyArrivingInsideTheGapIsDiscardedBeforeTheRequest)
{
    PtyPair pty;
    SerialPortOptions options = portOptions(pty.path(), 300);
    options.line.baud = 600; // a 64 ms gap: the late reply surely comes inside it
    options.interFrameGap = true;
    SerialPort port(options);
    QStringList trace;
    port.setTraceSink([&](const QString& line) { trace << line.mid(line.indexOf(QLatin1String("] ")) + 2); });
    ASSERT_TRUE(port.open());
    ASSERT_EQ(port.send("\x01\x03\x00\x00\x00\x01\x84\x0A", 8), 8);
    EXPECT_EQ(hex(pty.take(8, 200)), "01 03 00 00 00 01 84 0a");
    EXPECT_TRUE(port.setOption(DiscardInputOption, QVariant(0)));
    std::thread servo([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        pty.send("01 03 02 00 07 f9 86"); // the first request's answer, too late
        if (pty.take(8, 300).size() == 8)
            pty.send("01 03 02 00 09 78 42");
    });
    port.send("\x01\x03\x00\x01\x00\x01\xD5\xCA", 8);
    char reply[7] = {};
    const int got = port.receive(reply, 7);
    servo.join();
    EXPECT_EQ(hex(QByteArray(reply, std::max(0, got))), "01 03 02 00 09 78 42");
    EXPECT_EQ(lines(trace.filter(QStringLiteral("LATE"))), "LATE 01 03 02 00 07 F9 86");
}

TEST(SerialPortTest, EchoDiscard)
{
    const struct {
        bool lineEchoes;
        EchoMode mode;
        const char* reply;
        int mismatches;
        bool discarding; // afterwards
    } cases[] = {
        {true, EchoMode::On, "01 03 04 00 00 00 00 fa 33", 0, true},
        {true, EchoMode::Off, "01 03 00 00 00 02 c4 0b 01", 0, false}, // the echo is taken for the reply
        {true, EchoMode::Auto, "01 03 04 00 00 00 00 fa 33", 0, true},
        {false, EchoMode::On, "01 03 04 00 00 00 00 fa 33", 1, true}, // the reply is kept for receive
        {false, EchoMode::Auto, "01 03 04 00 00 00 00 fa 33", 0, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.reply);
        ServoLine line;
        ASSERT_TRUE(line.start());
        line.setEcho(c.lineEchoes);
        SerialPortOptions options = portOptions(line.devicePath(), 150);
        options.echoMode = c.mode;
        SerialPort port(options);
        ASSERT_TRUE(port.open());
        port.send("\x01\x03\x00\x00\x00\x02\xC4\x0B", 8);
        char reply[9] = {};
        const int got = port.receive(reply, 9);
        EXPECT_EQ(hex(QByteArray(reply, std::max(0, got))), c.reply);
        EXPECT_EQ(port.echoMismatches(), c.mismatches);
        EXPECT_EQ(port.discardsEcho(), c.discarding);
    }
}

// Register 0x0810 written with 0x6C34: the whole reply, CRC included, is the
// first 8 bytes of the request. On a quiet line it must not be taken for the
// start of an echo, and no time-out waited out for the rest.
TEST(SerialPortTest, AutoEchoTakesAReplyThatBeginsAsItsRequestAtOnce)
{
    ServoLine line;
    ASSERT_TRUE(line.start());
    SerialPort port(portOptions(line.devicePath(), 1000));
    ASSERT_TRUE(port.open());
    const auto start = Clock::now();
    port.send("\x01\x10\x08\x10\x00\x01\x02\x6C\x34\x01\xD7", 11);
    char reply[8] = {};
    const int first = port.receive(reply, 5);
    const int rest = port.receive(reply + 5, 3);
    EXPECT_LT(msSince(start), 500);
    EXPECT_EQ(hex(QByteArray(reply, first + rest)), "01 10 08 10 00 01 02 6c");
    EXPECT_FALSE(port.discardsEcho());
    EXPECT_EQ(line.holdingRegister(1, 0x0810), 0x6C34);
}

TEST(FrameTraceTest, OneLinePerFrameEachWay)
{
    const char frame[] = "\x01\x03\x00\x63\x00\x0A\x35\xD3";
    EXPECT_EQ(formatTraceLine(12.345678, "TX", frame, 8), QStringLiteral("[  12.345678] TX 01 03 00 63 00 0A 35 D3"));
    EXPECT_EQ(formatTraceLine(12345.5, "RX", frame, 1), QStringLiteral("[12345.500000] RX 01"));

    PtyPair pty;
    SerialPort port(portOptions(pty.path(), 100));
    QStringList lines, transfers;
    long long lastNs = 0;
    port.setTraceSink([&](const QString& line) { lines << line; });
    port.setTraceByteSink([&](const char* direction, const QByteArray& bytes, long long monotonicNs) {
        transfers << QString::fromLatin1(direction) + QLatin1Char(' ') + QString::fromLatin1(bytes.toHex());
        EXPECT_GE(monotonicNs, lastNs);
        lastNs = monotonicNs;
    });
    ASSERT_TRUE(port.open());
    port.send("\x01\x06", 2);
    pty.send("01 86 02");
    char reply[3];
    ASSERT_EQ(port.receive(reply, 3), 3);
    EXPECT_EQ(port.receive(reply, 1), 0); // silence leaves no line
    lines.replaceInStrings(QRegularExpression(QStringLiteral("^\\[ *\\d+\\.\\d{6}\\] ")), QString());
    EXPECT_EQ(lines, QStringList({"TX 01 06", "RX 01 86 02"}));
    EXPECT_EQ(transfers, QStringList({"TX 0106", "RX 018602"}));
}

} // namespace
