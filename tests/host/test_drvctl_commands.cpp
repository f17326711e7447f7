// scan and poll over the simulated line's pseudo-terminal, as a user runs them:
// what they find, their summaries, and Ctrl-C in the middle.
#include "drvctl_runner.h"

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QRegularExpression>
#include <set>

namespace {

using StationSet = std::set<int>;

StationSet stationsIn(const QJsonArray& found)
{
    StationSet ids;
    for (const QJsonValue& entry : found)
        ids.insert(entry.toObject().value(QStringLiteral("station")).toInt());
    return ids;
}

TEST(DrvctlScan, FindsTheSimulatedServosAtTheLinesSettingsOnly)
{
    const Outcome run = drvctl({"scan", "--ids", "1-4", "--lines", "--timeout", "20", "--json", "--instant"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const QJsonObject result = run.json(0);
    EXPECT_EQ(result.value(QStringLiteral("probed")).toInt(), 4 * 30);
    const QJsonArray found = result.value(QStringLiteral("found")).toArray();
    EXPECT_EQ(stationsIn(found), StationSet({1, 2, 3}));
    // 9600 baud and 2 stop bits, the driver's default line (a pty keeps no parity,
    // so the three parities answer alike).
    for (const QJsonValue& entry : found)
        EXPECT_TRUE(QRegularExpression(QStringLiteral("^RS485,9600,(NONE|EVEN|ODD),8,2$"))
                        .match(entry.toObject().value(QStringLiteral("line")).toString())
                        .hasMatch())
            << entry.toObject().value(QStringLiteral("line")).toString().toStdString();
    EXPECT_EQ(found.size(), 9);
}

TEST(DrvctlScan, ReportsExceptionsAsAnswersAndExitsOneWhenNothingAnswers)
{
    const Outcome run = drvctl({"scan", "--ids", "1-4", "--timeout", "150", "--instant", "--fault", "2:exception=1:2",
                                "--fault", "3:silent"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const QStringList lines = run.lines();
    ASSERT_EQ(lines.size(), 4) << run.out;
    EXPECT_EQ(lines[0], "station  line                  round trip  answer");
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^      1  RS485,9600,NONE,8,2  +\\d+\\.\\d ms  HR1 = 0$")).match(lines[1]).hasMatch()) << lines[1].toStdString();
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^      2  RS485,9600,NONE,8,2  +\\d+\\.\\d ms  exception 0x02$")).match(lines[2]).hasMatch()) << lines[2].toStdString();
    EXPECT_TRUE(lines[3].startsWith(QStringLiteral("2 answered, 4 of 4 probe(s) in "))) << lines[3].toStdString();

    const Outcome none = drvctl({"scan", "--ids", "5-6", "--timeout", "20", "--json"});
    EXPECT_EQ(none.exitCode, 1);
    const QJsonObject result = none.json(0);
    EXPECT_EQ(result.value(QStringLiteral("ok")), false);
    EXPECT_EQ(result.value(QStringLiteral("exit")), 1);
    EXPECT_EQ(result.value(QStringLiteral("probed")), 2);
    EXPECT_TRUE(result.value(QStringLiteral("found")).toArray().isEmpty());
}

TEST(DrvctlScan, CtrlCPrintsWhatWasFoundSoFar)
{
    QProcess process;
    // Stations 1..3 answer at once; the other 244 ids take 200 ms each.
    startDrvctl(&process, {"scan", "--timeout", "200", "--json", "--stations", "1,2,3"});
    ASSERT_TRUE(process.waitForStarted());
    ASSERT_FALSE(process.waitForFinished(600)); // still scanning, past station 3
    ASSERT_TRUE(interrupt(&process));
    const Outcome run = finish(&process);
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const QJsonObject result = run.json(0);
    EXPECT_EQ(result.value(QStringLiteral("interrupted")), true);
    EXPECT_EQ(stationsIn(result.value(QStringLiteral("found")).toArray()), StationSet({1, 2, 3}));
    EXPECT_LT(result.value(QStringLiteral("probed")).toInt(), 247);
}

TEST(DrvctlPoll, ShowsFailuresInPlaceAndSumsUpAfterCountRounds)
{
    const Outcome run = drvctl({"poll", "HR1300", "DO5", "--count", "3", "--interval", "10", "--retry", "0",
                                "--fault", "1:exception=5"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const QStringList lines = run.lines();
    ASSERT_EQ(lines.size(), 7) << run.out;
    for (int round = 0; round < 3; ++round)
        EXPECT_TRUE(QRegularExpression(QStringLiteral("^\\d\\d:\\d\\d:\\d\\d\\.\\d{3}  HR1300=0  "
                                                      "DO5=\\(exception code:0x04 \\(read 1 bit\\(s\\) from 1-DO5\\)\\)$"))
                        .match(lines[round])
                        .hasMatch())
            << lines[round].toStdString();
    EXPECT_EQ(lines.mid(3, 3), QStringList({"--- 3 round(s) of HR1300 DO5 ---", "HR1300: 3 read(s), 0 failed",
                                            "DO5: 3 read(s), 3 failed"}));
    const QRegularExpressionMatch times =
        QRegularExpression(QStringLiteral("^round trip min/avg/max/p99 = ([\\d.]+)/([\\d.]+)/([\\d.]+)/([\\d.]+) ms$"))
            .match(lines[6]);
    ASSERT_TRUE(times.hasMatch()) << lines[6].toStdString();
    EXPECT_LE(times.captured(1).toDouble(), times.captured(2).toDouble());
    EXPECT_LE(times.captured(2).toDouble(), times.captured(3).toDouble());
    EXPECT_EQ(times.captured(4), times.captured(3)); // 3 samples: the 99th percentile is the largest

    const Outcome failing = drvctl({"poll", "HR1", "--count", "2", "--interval", "10", "--retry", "0",
                                    "--timeout", "20", "--fault", "silent", "--json"});
    EXPECT_EQ(failing.exitCode, 1); // no read at all succeeded
    const QJsonObject summary = failing.json(2);
    EXPECT_EQ(summary.value(QStringLiteral("rounds")), 2);
    EXPECT_EQ(summary.value(QStringLiteral("failures")).toObject().value(QStringLiteral("HR1")), 2);
    EXPECT_FALSE(summary.contains(QStringLiteral("roundTripMs")));
}

TEST(DrvctlPoll, CtrlCEndsWithTheSummary)
{
    QProcess process;
    startDrvctl(&process, {"poll", "HR1301", "--motion", "--interval", "50", "--json"});
    ASSERT_TRUE(interruptAfterFirstLine(&process));
    const Outcome run = finish(&process);
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const QStringList lines = run.lines();
    ASSERT_GE(lines.size(), 2);
    const QJsonObject summary = run.json(lines.size() - 1);
    EXPECT_EQ(summary.value(QStringLiteral("interrupted")), true);
    EXPECT_EQ(summary.value(QStringLiteral("rounds")).toInt(), lines.size() - 1);
    const QJsonObject times = summary.value(QStringLiteral("roundTripMs")).toObject();
    EXPECT_GT(times.value(QStringLiteral("min")).toDouble(), 0.0);
    EXPECT_LE(times.value(QStringLiteral("max")).toDouble(), 1000.0);
}

} // namespace
