// drvctl's waits, over real pseudo-terminals: Ctrl-C in a long time-out, a
// slow long reply, round trips as time on the line, scan's garbled answers,
// files that cannot be written.
#include "drvctl_runner.h"
#include "host_test_support.h"
#include "port/line_settings.h"
#include "rtu/rtu_frame.h"
#include "simulator/servo_line.h"

#include <gtest/gtest.h>

#include <QJsonArray>
#include <map>
#include <thread>

namespace {

// Ctrl-C in the middle of a 60 s time-out: the command ends within a few
// seconds, with its summary; a shell keeps its session.
TEST(DrvctlWaits, CtrlCEndsALongTimeOut)
{
    const struct {
        const char* name;
        QStringList command;
        QByteArray input;
        int exitCode;
        const char* lastLine; // on stdout, or the error on stderr
    } cases[] = {
        {"poll", {"poll", "HR1", "--timeout", "60000"}, "", 1, "HR1: 0 read(s), 0 failed"},
        {"read", {"read", "HR1", "--timeout", "60000"}, "", 130, "drvctl: interrupted\n"},
        {"write", {"write", "HR1", "5", "--timeout", "60000"}, "", 130,
         "drvctl: interrupted before the servo confirmed the write\n"},
        {"a shell line", {"shell", "--timeout", "60000"}, "read HR1\nread HR1 --station 2\n", 130,
         "HR1 word[1]: 0"},
        {"backup", {"backup", "--map", EXAMPLE_MAP_PATH, "-o", "/dev/null", "--timeout", "60000"}, "", 130,
         "drvctl: backup of station 1 failed after 0 read(s): interrupted\n"},
        {"a write by name", {"write", "sn.speed_limit", "2500", "--map", EXAMPLE_MAP_PATH, "--timeout", "60000"}, "", 130,
         "drvctl: interrupted before the servo confirmed the write\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ServoLine line;
        StationFaults faults;
        faults.silent = true;
        line.setFaults(1, faults);
        ASSERT_TRUE(line.start());
        QProcess process;
        startDrvctl(&process, onDevice(line.devicePath(), c.command));
        if (!c.input.isEmpty()) {
            process.write(c.input);
            process.waitForBytesWritten(5000);
        }
        process.closeWriteChannel();
        ASSERT_TRUE(eventually([&] { return line.requestCount(1) > 0; }));
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        const auto start = Clock::now();
        ASSERT_TRUE(interrupt(&process));
        const Outcome run = finish(&process, 10000);
        EXPECT_LT(msSince(start), 10000);
        EXPECT_EQ(run.exitCode, c.exitCode) << run.err;
        EXPECT_EQ(line.requestCount(1), 1); // no retry after Ctrl-C
        if (c.input.isEmpty() && run.exitCode == 130) {
            EXPECT_EQ(run.err, c.lastLine);
        } else {
            EXPECT_EQ(run.lines().value(run.lines().size() - 1).toStdString(), c.lastLine) << run.out << run.err;
        }
    }
}

TEST(DrvctlWaits, ASecondCtrlCEndsAtOnce)
{
    ServoLine line;
    ASSERT_TRUE(line.start());
    QProcess process;
    // The driver's own pause before the request does not watch for Ctrl-C.
    startDrvctl(&process, onDevice(line.devicePath(), {"read", "HR1", "--delay", "60000"}));
    ASSERT_TRUE(process.waitForStarted());
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    ASSERT_TRUE(interrupt(&process));
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    ASSERT_TRUE(interrupt(&process));
    const Outcome run = finish(&process, 10000);
    EXPECT_EQ(run.exitCode, 130);
    EXPECT_EQ(run.err, "drvctl: stopped\n");
    EXPECT_EQ(line.requestCount(1), 0);
}

// The time-out bounds the wait for the first byte; the rest of a long reply may
// take longer, as long as it keeps coming.
TEST(DrvctlWaits, ALongReplyAt4800BaudPassesTheDefaultTimeOut)
{
    PtyPair pty;
    SerialPortOptions options = portOptions(pty.path(), 500);
    QString error;
    ASSERT_TRUE(parseLineSettings(QStringLiteral("RS485,4800,EVEN,8,1"), &options.line, &error));
    options.retry = 0;
    SerialPort port(options);
    ASSERT_TRUE(port.open());
    const auto driver = createDriver();
    ASSERT_TRUE(driver);
    const struct {
        const char* name;
        int bytesSent; // of the 255-byte reply
        bool ok;
    } cases[] = {{"whole, 590 ms on the line", 255, true}, {"cut after 100 bytes", 100, false}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        QByteArray reply = QByteArray::fromHex("0103fa");
        for (int r = 0; r < 125; ++r)
            reply += char(0), reply += char(r);
        Rtu::appendCrc(reply);
        std::thread servo([&] {
            if (pty.take(8, 5000).size() != 8)
                return;
            // 11 bits a character at 4800 baud, each at its time: a feeder the
            // machine held up catches up at once, as a UART's buffer would.
            const auto start = std::chrono::steady_clock::now();
            for (int i = 0; i < c.bytesSent; ++i) {
                std::this_thread::sleep_until(start + std::chrono::microseconds(2292) * i);
                pty.send(reply.mid(i, 1).toHex().constData());
            }
        });
        const QByteArray data = driver->read(&port, CommunicatorCommand(Word, 125, QStringLiteral("HR1")));
        servo.join();
        EXPECT_EQ(!driver->hasError(), c.ok) << driver->getLastError().toStdString();
        if (c.ok) {
            EXPECT_EQ(data.size(), 250);
        } else {
            EXPECT_EQ(driver->getLastError().toStdString().rfind("packet loss", 0), 0u);
        }
    }
}

// Round trip is time on the line: a --delay before each request is not in it.
TEST(DrvctlWaits, RoundTripLeavesOutTheDelay)
{
    const auto start = Clock::now();
    const Outcome run = drvctl({"poll", "HR1", "--count", "3", "--interval", "10", "--delay", "400", "--json"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_GE(msSince(start), 3 * 400); // the delays were kept
    const QJsonObject times = run.json(3).value(QStringLiteral("roundTripMs")).toObject();
    EXPECT_GT(times.value(QStringLiteral("min")).toDouble(), 0.0);
    EXPECT_LT(times.value(QStringLiteral("max")).toDouble(), 300.0);
}

TEST(DrvctlWaits, ScanListsGarbledAnswers)
{
    const Outcome run = drvctl({"scan", "--ids", "1-5", "--timeout", "300", "--stations", "1,2,3,4", "--fault",
                                "1:bad-crc", "--fault", "2:slave-id=9", "--fault", "3:drop=4", "--json"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    std::map<int, std::string> answers;
    for (const QJsonValue& entry : run.json(0).value(QStringLiteral("found")).toArray()) {
        const QJsonObject a = entry.toObject();
        answers[a.value(QStringLiteral("station")).toInt()] =
            a.contains(QStringLiteral("garbled")) ? a.value(QStringLiteral("garbled")).toString().toStdString() : "reply";
    }
    EXPECT_EQ(answers, (std::map<int, std::string>{{1, "bad CRC"}, {2, "wrong slave id 9"}, {3, "cut frame"}, {4, "reply"}}));
    const Outcome text = drvctl({"scan", "--ids", "1", "--timeout", "300", "--fault", "1:bad-crc"});
    ASSERT_EQ(text.exitCode, 0) << text.err;
    EXPECT_TRUE(text.lines().value(1).endsWith(QStringLiteral("  garbled: bad CRC"))) << text.out;
    EXPECT_TRUE(text.lines().value(2).startsWith(QStringLiteral("1 answered (1 garbled), 1 of 1 probe(s) in "))) << text.out;
}

TEST(DrvctlWaits, AFileThatCannotBeWrittenIsAnError)
{
    const struct {
        const char* name;
        QStringList command;
        const char* stdoutFile;
        const char* err;
    } cases[] = {
        {"monitor, bad path", {"monitor", "--pcap", "/nonexistent/x.pcap"}, nullptr,
         "drvctl: cannot write /nonexistent/x.pcap: No such file or directory\n"},
        {"read, bad path", {"read", "HR1", "--pcap", "/nonexistent/x.pcap"}, nullptr,
         "drvctl: cannot write /nonexistent/x.pcap: No such file or directory\n"},
        {"monitor, full disk", {"monitor", "--pcap", "/dev/full"}, nullptr,
         "drvctl: cannot write /dev/full: No space left on device\n"},
        {"read, full disk", {"read", "HR1", "--pcap", "/dev/full"}, nullptr,
         "drvctl: cannot write /dev/full: No space left on device\n"},
        {"read, stdout on a full disk", {"read", "HR1"}, "/dev/full",
         "drvctl: cannot write the output: No space left on device\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        QProcess process;
        if (c.stdoutFile)
            process.setStandardOutputFile(QLatin1String(c.stdoutFile));
        startDrvctl(&process, c.command);
        const Outcome run = finish(&process);
        EXPECT_EQ(run.exitCode, 3);
        EXPECT_EQ(run.out, ""); // nothing printed before the error
        EXPECT_EQ(run.err, c.err);
    }
}

} // namespace
