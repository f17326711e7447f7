// The termios port layer over pseudo-terminals: bytes on the wire, early return,
// time-out, input discard, quiet gap, echo discard, RS-485 refusal, trace.
#include "port/frame_trace.h"
#include "port/line_settings.h"
#include "port/serial_port.h"
#include "pty_pair.h"
#include "simulator/servo_line.h"
#include "tools/device_setting.h"
#include "tools/driver_setting.h"

#include <gtest/gtest.h>

#include <QStringList>
#include <chrono>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

long long msSince(Clock::time_point start)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
}

SerialPortOptions optionsFor(const std::string& device, int timeoutMs)
{
    SerialPortOptions options;
    options.device = QString::fromStdString(device);
    options.timeoutMs = timeoutMs;
    options.interFrameGap = false;
    return options;
}

TEST(LineSettingsTest, ParsesTheTextForm)
{
    const struct {
        const char* text;
        const char* error; // nullptr: accepted, and it prints back as `canonical`
        const char* canonical;
    } cases[] = {
        {"RS485,9600,NONE,8,2", nullptr, "RS485,9600,NONE,8,2"},
        {"rs232, 19200 ,even,7,1", nullptr, "RS232,19200,EVEN,7,1"},
        {"RS422,115200,Odd,8,1", nullptr, "RS422,115200,ODD,8,1"},
        {"RS485,9600,NONE,8", "line settings must read TYPE,BAUD,PARITY,DATA,STOP (e.g. RS485,9600,NONE,8,2): RS485,9600,NONE,8", nullptr},
        {"USB,9600,NONE,8,2", "unknown line type: USB", nullptr},
        {"RS485,14400,NONE,8,2", "unsupported baud rate: 14400", nullptr},
        {"RS485,fast,NONE,8,2", "unsupported baud rate: fast", nullptr},
        {"RS485,9600,MARK,8,2", "parity must be NONE, EVEN or ODD: MARK", nullptr},
        {"RS485,9600,NONE,9,2", "data bits must be 5 to 8: 9", nullptr},
        {"RS485,9600,NONE,8,3", "stop bits must be 1 or 2: 3", nullptr},
        {"RS485,9600,NONE,8,1.5", "stop bits must be 1 or 2: 1.5", nullptr},
    };
    for (const auto& c : cases) {
        LineSettings settings;
        QString error;
        const bool ok = parseLineSettings(QString::fromLatin1(c.text), &settings, &error);
        EXPECT_EQ(ok, c.error == nullptr) << c.text;
        if (c.error != nullptr)
            EXPECT_EQ(error.toStdString(), c.error);
        else
            EXPECT_EQ(settings.toString().toStdString(), c.canonical);
    }
}

TEST(LineSettingsTest, ReadsPortRecordCodes)
{
    const struct {
        int stopbits, parity;
        const char* expected; // settings, or the error text
    } cases[] = {
        {0, 2, "RS485,9600,EVEN,8,1"}, // the driver's default record: 11-bit characters
        {2, 0, "RS485,9600,NONE,8,2"},
        {0, 1, "RS485,9600,ODD,8,1"},
        {1, 0, "unsupported stop-bit code: 1"},
        {0, 3, "unsupported parity code: 3"},
    };
    for (const auto& c : cases) {
        DeviceSetting record(SerialDevice, QStringLiteral("/dev/ttyS1"), 9600, 8, c.stopbits, c.parity);
        LineSettings settings;
        QString error;
        const bool ok = lineSettingsFromDeviceSetting(record, &settings, &error);
        EXPECT_EQ((ok ? settings.toString() : error).toStdString(), c.expected);
    }
}

TEST(LineSettingsTest, QuietGapIsThreeAndAHalfElevenBitCharacters)
{
    // 38.5 bit times, rounded up to whole microseconds; fixed above 19200 baud.
    const struct {
        int baud, micros;
    } cases[] = {{1200, 32084}, {9600, 4011}, {19200, 2006}, {38400, 1750}, {115200, 1750}};
    for (const auto& c : cases)
        EXPECT_EQ(interFrameGapMicros(c.baud), c.micros) << c.baud;
}

TEST(SerialPortOptionsTest, TakesDeviceAndDriverRecords)
{
    DeviceSetting device(SerialDevice, QStringLiteral("/dev/ttyUSB0"), 19200, 8, 2, 0);
    DriverSetting driver(250, 5, 7, 20);
    SerialPortOptions options;
    QString error;
    ASSERT_TRUE(SerialPortOptions::fromSettings(device, driver, &options, &error)) << error.toStdString();
    SerialPort port(options);
    EXPECT_EQ(options.device, QStringLiteral("/dev/ttyUSB0"));
    EXPECT_EQ(options.line.toString(), QStringLiteral("RS485,19200,NONE,8,2"));
    EXPECT_EQ(options.timeoutMs, 250);
    EXPECT_EQ(port.getRetry(), 5);
    EXPECT_EQ(port.getStationId(), 7);
    EXPECT_EQ(port.getDelay(), 20);
}

