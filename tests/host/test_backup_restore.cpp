// Backup, restore and compare against a fake servo: the exact reads of a
// backup for a map with gaps, tables and bits; restore's writes, read-back and
// refusal of a set from another map; what diff shows.
#include "fake_parameter_line.h"
#include "parameters/parameter_transfer.h"
#include "parameters/set_diff.h"

#include <QJsonArray>
#include <gtest/gtest.h>

namespace {

RegisterMap mapOf(const QByteArray& rows)
{
    RegisterMap map;
    QStringList faults;
    EXPECT_TRUE(parseRegisterMap("name,address,type,scale,unit,access\n" + rows, QStringLiteral("servo.csv"), &map, &faults))
        << faults.join(QLatin1Char('\n')).toStdString();
    return map;
}

// Gaps (HR3, HR10), HR and FN6HR in one table, a bit beside a named register,
// a 32-bit pair, input registers, coils and inputs.
const QByteArray MixedMap = "a,HR1,uint16,1,rpm,rw\n"
                            "b,HR2,int16,0.1,ms,rw\n"
                            "c,FN6HR4,uint16,1,,rw\n"
                            "d,HR5SW,int32,1,pulse,rw\n"
                            "e,HR7.3,bool,,,rw\n"
                            "f,HR7.0,bool,,,rw\n"
                            "g,HR8,uint16,1,,r\n"
                            "h,HR11,uint16,1,,rw\n"
                            "i,IR4,int16,1,%,r\n"
                            "j,IR5,uint16,1,,r\n"
                            "k,DO33,bool,,,rw\n"
                            "l,DO35,bool,,,rw\n"
                            "m,DI1,bool,,,r\n";

std::vector<const Parameter*> all(const RegisterMap& map)
{
    std::vector<const Parameter*> list;
    for (const Parameter& p : map.parameters)
        list.push_back(&p);
    return list;
}

TEST(BackupPlan, ReadsNamedRunsOfEachTableAndNothingBetween)
{
    const RegisterMap map = mapOf(MixedMap);
    FakeParameterLine line;
    QVector<SetEntry> entries;
    QString error;
    int reads = 0;
    ASSERT_TRUE(readParameterSet(line, all(map), &entries, &error, Progress(), &reads)) << error.toStdString();
    EXPECT_EQ(line.requests, (QStringList{"read HR1 x2", "read HR4 x5", "read HR11 x1", "read IR4 x2", "bits DO33 x1",
                                          "bits DO35 x1", "bits DI1 x1"}));
    EXPECT_EQ(reads, 7);
    EXPECT_EQ(entries.size(), 13);
}

TEST(BackupPlan, SplitsRunsAtTheModbusQuantityLimits)
{
    QByteArray rows;
    for (int k = 1; k <= 251; ++k)
        rows += QStringLiteral("r%1,HR%1,uint16,1,,rw\n").arg(k).toLatin1();
    for (int k = 1; k <= 2001; ++k)
        rows += QStringLiteral("c%1,DO%1,bool,,,rw\n").arg(k).toLatin1();
    const RegisterMap map = mapOf(rows);
    std::vector<BlockRead> plan;
    QString error;
    ASSERT_TRUE(planBackup(all(map), &plan, &error)) << error.toStdString();
    const std::vector<BlockRead> expected{{Area::HR, 1, 125}, {Area::HR, 126, 125}, {Area::HR, 251, 1},
                                          {Area::DO, 1, 2000}, {Area::DO, 2001, 1}};
    EXPECT_TRUE(plan == expected);
}

TEST(Backup, RecordsMapStationRawAndScaledValues)
{
    const RegisterMap map = mapOf(MixedMap);
    FakeParameterLine line;
    line.cells = {{"HR1", 3000}, {"HR2", 0xFF83}, {"HR5", 0xFFFF}, {"HR6", 0xF830}, {"HR7", 0x0009}, {"DO35", 1}};
    ParameterSet set;
    QString error;
    QList<int> progress;
    ASSERT_TRUE(backupParameters(line, map, 2, &set, &error, [&](int done, int total) { progress << done * 100 + total; }));
    EXPECT_EQ(progress, (QList<int>{107, 207, 307, 407, 507, 607, 707}));
    EXPECT_EQ(set.mapName, QStringLiteral("servo.csv"));
    EXPECT_EQ(set.mapChecksum, map.checksum);
    EXPECT_EQ(set.station, 2);
    ASSERT_EQ(set.entries.size(), 13);
    EXPECT_EQ(set.find(QStringLiteral("b"))->valueText(), QStringLiteral("-12.5 ms"));
    EXPECT_EQ(set.find(QStringLiteral("d"))->raw, (RawValues{0xFFFF, 0xF830}));
    EXPECT_EQ(set.find(QStringLiteral("d"))->valueText(), QStringLiteral("-2000 pulse"));
    EXPECT_EQ(set.find(QStringLiteral("e"))->value, 1);
    EXPECT_EQ(set.find(QStringLiteral("f"))->value, 1);
    EXPECT_EQ(set.find(QStringLiteral("l"))->value, 1);

    // Saved and read back: the same set.
    ParameterSet again;
    ASSERT_TRUE(parseParameterSet(parameterSetJson(set), QStringLiteral("s.json"), &again, &error)) << error.toStdString();
    EXPECT_EQ(compareSets(set, again, true).differences.size(), 0u);
    EXPECT_EQ(again.find(QStringLiteral("b"))->valueText(), QStringLiteral("-12.5 ms"));
}

TEST(Backup, StopsAtAFailedReadWithItsError)
{
    const RegisterMap map = mapOf(MixedMap);
    FakeParameterLine line;
    line.refusedAddress = QStringLiteral("HR8");
    ParameterSet set;
    QString error;
    EXPECT_FALSE(backupParameters(line, map, 1, &set, &error));
    EXPECT_EQ(error, QStringLiteral("exception 2 at HR8"));
    EXPECT_EQ(line.requests, (QStringList{"read HR1 x2", "read HR4 x5"}));
}

ParameterSet backupOf(FakeParameterLine& line, const RegisterMap& map)
{
    ParameterSet set;
    QString error;
    EXPECT_TRUE(backupParameters(line, map, 1, &set, &error)) << error.toStdString();
    return set;
}

TEST(Restore, WritesTheWritableParametersInMapOrderAndReadsThemBack)
{
    const RegisterMap map = mapOf(MixedMap);
    FakeParameterLine source;
    source.cells = {{"HR1", 3000}, {"HR2", 25}, {"HR4", 7}, {"HR5", 1}, {"HR6", 2}, {"HR7", 0x0008},
                    {"HR8", 99}, {"HR11", 5}, {"IR4", 4}, {"DO33", 1}};
    const ParameterSet set = backupOf(source, map);

    FakeParameterLine target;
    target.cells = {{"HR7", 0x0101}};
    std::vector<RestoreStep> steps;
    QStringList notes;
    QString error;
    ASSERT_TRUE(planRestore(map, set, false, &steps, &notes, &error)) << error.toStdString();
    int written = 0;
    ASSERT_TRUE(writeRestoreSteps(target, steps, &written, &error)) << error.toStdString();
    EXPECT_EQ(written, 9);
    EXPECT_EQ(target.requests, (QStringList{"write HR1 = 3000", "write HR2 = 25", "write FN6HR4 = 7", "write HR5 = 1 2",
                                            "bit HR7.3 = 1", "bit HR7.0 = 0", "write HR11 = 5", "bit DO33 = 1",
                                            "bit DO35 = 0"}));
    EXPECT_EQ(target.cells.value("HR7"), 0x0108); // bit 8 belongs to nobody and stays
    EXPECT_EQ(target.cells.value("HR8"), 0);      // read-only: not written
    EXPECT_EQ(restoreStepText(steps[1]), QStringLiteral("b = 2.5 ms (HR2, fn 16, raw 25)"));
    EXPECT_EQ(restoreStepText(steps[2]), QStringLiteral("c = 7 (FN6HR4, fn 6, raw 7)"));

    const ParameterSet back = backupOf(target, map);
    EXPECT_EQ(compareSets(set, back, false).differences.size(), 0u);
    const SetComparison all = compareSets(set, back, true);
    ASSERT_EQ(all.differences.size(), 2u); // g and i are read-only
    EXPECT_EQ(all.differences[0].name, QStringLiteral("g"));
    EXPECT_EQ(all.differences[1].name, QStringLiteral("i"));
}

TEST(Restore, ReadBackListsWhatTheServoDidNotTake)
{
    const RegisterMap map = mapOf("a,HR1,uint16,1,rpm,rw\nb,HR2,uint16,1,,rw\n");
    FakeParameterLine source;
    source.cells = {{"HR1", 3000}, {"HR2", 4}};
    const ParameterSet set = backupOf(source, map);
    FakeParameterLine target;
    target.refusedAddress = QStringLiteral("HR2");
    std::vector<RestoreStep> steps;
    QStringList notes;
    QString error;
    ASSERT_TRUE(planRestore(map, set, false, &steps, &notes, &error));
    int written = 0;
    EXPECT_FALSE(writeRestoreSteps(target, steps, &written, &error));
    EXPECT_EQ(written, 1);
    EXPECT_EQ(error, QStringLiteral("b: exception 2 at HR2"));
}

TEST(Restore, RefusesASetOfAnotherMapUnlessForced)
{
    const RegisterMap map = mapOf("a,HR1,uint16,1,rpm,rw\nb,HR2,uint16,0.1,ms,rw\nc,HR3,uint16,1,,rw\n");
    const RegisterMap other = mapOf("a,HR1,uint16,1,rpm,rw\nb,HR2,uint16,0.01,ms,rw\n");
    FakeParameterLine source;
    source.cells = {{"HR1", 3000}, {"HR2", 250}};
    const ParameterSet set = backupOf(source, other); // b = 2.50 ms
    std::vector<RestoreStep> steps;
    QStringList notes;
    QString error;
    EXPECT_FALSE(planRestore(map, set, false, &steps, &notes, &error));
    EXPECT_EQ(error, QStringLiteral("the set was made with another map (servo.csv, %1) than servo.csv (%2); --force restores it by name")
                         .arg(other.checksum.left(15), map.checksum.left(15)));
    ASSERT_TRUE(planRestore(map, set, true, &steps, &notes, &error)) << error.toStdString();
    ASSERT_EQ(steps.size(), 2u);
    EXPECT_EQ(steps[1].written, RawValues{25}); // 2.5 ms by this map's scale
    EXPECT_EQ(notes, QStringList{QStringLiteral("not in the set, left as it is: c")});

    // A value this map cannot hold refuses the restore before anything is written.
    source.cells = {{"HR1", 3000}, {"HR2", 255}}; // 2.55 ms: no multiple of 0.1
    EXPECT_FALSE(planRestore(map, backupOf(source, other), true, &steps, &notes, &error));
    EXPECT_EQ(error, QStringLiteral("cannot restore b by this map: b = 2.55 ms is no multiple of its scale 0.1"));
}

TEST(Diff, ShowsBothValuesWithUnitsByName)
{
    const RegisterMap map = mapOf("speed_limit,HR1,uint16,1,rpm,rw\naccel,HR2,uint16,0.1,s,rw\nspeed,HR3,int16,1,rpm,r\n");
    FakeParameterLine a, b;
    a.cells = {{"HR1", 3000}, {"HR2", 5}, {"HR3", 10}};
    b.cells = {{"HR1", 1500}, {"HR2", 5}, {"HR3", 20}};
    const ParameterSet left = backupOf(a, map), right = backupOf(b, map);
    EXPECT_EQ(comparisonText(compareSets(left, left, true), "a.json", "b.json"), QStringLiteral("no difference in 3 parameter(s)"));
    EXPECT_EQ(comparisonText(compareSets(left, right, false), "a.json", "station 2"),
              QStringLiteral("parameter    a.json    station 2\n"
                             "speed_limit  3000 rpm  1500 rpm\n"
                             "1 of 2 parameter(s) differ"));
    EXPECT_EQ(comparisonText(compareSets(left, right, true), "a.json", "b.json"),
              QStringLiteral("parameter    a.json    b.json\n"
                             "speed_limit  3000 rpm  1500 rpm\n"
                             "speed        10 rpm    20 rpm\n"
                             "2 of 3 parameter(s) differ"));
    ParameterSet shorter = right;
    shorter.entries.removeFirst();
    const QJsonObject json = comparisonJson(compareSets(left, shorter, false), "a.json", "b.json");
    EXPECT_EQ(json.value("same").toBool(), false);
    EXPECT_EQ(json.value("differences").toArray().at(0).toObject().value("right").isNull(), true);
    EXPECT_EQ(comparisonText(compareSets(left, shorter, false), "a.json", "b.json"),
              QStringLiteral("parameter    a.json    b.json\n"
                             "speed_limit  3000 rpm  (missing)\n"
                             "1 of 2 parameter(s) differ"));
}

} // namespace
