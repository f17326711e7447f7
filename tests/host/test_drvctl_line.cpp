// drvctl and the line itself, over real pseudo-terminals: one master on a line,
// the echo never taken for a reply, a line lost and back.
#include "drvctl_runner.h"
#include "host_test_support.h"
#include "port/device_lock.h"
#include "simulator/servo_line.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QTemporaryDir>
#include <map>
#include <thread>

namespace {

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
    const QString map = QStringLiteral(EXAMPLE_MAP_PATH);
    const struct {
        QStringList command;
        const char* before; // what the command says it had done
    } cases[] = {
        {{"read", "HR1"}, ""},
        {{"read", "cn.control_mode", "--map", map}, ""},
        {{"backup", "--map", map, "-o", "/dev/null"}, "backup of station 1 failed after 0 read(s): "},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.command.join(' ').toStdString());
        PtyPair pty;
        QProcess process;
        startDrvctl(&process, onDevice(pty.path(), c.command + QStringList{"--timeout", "5000"}));
        ASSERT_EQ(pty.take(8, 10000).size(), 8); // the request is on the line
        pty.hangUp();
        const Outcome run = finish(&process);
        EXPECT_EQ(run.exitCode, 3);
        EXPECT_EQ(run.err, std::string("drvctl: ") + c.before + "line lost: " + pty.path() + ": Input/output error\n");
    }
}

// A symbolic link stands for the adapter's stable name; the line behind it goes
// away and comes back as another pseudo-terminal.
class Replug {
public:
    Replug() : link(dir.filePath(QStringLiteral("ttyServo"))) {}
    // A new simulated line behind the link (its listen-only tap, for a monitor),
    // its station 1 holding `hr1` in HR1.
    bool plugIn(bool tap, uint16_t hr1 = 0)
    {
        line = std::make_unique<ServoLine>();
        line->setHoldingRegister(1, 0, hr1);
        if (!line->start())
            return false;
        const QString next = link + QStringLiteral(".next");
        QFile::remove(next);
        return QFile::link(QString::fromStdString(tap ? line->openTap() : line->devicePath()), next)
            && ::rename(qPrintable(next), qPrintable(link)) == 0;
    }
    // Unplugged, and left out long enough for a reopen or two to fail.
    void unplug()
    {
        line.reset();
        std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    }
    ServoLine& current() { return *line; }
    std::string path() const { return link.toStdString(); }

private:
    QTemporaryDir dir;
    QString link;
    std::unique_ptr<ServoLine> line;
};

TEST(DrvctlLine, PollSaysTheLineIsLostOnceAndGoesOnWhenItIsBack)
{
    Replug replug;
    ASSERT_TRUE(replug.plugIn(false));
    QProcess poll;
    startDrvctl(&poll, onDevice(replug.path(), {"poll", "HR1", "--interval", "50", "--json"}));
    ASSERT_TRUE(poll.waitForReadyRead(10000));
    replug.unplug();
    ASSERT_TRUE(replug.plugIn(false, 42));
    ASSERT_TRUE(eventually([&] { return replug.current().requestCount(1) >= 3; }));
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
    const auto driver = createDriver();
    ASSERT_TRUE(driver);
    QProcess monitor;
    QByteArray out;
    // Drives the line behind the link until the monitor has printed a transaction
    // it heard there.
    const auto heard = [&] {
        SerialPort master(portOptions(replug.current().devicePath(), 200));
        if (!master.open())
            return false;
        driver->initialize(&master);
        out.clear();
        return eventually([&] {
            driver->read(&master, CommunicatorCommand(Word, 1, QStringLiteral("HR1")));
            monitor.waitForReadyRead(100);
            out += monitor.readAllStandardOutput();
            return out.contains("station 1");
        });
    };
    ASSERT_TRUE(replug.plugIn(true));
    startDrvctl(&monitor, onDevice(replug.path(), {"monitor"}));
    ASSERT_TRUE(heard()) << out.toStdString();
    replug.unplug();
    ASSERT_TRUE(replug.plugIn(true));
    ASSERT_TRUE(heard()) << out.toStdString();
    ASSERT_TRUE(interrupt(&monitor));
    const Outcome run = finish(&monitor);
    EXPECT_EQ(run.exitCode, 0) << run.err;
    const std::string err = run.err;
    EXPECT_EQ(err.find("drvctl: line lost: " + replug.path() + ": "), 0u) << err;
    EXPECT_NE(err.find("drvctl: line back: " + replug.path() + " after "), std::string::npos) << err;
    EXPECT_NE((out.toStdString() + run.out).find(", line lost 1 time(s), "), std::string::npos) << run.out;
}

} // namespace
