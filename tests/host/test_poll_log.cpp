// Poll logs: the CSV's columns as a spreadsheet reads them, read back for a
// chart, and the chart drawn from them.
#include "parameters/csv_log.h"
#include "parameters/trend_chart.h"

#include <QFile>
#include <QImage>
#include <QTemporaryDir>
#include <cmath>
#include "fake_parameter_line.h"

#include <gtest/gtest.h>

namespace {

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QDateTime at(int ms)
{
    return QDateTime(QDate(2024, 5, 6), QTime(10, 0, 0)).addMSecs(ms);
}

TEST(PollLog, WritesATimeColumnAColumnPerReadAndTheErrorsLast)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("log.csv"));
    CsvLogWriter log;
    QString error;
    ASSERT_TRUE(log.open(path, {QStringLiteral("st.motor_speed"), QStringLiteral("HR1301"), QStringLiteral("torque")},
                         {QStringLiteral("rpm"), QString(), QStringLiteral("%")}, &error));
    // Each row is in the file once written: a poll ended by Ctrl-C keeps it.
    EXPECT_EQ(contentOf(path), QByteArray("time,st.motor_speed (rpm),HR1301,torque (%),error\n"));
    ASSERT_TRUE(log.writeRow(at(0), {QStringLiteral("30"), QStringLiteral("1"), QStringLiteral("-2.5")}, QString(), &error));
    ASSERT_TRUE(log.writeRow(at(500), {QStringLiteral("60"), QString(), QString()},
                             QStringLiteral("HR1301: PLC no response (read 1 word(s) from 1-HR1301); torque: CRC error, \"late\""), &error));
    EXPECT_EQ(contentOf(path),
              QByteArray("time,st.motor_speed (rpm),HR1301,torque (%),error\n"
                         "2024-05-06T10:00:00.000,30,1,-2.5,\n"
                         "2024-05-06T10:00:00.500,60,,,\"HR1301: PLC no response (read 1 word(s) from 1-HR1301); torque: CRC error, \"\"late\"\"\"\n"));

    TrendLog trend;
    ASSERT_TRUE(readCsvLog(path, &trend, &error)) << error.toStdString();
    EXPECT_EQ(trend.labels, (QStringList{"st.motor_speed", "HR1301", "torque"}));
    EXPECT_EQ(trend.units, (QStringList{"rpm", "", "%"}));
    ASSERT_EQ(trend.times.size(), 2);
    EXPECT_EQ(trend.times[1], at(500));
    EXPECT_EQ(trend.values[0], (QVector<double>{30, 60}));
    EXPECT_EQ(trend.values[2][0], -2.5);
    EXPECT_TRUE(std::isnan(trend.values[1][1]));
    EXPECT_EQ(trend.errors[1], QStringLiteral("HR1301: PLC no response (read 1 word(s) from 1-HR1301); torque: CRC error, \"late\""));
}

TEST(PollLog, RefusesFilesThatAreNoPollLog)
{
    QTemporaryDir dir;
    const struct {
        QByteArray content;
        const char* error; // after the path
    } cases[] = {
        {"", ": empty, not a poll log"},
        {"a,b\n1,2\n", ":1:1: not a poll log (the header is time,COLUMN...,error)"},
        {"time,x,error\nyesterday,1,\n", ":2:1: not a row of this log (a time, 1 value(s) and an error)"},
        {"time,x,error\n2024-05-06T10:00:00.000,1\n", ":2:1: not a row of this log (a time, 1 value(s) and an error)"},
    };
    for (const auto& c : cases) {
        const QString path = dir.filePath(QStringLiteral("bad.csv"));
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(c.content);
        file.close();
        TrendLog trend;
        QString error;
        EXPECT_FALSE(readCsvLog(path, &trend, &error));
        EXPECT_EQ(error, path + QLatin1String(c.error));
    }
}

TrendLog sampleLog()
{
    TrendLog log;
    log.labels = QStringList{"st.motor_speed", "sn.speed_limit", "st.torque"};
    log.units = QStringList{"rpm", "rpm", "%"};
    log.values.resize(3);
    for (int row = 0; row < 40; ++row) {
        log.times << at(row * 250);
        const bool failed = row == 20;
        log.values[0] << (failed ? NAN : 30.0 * row);
        log.values[1] << 1500.0;
        log.values[2] << (failed ? NAN : (row < 30 ? 35.0 : -20.0));
        log.errors << (failed ? QStringLiteral("st.motor_speed: PLC no response") : QString());
    }
    return log;
}

TEST(TrendChart, DrawsAPanelPerUnitWithLegendAxisLabelsAndFailures)
{
    QTemporaryDir dir;
    QString error;
    const QString svg = dir.filePath(QStringLiteral("chart.svg"));
    ASSERT_TRUE(renderTrendChart(sampleLog(), QStringLiteral("log.csv"), svg, &error)) << error.toStdString();
    const QByteArray text = contentOf(svg);
    for (const char* expected : {"st.motor_speed", "sn.speed_limit", "st.torque", ">rpm<", ">%<", ">time<", "failed read", "10:00:04"})
        EXPECT_TRUE(text.contains(expected)) << expected;

    const QString png = dir.filePath(QStringLiteral("chart.png"));
    ASSERT_TRUE(renderTrendChart(sampleLog(), QStringLiteral("log.csv"), png, &error)) << error.toStdString();
    const QImage image(png);
    ASSERT_FALSE(image.isNull());
    EXPECT_EQ(image.width(), 1200);
    EXPECT_GT(image.height(), 2 * 250); // two units, two panels
    // The first series' colour and the failure red are both on the image.
    bool blue = false, red = false;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) {
            const QRgb pixel = image.pixel(x, y);
            blue = blue || pixel == qRgb(0x1f, 0x77, 0xb4);
            red = red || pixel == qRgb(0xd6, 0x27, 0x28);
        }
    EXPECT_TRUE(blue);
    EXPECT_TRUE(red);
    EXPECT_FALSE(renderTrendChart(sampleLog(), QString(), dir.filePath(QStringLiteral("no/such/dir/c.png")), &error));
    EXPECT_EQ(error, dir.filePath(QStringLiteral("no/such/dir/c.png")) + QStringLiteral(": cannot write the chart"));
}

} // namespace
