// drvctl and the line itself, over real pseudo-terminals: one master on a line,
// the echo never taken for a reply, a line lost and back, Ctrl-C, round trips as
// time on the line, scan's garbled answers, files that cannot be written.
#include "drvctl_runner.h"
#include "host_test_support.h"
#include "port/device_lock.h"
#include "port/line_settings.h"
#include "rtu/rtu_frame.h"
#include "simulator/servo_line.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QTemporaryDir>
#include <map>
#include <thread>

namespace {

QStringList onDevice(const std::string& path, QStringList arguments)
{
    return arguments << QStringLiteral("--device") << QString::fromStdString(path);
}

// Waits up to 10 s for the condition; false when it never held.
template <typename Condition>
bool eventually(Condition condition)
{
    const auto start = Clock::now();
    while (!condition()) {
        if (msSince(start) > 10000)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

TEST(DrvctlLine, OneMasterOnALineAndAStaleLockTakenOver)
{
    ServoLine line;
    ASSERT_TRUE(line.start());
    const QString path = QString::fromStdString(line.devicePath());
    QProcess first;
    startDrvctl(&first, onDevice(line.devicePath(), {"poll", "HR1", "--interval", "50"}));
    ASSERT_TRUE(first.waitForReadyRead(10000));

    const Outcome second = drvctl(onDevice(line.devicePath(), {"read", "HR1"}));
    EXPECT_EQ(second.exitCode, 3);
    EXPECT_EQ(second.err, QStringLiteral("drvctl: %1 is in use by pid %2\n").arg(path).arg(first.processId()).toStdString());
    const int heardBefore = line.requestCount(1);

    ASSERT_TRUE(interrupt(&first));
    EXPECT_EQ(finish(&first).exitCode, 0);
    EXPECT_GT(heardBefore, 0);
    const Outcome afterwards = drvctl(onDevice(line.devicePath(), {"read", "HR1"}));
    EXPECT_EQ(afterwards.exitCode, 0) << afterwards.err; // released on exit

    // A lock file left by a process that is gone.
    QProcess gone;
    startChecked(gone, QStringLiteral("true"), {});
    const qint64 deadPid = gone.processId();
    ASSERT_GT(deadPid, 1);
    ASSERT_TRUE(gone.waitForFinished(10000));
    const QString lockPath = QDir(QStringLiteral("/run/lock")).filePath(DeviceLock::lockFileName(path));
    QFile stale(lockPath);
    ASSERT_TRUE(stale.open(QIODevice::WriteOnly)) << lockPath.toStdString();
    stale.write(QByteArray::number(deadPid) + "\ndrvctl\n\n");
    stale.close();
    const Outcome takenOver = drvctl(onDevice(line.devicePath(), {"write", "HR7", "9"}));
    EXPECT_EQ(takenOver.exitCode, 0) << takenOver.err;
    EXPECT_EQ(line.holdingRegister(1, 6), 9);
    EXPECT_FALSE(QFile::exists(lockPath)); // and released again
}

// Every function code on a line that echoes and on one that does not, to a servo
// that answers and to one that is silent: only a real reply is a success.
TEST(DrvctlLine, TheEchoIsNeverAReply)
{
    const struct {
        const char* name;
        QStringList command;
        int function;
    } commands[] = {
        {"read coils (1)", {"read", "DO3"}, 1},
        {"read inputs (2)", {"read", "DI3"}, 2},
        {"read registers (3)", {"read", "HR3"}, 3},
        {"read input registers (4)", {"read", "IR3"}, 4},
        {"write a coil (5)", {"write", "FN5DO3", "1"}, 5},
        {"write a register (6)", {"write", "FN6HR3", "77"}, 6},
        {"write coils (15)", {"write", "DO3", "1"}, 15},
        {"write registers (16)", {"write", "HR3", "77"}, 16},
    };
    for (const bool echoes : {false, true}) {
        for (const bool silent : {false, true}) {
            for (const auto& c : commands) {
                SCOPED_TRACE(std::string(c.name) + (echoes ? ", echoing line" : ", quiet line")
                             + (silent ? ", silent servo" : ", answering servo"));
                ServoLine line;
                line.setEcho(echoes);
                StationFaults faults;
                faults.silent = silent;
                line.setFaults(1, faults);
                ASSERT_TRUE(line.start());
                const Outcome run = drvctl(onDevice(line.devicePath(), c.command + QStringList{"--retry", "0", "--timeout", "200"}));
                if (silent) {
                    EXPECT_EQ(run.exitCode, 1) << run.out;
                    EXPECT_EQ(run.err.rfind("drvctl: PLC no response", 0), 0u) << run.err;
                } else {
                    EXPECT_EQ(run.exitCode, 0) << run.err;
                }
                // The request went out once, as it was asked for.
                ASSERT_FALSE(line.requests().empty());
                EXPECT_EQ(line.requests().back()[1], c.function);
                if (!silent && c.function == 6) {
                    EXPECT_EQ(line.holdingRegister(1, 2), 77);
                }
            }
        }
    }
}

TEST(DrvctlLine, ALostLineEndsAOneShotCommandWithTheSystemsText)
{
    PtyPair pty;
    QProcess process;
    startDrvctl(&process, onDevice(pty.path(), {"read", "HR1", "--timeout", "5000"}));
    ASSERT_EQ(pty.take(8, 10000).size(), 8); // the request is on the line
    pty.hangUp();
    const Outcome run = finish(&process);
    EXPECT_EQ(run.exitCode, 3);
    EXPECT_EQ(run.err, "drvctl: line lost: " + pty.path() + ": Input/output error\n");
}

// A symbolic link stands for the adapter's stable name; the line behind it goes
// away and comes back as another pseudo-terminal.
class Replug {
public:
    Replug() : link(dir.filePath(QStringLiteral("ttyServo"))) {}
    bool pointAt(const std::string& target)
    {
        const QString next = link + QStringLiteral(".next");
        QFile::remove(next);
        return QFile::link(QString::fromStdString(target), next) && ::rename(qPrintable(next), qPrintable(link)) == 0;
    }
    std::string path() const { return link.toStdString(); }

private:
    QTemporaryDir dir;
    QString link;
};

TEST(DrvctlLine, PollSaysTheLineIsLostOnceAndGoesOnWhenItIsBack)
{
    Replug replug;
    auto line = std::make_unique<ServoLine>();
    ASSERT_TRUE(line->start());
    ASSERT_TRUE(replug.pointAt(line->devicePath()));
    QProcess poll;
    startDrvctl(&poll, onDevice(replug.path(), {"poll", "HR1", "--interval", "50", "--json"}));
    ASSERT_TRUE(poll.waitForReadyRead(10000));
    line.reset(); // unplugged
    std::this_thread::sleep_for(std::chrono::milliseconds(1500)); // a reopen or two fails
    auto back = std::make_unique<ServoLine>();
    back->setHoldingRegister(1, 0, 42);
    ASSERT_TRUE(back->start());
    ASSERT_TRUE(replug.pointAt(back->devicePath()));
    ASSERT_TRUE(eventually([&] { return back->requestCount(1) >= 3; }));
    ASSERT_TRUE(interrupt(&poll));
    const Outcome run = finish(&poll);
    EXPECT_EQ(run.exitCode, 0) << run.err;
    const QStringList lines = run.lines();
    int lost = 0, rounds = 0, backRounds = 0;
    for (int i = 0; i < lines.size(); ++i) {
        const QJsonObject object = run.json(i);
        lost += object.contains(QStringLiteral("lineLost")) && !object.contains(QStringLiteral("summary"));
        rounds += object.contains(QStringLiteral("round"));
        backRounds += object.value(QStringLiteral("values")).toObject().value(QStringLiteral("HR1")).toArray().at(0).toInt() == 42;
    }
    EXPECT_EQ(lost, 1) << run.out;
    EXPECT_GE(backRounds, 2) << run.out;
    const QJsonObject summary = run.json(lines.size() - 1);
    EXPECT_EQ(summary.value(QStringLiteral("rounds")).toInt(), rounds);
    EXPECT_EQ(summary.value(QStringLiteral("lineLost")).toInt(), 1);
    EXPECT_GE(summary.value(QStringLiteral("withoutLineS")).toDouble(), 1.0);
    EXPECT_EQ(summary.value(QStringLiteral("failures")).toObject().value(QStringLiteral("HR1")).toInt(), 0);
}

TEST(DrvctlLine, MonitorSaysTheLineIsLostOnceAndListensAgainWhenItIsBack)
{
    Replug replug;
    auto line = std::make_unique<ServoLine>();
    ASSERT_TRUE(line->start());
    ASSERT_TRUE(replug.pointAt(line->openTap()));
    QProcess monitor;
    startDrvctl(&monitor, onDevice(replug.path(), {"monitor"}));
    ASSERT_TRUE(monitor.waitForStarted());
    std::this_thread::sleep_for(std::chrono::milliseconds(300)); // listening
    line.reset();
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    auto back = std::make_unique<ServoLine>();
    ASSERT_TRUE(back->start());
    ASSERT_TRUE(replug.pointAt(back->openTap()));
    SerialPort master(portOptions(back->devicePath(), 200));
    ASSERT_TRUE(master.open());
    const auto driver = createDriver();
    ASSERT_TRUE(driver);
    driver->initialize(&master);
    // Read until the monitor has printed a transaction it heard on the new line.
    QByteArray out;
    ASSERT_TRUE(eventually([&] {
        driver->read(&master, CommunicatorCommand(Word, 1, QStringLiteral("HR1")));
        monitor.waitForReadyRead(100);
        out += monitor.readAllStandardOutput();
        return out.contains("station 1");
    })) << out.toStdString();
    ASSERT_TRUE(interrupt(&monitor));
    const Outcome run = finish(&monitor);
    EXPECT_EQ(run.exitCode, 0) << run.err;
    const std::string err = run.err;
    EXPECT_EQ(err.find("drvctl: line lost: " + replug.path() + ": "), 0u) << err;
    EXPECT_NE(err.find("drvctl: line back: " + replug.path() + " after "), std::string::npos) << err;
    EXPECT_NE(run.out.find(", line lost 1 time(s), "), std::string::npos) << run.out;
}

// Ctrl-C in the middle of a 60 s time-out: the command ends within a few
// seconds, with its summary; a shell keeps its session.
TEST(DrvctlLine, CtrlCEndsALongTimeOut)
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

TEST(DrvctlLine, ASecondCtrlCEndsAtOnce)
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
TEST(DrvctlLine, ALongReplyAt4800BaudPassesTheDefaultTimeOut)
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
            for (int i = 0; i < c.bytesSent; ++i) { // 11 bits a character at 4800 baud
                pty.send(reply.mid(i, 1).toHex().constData());
                std::this_thread::sleep_for(std::chrono::microseconds(2292));
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
TEST(DrvctlLine, RoundTripLeavesOutTheDelay)
{
    const auto start = Clock::now();
    const Outcome run = drvctl({"poll", "HR1", "--count", "3", "--interval", "10", "--delay", "400", "--json"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_GE(msSince(start), 3 * 400); // the delays were kept
    const QJsonObject times = run.json(3).value(QStringLiteral("roundTripMs")).toObject();
    EXPECT_GT(times.value(QStringLiteral("min")).toDouble(), 0.0);
    EXPECT_LT(times.value(QStringLiteral("max")).toDouble(), 300.0);
}

TEST(DrvctlLine, ScanListsGarbledAnswers)
{
    const Outcome run = drvctl({"scan", "--ids", "1-5", "--timeout", "50", "--stations", "1,2,3,4", "--fault",
                                "1:bad-crc", "--fault", "2:slave-id=9", "--fault", "3:drop=4", "--json"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    std::map<int, std::string> answers;
    for (const QJsonValue& entry : run.json(0).value(QStringLiteral("found")).toArray()) {
        const QJsonObject a = entry.toObject();
        answers[a.value(QStringLiteral("station")).toInt()] =
            a.contains(QStringLiteral("garbled")) ? a.value(QStringLiteral("garbled")).toString().toStdString() : "reply";
    }
    EXPECT_EQ(answers, (std::map<int, std::string>{{1, "bad CRC"}, {2, "wrong slave id 9"}, {3, "cut frame"}, {4, "reply"}}));
    const Outcome text = drvctl({"scan", "--ids", "1", "--timeout", "50", "--fault", "1:bad-crc"});
    ASSERT_EQ(text.exitCode, 0) << text.err;
    EXPECT_TRUE(text.lines().value(1).endsWith(QStringLiteral("  garbled: bad CRC"))) << text.out;
    EXPECT_TRUE(text.lines().value(2).startsWith(QStringLiteral("1 answered (1 garbled), 1 of 1 probe(s) in "))) << text.out;
}

TEST(DrvctlLine, AFileThatCannotBeWrittenIsAnError)
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
