// drvctl with a register map against the simulated servo line: parameters by
// name, backup, restore and diff as a user runs them, with what reaches the wire.
#include "drvctl_runner.h"
#include "simulator/servo_line.h"

#include <QFile>
#include <QJsonArray>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

const QString Map = QStringLiteral(EXAMPLE_MAP_PATH);

class DrvctlParameters : public ::testing::Test {
protected:
    void SetUp() override
    {
        std::string error;
        line.setInstant(true); // whole parameter sets, read and written
        ASSERT_TRUE(line.start(&error)) << error;
        device = QString::fromStdString(line.devicePath());
    }
    Outcome run(QStringList arguments, int station = 1)
    {
        // Options right after the command, before any "--".
        const QStringList options{"--map", Map, "--device", device, "--station", QString::number(station)};
        for (int i = 0; i < options.size(); ++i)
            arguments.insert(1 + i, options[i]);
        return drvctl(arguments);
    }
    QString file(const char* name) const { return dir.filePath(QLatin1String(name)); }
    // Function code and start register of every request since the last clear.
    QStringList heard() const
    {
        QStringList requests;
        for (const std::vector<uint8_t>& r : line.requests())
            requests << QStringLiteral("%1:fn%2@%3").arg(r[0]).arg(r[1]).arg(r[2] << 8 | r[3]);
        return requests;
    }

    ServoLine line;
    QString device;
    QTemporaryDir dir;
};

TEST_F(DrvctlParameters, ReadsAndWritesByNameInEngineeringUnits)
{
    Outcome o = run({"read", "sn.speed_limit"});
    EXPECT_EQ(o.exitCode, 0) << o.err;
    EXPECT_EQ(o.out, "sn.speed_limit = 3000 rpm\n");
    o = run({"write", "sn.speed_i_time", "12.5"});
    EXPECT_EQ(o.out, "sn.speed_i_time = 12.5 ms written\n");
    EXPECT_EQ(line.holdingRegister(1, 517), 125);
    o = run({"write", "pn.home_offset", "--", "-70000"});
    EXPECT_EQ(o.exitCode, 0) << o.err;
    EXPECT_EQ(line.holdingRegister(1, 1032), 0xFFFE); // SW: high word first
    EXPECT_EQ(line.holdingRegister(1, 1033), 0xEE90);
    o = run({"read", "pn.home_offset", "--json"});
    const QJsonObject json = o.json(0);
    EXPECT_EQ(json.value("name").toString(), "pn.home_offset");
    EXPECT_EQ(json.value("value").toDouble(), -70000);
    EXPECT_EQ(json.value("unit").toString(), "pulse");
    EXPECT_EQ(json.value("raw").toArray(), (QJsonArray{0xFFFE, 0xEE90}));
    // Plain addresses still go beside names.
    o = run({"read", "HR513"});
    EXPECT_EQ(o.out, "HR513 word[1]: 3000\n");
}

TEST_F(DrvctlParameters, RefusesOutOfRangeAndReadOnlyWritesBeforeTheLine)
{
    line.clearRequests();
    const struct {
        QStringList arguments;
        std::string error;
    } cases[] = {
        {{"write", "sn.speed_limit", "70000"}, "drvctl: sn.speed_limit = 70000 rpm is outside what its uint16 holds: 0 to 65535 rpm\n"},
        {{"write", "st.motor_speed", "5"}, "drvctl: st.motor_speed is read-only (access r in teco_servo.csv)\n"},
        {{"write", "tn.torque_filter", "0.555"}, "drvctl: tn.torque_filter = 0.555 ms is no multiple of its scale 0.01\n"},
        // Addresses beside the map's names are refused as without a map.
        {{"write", "IR5", "1"}, "drvctl: IR5 is read-only (IR and DI cannot be written)\n"},
        {{"read", "HR59999", "--type", "dword"},
         "drvctl: HR59999 with 1 dword(s) runs into HR60000: HR60000..HR60010 are the driver's own registers, not the "
         "servo's; read up to HR59999 and from HR60000 in two commands\n"},
        {{"write", "HR60001", "0"},
         "drvctl: HR60001 holds a station of the driver's list: 1 to 247, not 0 (0 is broadcast, which no servo answers)\n"},
        {{"read", "sn.speed"},
         "drvctl: sn.speed is no parameter of teco_servo.csv, nor an address: bad address: sn.speed (area letters and a "
         "number, e.g. HR100, DO5, HR100.3, HR200SW)\n"},
    };
    for (const auto& c : cases) {
        const Outcome o = run(c.arguments);
        EXPECT_EQ(o.exitCode, 2);
        EXPECT_EQ(o.err.substr(0, o.err.find('\n') + 1), c.error);
    }
    EXPECT_EQ(line.requestCount(1), 0);
}