TEST(SerialPortTest, OpenFailuresAreReadable)
{
    SerialPort missing(optionsFor("/nonexistent/ttyS9", 100));
    EXPECT_FALSE(missing.open());
    EXPECT_EQ(missing.errorString(), QStringLiteral("cannot open /nonexistent/ttyS9: No such file or directory"));

    SerialPort notATty(optionsFor("/dev/null", 100));
    EXPECT_FALSE(notATty.open());
    EXPECT_TRUE(notATty.errorString().startsWith(QStringLiteral("/dev/null is not a serial device: ")))
        << notATty.errorString().toStdString();
}

TEST(SerialPortTest, Rs485ModeRefusedByAPseudoTerminalIsReportedNotFatal)
{
    PtyPair pty;
    ASSERT_TRUE(pty.ok());
    SerialPortOptions options = optionsFor(pty.path(), 100);
    SerialPort port(options);
    ASSERT_TRUE(port.open()) << port.errorString().toStdString();
    EXPECT_FALSE(port.rs485Active());
    const QString expected = QStringLiteral("RS-485 mode not available on %1 (Inappropriate ioctl for device): "
                                            "the adapter must switch the line direction itself")
                                 .arg(QString::fromStdString(pty.path()));
    EXPECT_EQ(port.rs485Status(), expected);

    options.requireRs485 = true;
    SerialPort demanding(options);
    EXPECT_FALSE(demanding.open());
    EXPECT_EQ(demanding.errorString(), expected);

    options.requireRs485 = false;
    options.line.lineType = QStringLiteral("RS232");
    SerialPort rs232(options);
    ASSERT_TRUE(rs232.open());
    EXPECT_TRUE(rs232.rs485Status().isEmpty());
}

TEST(SerialPortTest, SendPutsExactlyTheFrameOnTheLine)
{
    PtyPair pty;
    SerialPort port(optionsFor(pty.path(), 100));
    ASSERT_TRUE(port.open());
    const std::vector<uint8_t> frame = hexBytes("01 03 00 63 00 0A 35 D3");
    EXPECT_EQ(port.send(reinterpret_cast<const char*>(frame.data()), 8), 8);
    EXPECT_EQ(pty.peer().take(9, 100), frame);
}

TEST(SerialPortTest, ReceiveReturnsAsSoonAsTheCountHasArrived)
{
    PtyPair pty;
    SerialPort port(optionsFor(pty.path(), 2000));
    ASSERT_TRUE(port.open());
    std::thread peer([&] {
        pty.peer().send(hexBytes("01 03"));
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        pty.peer().send(hexBytes("14 00 0A 99")); // one byte more than asked for
    });
    char buffer[5] = {};
    const auto start = Clock::now();
    EXPECT_EQ(port.receive(buffer, 5), 5);
    const long long elapsed = msSince(start);
    peer.join();
    EXPECT_GE(elapsed, 25);
    EXPECT_LT(elapsed, 500); // nowhere near the 2 s time-out
    EXPECT_EQ(std::vector<uint8_t>(buffer, buffer + 5), hexBytes("01 03 14 00 0A"));
    char rest[1] = {};
    EXPECT_EQ(port.receive(rest, 1), 1); // the extra byte waits for the next receive
    EXPECT_EQ(static_cast<uint8_t>(rest[0]), 0x99);
}

TEST(SerialPortTest, ReceiveWaitsOutTheTimeOutForMissingBytes)
{
    const struct {
        const char* arriving;
        int expected;
    } cases[] = {{"", 0}, {"01 03 14", 3}};
    for (const auto& c : cases) {
        PtyPair pty;
        SerialPort port(optionsFor(pty.path(), 120));
        ASSERT_TRUE(port.open());
        if (*c.arriving)
            pty.peer().send(hexBytes(c.arriving));
        char buffer[5];
        const auto start = Clock::now();
        EXPECT_EQ(port.receive(buffer, 5), c.expected) << c.arriving;
        const long long elapsed = msSince(start);
        EXPECT_GE(elapsed, 115) << c.arriving;
        EXPECT_LT(elapsed, 400) << c.arriving;
    }
}

TEST(SerialPortTest, OptionTwelveDiscardsStaleInput)
{
    PtyPair pty;
    SerialPort port(optionsFor(pty.path(), 150));
    ASSERT_TRUE(port.open());
    pty.peer().send(hexBytes("01 03 02 00 07")); // a late reply to an earlier request
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_TRUE(port.setOption(12, QVariant(0)));
    EXPECT_FALSE(port.setOption(7, QVariant(0)));
    pty.peer().send(hexBytes("01 83 02 C0 F1"));
    char buffer[5];
    ASSERT_EQ(port.receive(buffer, 5), 5);
    EXPECT_EQ(std::vector<uint8_t>(buffer, buffer + 5), hexBytes("01 83 02 C0 F1"));
}

