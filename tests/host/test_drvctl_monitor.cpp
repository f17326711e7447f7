// drvctl monitor end to end: it watches the simulated line's tap while other
// drvctl runs drive the line, and what it decoded is compared with the frames
// those runs saved with --pcap.
#include "drvctl_runner.h"
#include "host_test_support.h"
#include "support/checked_process.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QJsonArray>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>

namespace {

// The records of a classic pcap file, in hex as the monitor prints frames.
QStringList pcapFrames(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray data = file.readAll();
    const auto u32 = [&data](int at) {
        return static_cast<quint32>(static_cast<unsigned char>(data[at])) | static_cast<quint32>(static_cast<unsigned char>(data[at + 1])) << 8
               | static_cast<quint32>(static_cast<unsigned char>(data[at + 2])) << 16 | static_cast<quint32>(static_cast<unsigned char>(data[at + 3])) << 24;
    };
    if (data.size() < 24 || u32(0) != 0xA1B2C3D4 || u32(20) != 147)
        return {QStringLiteral("not a pcap of link type 147")};
    QStringList frames;
    for (int at = 24; at + 16 <= data.size();) {
        const int length = static_cast<int>(u32(at + 8));
        frames << QString::fromLatin1(data.mid(at + 16, length).toHex(' ').toUpper());
        at += 16 + length;
    }
    return frames;
}

TEST(DrvctlMonitor, DecodesWhatOtherRunsSentAndGot)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    QProcess monitor;
    startDrvctl(&monitor, {"monitor", "--json", "--fault", "2:bad-crc", "--fault", "3:exception=5:2"});
    ASSERT_TRUE(monitor.waitForReadyRead(10000));
    const QString device = QJsonDocument::fromJson(monitor.readLine()).object().value(QStringLiteral("device")).toString();
    ASSERT_FALSE(device.isEmpty());

    const struct {
        QStringList command;
        int station, function;
        const char* operation;
        const char* address;
        QList<int> values;
        int exception;       // 0: none
        const char* problem; // "": none
    } runs[] = {
        {{"write", "HR100", "1234", "5678"}, 1, 16, "write", "HR100", {1234, 5678}, 0, ""},
        {{"read", "HR100", "--count", "2"}, 1, 3, "read", "HR100", {1234, 5678}, 0, ""},
        {{"write", "DO6", "1", "--station", "3"}, 3, 15, "write", "DO6", {1}, 0, ""},
        {{"read", "HR1", "--station", "2"}, 2, 3, "read", "HR1", {}, 0, "bad CRC"},
        {{"read", "HR5", "--station", "3"}, 3, 3, "read", "HR5", {}, 2, ""},
        {{"read", "IR7", "--station", "9"}, 9, 4, "read", "IR7", {}, 0, "no reply"},
    };
    QStringList frames;
    for (size_t i = 0; i < sizeof runs / sizeof runs[0]; ++i) {
        const QString pcap = dir.filePath(QStringLiteral("run%1.pcap").arg(i));
        const Outcome run = drvctl(runs[i].command + QStringList{"--device", device, "--retry", "0", "--timeout", "1000", "--pcap", pcap});
        EXPECT_EQ(run.exitCode, runs[i].exception == 0 && !*runs[i].problem ? 0 : 1) << run.err;
        frames << pcapFrames(pcap);
    }

    ASSERT_TRUE(interrupt(&monitor));
    const Outcome watched = finish(&monitor);
    ASSERT_EQ(watched.exitCode, 0) << watched.err;
    const int count = static_cast<int>(sizeof runs / sizeof runs[0]);
    ASSERT_EQ(watched.lines().size(), count + 1) << watched.out; // and the summary
    QStringList decodedFrames;
    for (int i = 0; i < count; ++i) {
        SCOPED_TRACE(runs[i].command.join(QLatin1Char(' ')).toStdString());
        const QJsonObject t = watched.json(i);
        EXPECT_EQ(t.value(QStringLiteral("station")), runs[i].station);
        EXPECT_EQ(t.value(QStringLiteral("function")), runs[i].function);
        EXPECT_EQ(t.value(QStringLiteral("operation")), QLatin1String(runs[i].operation));
        EXPECT_EQ(t.value(QStringLiteral("address")), QLatin1String(runs[i].address));
        QList<int> values;
        for (const QJsonValue& v : t.value(QStringLiteral("values")).toArray())
            values << v.toInt();
        EXPECT_EQ(values, runs[i].values);
        EXPECT_EQ(t.value(QStringLiteral("exception")).toInt(0), runs[i].exception);
        EXPECT_EQ(t.value(QStringLiteral("problem")).toString().toStdString(), runs[i].problem);
        decodedFrames << t.value(QStringLiteral("request")).toString();
        if (!t.value(QStringLiteral("reply")).toString().isEmpty())
            decodedFrames << t.value(QStringLiteral("reply")).toString();
    }
    // Byte for byte what the driving runs saw, request and reply.
    EXPECT_EQ(decodedFrames, frames);
    const QJsonObject summary = watched.json(count);
    EXPECT_EQ(summary.value(QStringLiteral("transactions")), count);
    EXPECT_EQ(summary.value(QStringLiteral("problems")), 2);
}

TEST(DrvctlPcap, TsharkReadsTheSavedFramesAsModbusRtu)
{
    if (tsharkPath().isEmpty())
        GTEST_SKIP() << "tshark is not installed";
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString pcap = dir.filePath(QStringLiteral("shell.pcap"));
    const Outcome run = drvctl({"shell", "--pcap", pcap}, "write HR100 7 8\nread HR100 --count 2\nread HR1 --station 9 --timeout 50 --retry 0\n");
    ASSERT_EQ(run.exitCode, 1) << run.err; // the last read has no answer

    const QString decoded = tsharkRead(pcap);
    ASSERT_FALSE(decoded.isEmpty());
    QStringList summaries;
    const QRegularExpression summary(QStringLiteral("(Query|Response): Unit: +(\\d+), Func: +(\\d+)"));
    for (const QString& line : decoded.split(QLatin1Char('\n'))) {
        const QRegularExpressionMatch m = summary.match(line);
        if (m.hasMatch())
            summaries << QStringLiteral("%1 %2 %3").arg(m.captured(1), m.captured(2), m.captured(3));
    }
    // One record per frame: each reply whole, though the driver reads it in two parts.
    EXPECT_EQ(summaries, QStringList({"Query 1 16", "Response 1 16", "Query 1 3", "Response 1 3", "Query 9 3"}));
}

} // namespace