TEST_F(DrvctlParameters, RefusesABadMapWithEveryFault)
{
    QFile bad(file("bad.csv"));
    ASSERT_TRUE(bad.open(QIODevice::WriteOnly));
    bad.write("name,address,type,access\nspeed,HR5,int64,rw\nspeed,DO5.1,bool,rw\n");
    bad.close();
    const Outcome o = drvctl({"read", "speed", "--map", bad.fileName(), "--device", device});
    EXPECT_EQ(o.exitCode, 2);
    EXPECT_EQ(QString::fromStdString(o.err),
              bad.fileName() + ":2:11: unknown type: 'int64' (int16, uint16, int32, uint32, float32 or bool)\n" + bad.fileName()
                  + ":3:7: bad address: DO5.1 (DO, DI and FN5DO are bits already; a .bit is for the registers of HR, IR "
                    "and FN6HR)\n" + bad.fileName()
                  + ":3:1: duplicate name: speed (first on line 2)\ndrvctl: the map " + bad.fileName()
                  + " has 3 fault(s); nothing was done\n");
    EXPECT_EQ(line.requestCount(1), 0);
}

TEST_F(DrvctlParameters, BackupRestoreAndDiffBetweenTwoServos)
{
    line.setHoldingRegister(1, 512, 2500); // sn.speed_limit
    line.clearRequests();
    Outcome o = run({"backup", "-o", file("s1.json")});
    ASSERT_EQ(o.exitCode, 0) << o.err;
    // The fewest reads the map allows: named runs, never an unnamed register between.
    EXPECT_EQ(heard(), (QStringList{"1:fn3@256", "1:fn3@263", "1:fn3@265", "1:fn3@512", "1:fn3@522", "1:fn3@768",
                                    "1:fn3@1024", "1:fn3@1299", "1:fn4@4096", "1:fn4@4103", "1:fn1@32", "1:fn2@32"}));

    o = run({"restore", file("s1.json"), "--dry-run"}, 2);
    EXPECT_EQ(o.exitCode, 0) << o.err;
    EXPECT_EQ(line.requestCount(2), 0);
    EXPECT_TRUE(QString::fromStdString(o.out).contains("would write sn.speed_limit = 2500 rpm (HR513, fn 16, raw 2500)"));
    EXPECT_TRUE(QString::fromStdString(o.out).contains("would write tn.torque_limit_fwd = 300 % (FN6HR769, fn 6, raw 300)"));

    o = run({"restore", file("s1.json")}, 2);
    EXPECT_EQ(o.exitCode, 0) << o.err;
    EXPECT_EQ(o.out, "34 parameter(s) written to station 2 in map order; read back: no difference in 34 parameter(s)\n");
    EXPECT_EQ(line.holdingRegister(2, 512), 2500);

    o = run({"diff", file("s1.json")}, 2);
    EXPECT_EQ(o.exitCode, 0) << o.err;
    EXPECT_EQ(o.out, "no difference in 34 parameter(s)\n");
    line.setHoldingRegister(2, 770, 80); // tn.torque_filter 0.80 ms
    o = run({"diff", file("s1.json")}, 2);
    EXPECT_EQ(o.exitCode, 1);
    EXPECT_EQ(o.out, "parameter         s1.json  station 2\ntn.torque_filter  0.50 ms  0.80 ms\n1 of 34 parameter(s) differ\n");
    o = run({"backup", "-o", file("s2.json")}, 2);
    o = drvctl({"diff", file("s1.json"), file("s2.json"), "--json"});
    EXPECT_EQ(o.exitCode, 1);
    EXPECT_EQ(o.json(0).value("differences").toArray().size(), 1);
}

TEST_F(DrvctlParameters, RestoreRefusesASetOfAnotherMapUnlessForced)
{
    ASSERT_EQ(run({"backup", "-o", file("s1.json")}).exitCode, 0);
    QFile original(Map), copy(file("edited.csv"));
    ASSERT_TRUE(original.open(QIODevice::ReadOnly) && copy.open(QIODevice::WriteOnly));
    copy.write(original.readAll() + "# edited\n");
    copy.close();
    line.clearRequests();
    Outcome o = drvctl({"restore", file("s1.json"), "--map", copy.fileName(), "--device", device, "--station", "2"});
    EXPECT_EQ(o.exitCode, 2);
    EXPECT_NE(o.err.find("the set was made with another map (teco_servo.csv, sha256:"), std::string::npos) << o.err;
    EXPECT_EQ(line.requestCount(2), 0);
    o = drvctl({"restore", file("s1.json"), "--map", copy.fileName(), "--device", device, "--station", "2", "--force"});
    EXPECT_EQ(o.exitCode, 0) << o.err;
}

TEST_F(DrvctlParameters, PollLogsAColumnPerNameWithUnits)
{
    const Outcome o = run({"poll", "sn.speed_limit", "HR1301", "--count", "2", "--interval", "10", "--csv", file("log.csv")});
    EXPECT_EQ(o.exitCode, 0) << o.err;
    QFile log(file("log.csv"));
    ASSERT_TRUE(log.open(QIODevice::ReadOnly));
    const QStringList rows = QString::fromUtf8(log.readAll()).split('\n', Qt::SkipEmptyParts);
    ASSERT_EQ(rows.size(), 3);
    EXPECT_EQ(rows[0], "time,sn.speed_limit (rpm),HR1301,error");
    EXPECT_TRUE(rows[1].endsWith(",3000,0,")) << rows[1].toStdString();
}

} // namespace