// How long a second send waits after the first one has finished; both frames
// must reach the other end whole.
long long gapBetweenTwoSends(SerialPort& port, RawLine& peer)
{
    const char frame[] = {1, 3, 0, 0, 0, 1, static_cast<char>(0x84), 0x0A};
    port.send(frame, 8);
    const auto first = Clock::now();
    port.send(frame, 8);
    const long long micros = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - first).count();
    EXPECT_EQ(peer.take(16, 200).size(), 16u);
    return micros;
}

TEST(SerialPortTest, QuietGapBeforeEachSendAtTheLinesBaud)
{
    PtyPair pty;
    SerialPortOptions options = optionsFor(pty.path(), 200);
    options.line.baud = 1200; // 32 ms of silence: large against scheduling noise
    options.interFrameGap = true;
    SerialPort port(options);
    ASSERT_TRUE(port.open());
    EXPECT_GE(gapBetweenTwoSends(port, pty.peer()), 32084 - 2000);

    options.interFrameGap = false;
    SerialPort eager(options);
    ASSERT_TRUE(eager.open());
    EXPECT_LT(gapBetweenTwoSends(eager, pty.peer()), 20000);
}

TEST(SerialPortTest, QuietGapCountsFromTheLastByteReceived)
{
    PtyPair pty;
    SerialPortOptions options = optionsFor(pty.path(), 200);
    options.line.baud = 1200;
    options.interFrameGap = true;
    SerialPort port(options);
    ASSERT_TRUE(port.open());
    std::this_thread::sleep_for(std::chrono::milliseconds(40)); // the open itself is long past
    pty.peer().send(hexBytes("01"));
    char byte;
    ASSERT_EQ(port.receive(&byte, 1), 1);
    const auto start = Clock::now();
    port.send("\x01\x03", 2);
    EXPECT_GE(msSince(start), 31);
}

class EchoTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        std::string error;
        ASSERT_TRUE(line.start(&error)) << error;
        line.setHoldingRegister(1, 0, 0x000A);
        line.setHoldingRegister(1, 1, 0x0102);
    }
    std::vector<uint8_t> exchange(bool lineEchoes, bool discardEcho, SerialPort** portOut = nullptr)
    {
        line.setEcho(lineEchoes);
        SerialPortOptions options = optionsFor(line.devicePath(), 150);
        options.discardEcho = discardEcho;
        port = std::make_unique<SerialPort>(options);
        if (!port->open())
            return {};
        if (portOut)
            *portOut = port.get();
        const std::vector<uint8_t> request = hexBytes("01 03 00 00 00 02 C4 0B");
        port->setOption(12, QVariant(0));
        port->send(reinterpret_cast<const char*>(request.data()), 8);
        char reply[9] = {};
        const int got = port->receive(reply, 9);
        return std::vector<uint8_t>(reply, reply + std::max(0, got));
    }
    ServoLine line;
    std::unique_ptr<SerialPort> port;
};

TEST_F(EchoTest, EchoOfTheRequestIsDroppedWhenAsked)
{
    EXPECT_EQ(exchange(true, true), hexBytes("01 03 04 00 0A 01 02 5A 60"));
    EXPECT_EQ(port->echoMismatches(), 0);
}

TEST_F(EchoTest, WithoutDiscardTheEchoIsTakenForTheReply)
{
    EXPECT_EQ(exchange(true, false), hexBytes("01 03 00 00 00 02 C4 0B 01"));
}

TEST_F(EchoTest, MissingEchoLeavesTheReplyForReceive)
{
    EXPECT_EQ(exchange(false, true), hexBytes("01 03 04 00 0A 01 02 5A 60"));
    EXPECT_EQ(port->echoMismatches(), 1);
}

TEST(FrameTraceTest, LineFormat)
{
    const char frame[] = {0x01, 0x03, 0x00, 0x63, 0x00, 0x0A, 0x35, static_cast<char>(0xD3)};
    EXPECT_EQ(formatTraceLine(12.345678, "TX", frame, 8), QStringLiteral("[  12.345678] TX 01 03 00 63 00 0A 35 D3"));
    EXPECT_EQ(formatTraceLine(12345.5, "RX", frame, 1), QStringLiteral("[12345.500000] RX 01"));
}

TEST(FrameTraceTest, PortTracesEveryFrameBothWays)
{
    PtyPair pty;
    SerialPort port(optionsFor(pty.path(), 100));
    QStringList lines;
    port.setTraceSink([&](const QString& line) { lines << line; });
    ASSERT_TRUE(port.open());
    port.send("\x01\x06", 2);
    pty.peer().send(hexBytes("01 86 02"));
    char reply[3];
    ASSERT_EQ(port.receive(reply, 3), 3);
    char nothing[1];
    EXPECT_EQ(port.receive(nothing, 1), 0); // silence leaves no line
    ASSERT_EQ(lines.size(), 2);
    EXPECT_TRUE(lines[0].endsWith(QStringLiteral("] TX 01 06"))) << lines[0].toStdString();
    EXPECT_TRUE(lines[1].endsWith(QStringLiteral("] RX 01 86 02"))) << lines[1].toStdString();
    EXPECT_TRUE(lines[0].startsWith(QLatin1Char('[')));
}

} // namespace
