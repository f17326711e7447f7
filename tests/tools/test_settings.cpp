// Port and driver settings records: index rules, stream form and dumps.
#include <QDataStream>
#include <functional>
#include <gtest/gtest.h>

#include "tools/device_setting.h"
#include "tools/driver_setting.h"
#include "tools_test_support.h"

namespace {

DeviceSetting freshPort() { return DeviceSetting(SerialDevice, QStringLiteral("COM2"), 9600, 8, 0, 2); }

// 10.0.0.1:502, 10.0.0.2:503 and 10.0.0.3:504, the second one current.
DeviceSetting threeEndpoints()
{
    DeviceSetting setting = freshPort();
    setting.socketData = {{"10.0.0.1", 502}, {"10.0.0.2", 503}, {"10.0.0.3", 504}};
    setting.setCurrentIPIndex(1);
    return setting;
}

std::string endpointsOf(const DeviceSetting& setting)
{
    QString text;
    for (const DeviceSetting::Endpoint& entry : setting.socketData)
        text += QStringLiteral("%1:%2 ").arg(entry.first).arg(entry.second);
    return text.trimmed().toStdString();
}

template <typename Record> QByteArray streamed(const Record& record)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out << record;
    return bytes;
}

template <typename Record> QDataStream::Status readInto(QByteArray bytes, Record& record)
{
    QDataStream in(&bytes, QIODevice::ReadOnly);
    in >> record;
    return in.status();
}

QStringList messages;

QString dumpOf(const std::function<void()>& dump)
{
    messages.clear();
    const QtMessageHandler previous =
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& m) { messages.append(m); });
    dump();
    qInstallMessageHandler(previous);
    return messages.join(QLatin1Char('|'));
}

} // namespace

TEST(DeviceSetting, IndexRules)
{
    using S = DeviceSetting&;
    const char* const same = "10.0.0.1:502 10.0.0.2:503 10.0.0.3:504";
    const struct { const char* name; bool empty; std::function<void(S)> change; int current; const char* list; } cases[] = {
        {"empty list, setPort -1 and 0", true, [](S s) { s.setPort(502, -1), s.setPort(502, 0); }, 0, ""},
        {"empty list, setSocketIP -1", true, [](S s) { s.setSocketIP("1.1.1.1", -1); }, 0, ""},
        {"current index 3 and -1 refused", false, [](S s) { s.setCurrentIPIndex(3), s.setCurrentIPIndex(-1); }, 1, same},
        {"current index 2, then port of -1", false, [](S s) { s.setCurrentIPIndex(2), s.setPort(600, -1); }, 2,
         "10.0.0.1:502 10.0.0.2:503 10.0.0.3:600"},
        {"socketIP of -1 keeps the port", false, [](S s) { s.setSocketIP("h", -1); }, 1, "10.0.0.1:502 h:503 10.0.0.3:504"},
        {"setPort 3, 5 and -2", false, [](S s) { s.setPort(7, 3), s.setPort(7, 5), s.setPort(7, -2); }, 1, same},
        {"setSocketIP 3 and -2", false, [](S s) { s.setSocketIP("h", 3), s.setSocketIP("h", -2); }, 1, same},
    };
    for (const auto& c : cases) {
        DeviceSetting setting = c.empty ? freshPort() : threeEndpoints();
        c.change(setting);
        EXPECT_EQ(setting.currentIPIndex, c.current) << c.name;
        EXPECT_EQ(endpointsOf(setting), c.list) << c.name;
    }
    EXPECT_EQ(freshPort().port(-1), 0);
    EXPECT_TRUE(freshPort().socketIP(-1).isNull());
    EXPECT_EQ(threeEndpoints().port(-1), 503);
    EXPECT_EQ(threeEndpoints().port(7), 0);
    EXPECT_TRUE(threeEndpoints().socketIP(-2).isNull());
}

TEST(DeviceSetting, SocketDataReadsDecimalPortsAndLeavesTheIndex)
{
    DeviceSetting setting = threeEndpoints();
    setting.setCurrentIPIndex(2);
    setting.setSocketData({{"a", "502"}, {"b", "70000"}});
    EXPECT_EQ(setting.currentIPIndex, 2);
    setting.setPort(9, -1); // the index names no entry now: nothing to change
    EXPECT_EQ(endpointsOf(setting), "a:502 b:0");
    EXPECT_TRUE(setting.socketIP(-1).isNull());
}

TEST(DriverSetting, SixArgumentsKeepNoTextAndCopyKeepsTheFlag)
{
    EXPECT_TRUE(DriverSetting(100, 2, 7, 5, QStringLiteral("text"), 502).extraString.isEmpty());
    DriverSetting target(1, 1, 1, 1, QString(), 0, QStringLiteral("mine"), true);
    target.copy(DriverSetting(900, 5, 12, 40, QString(), 0, QStringLiteral("theirs"), false));
    EXPECT_EQ(hexOf(streamed(target)), hexOf(streamed(DriverSetting(900, 5, 12, 40))));
    EXPECT_EQ(target.extraString, QStringLiteral("theirs"));
    EXPECT_TRUE(target.extraFlag);
}

TEST(SettingsStream, DefaultRecordsByteExact)
{
    EXPECT_EQ(hexOf(streamed(DriverSetting(500, 3, 1, 0))), "000001f4" "00000003" "00000001" "00000000");
    EXPECT_EQ(hexOf(streamed(freshPort())), "00000010" "00000008" "0043004f004d0032" "00002580" "00000008"
                                            "00000000" "00000002" "00000000" "ffffffff" "00000000" "00000000");
}

TEST(SettingsStream, PortRecordRoundTripKeepsEveryCarriedField)
{
    DeviceSetting original(static_cast<device_type>(32), "ttyUSB0", 19200, 7, 2, 1, 99, "not carried");
    original.linkID = 12;
    original.socketData = {{"10.0.0.1", 502}, {QString(), 0}, {"h", 65535}};
    original.setCurrentIPIndex(2);
    DeviceSetting copy = freshPort();
    copy.extraString = QStringLiteral("kept");
    const QByteArray bytes = streamed(original);
    EXPECT_EQ(readInto(bytes, copy), QDataStream::Ok);
    EXPECT_EQ(hexOf(streamed(copy)), hexOf(bytes));
    EXPECT_EQ(copy.extraString, QStringLiteral("kept"));
    original.currentIPIndex = 5; // names no entry of the list read back
    copy = freshPort();
    readInto(streamed(original), copy);
    EXPECT_EQ(copy.socketData.size(), 3);
    EXPECT_EQ(copy.currentIPIndex, 0);
}

TEST(SettingsStream, ShortAndHostileStreams)
{
    DriverSetting driver(7, 7, 7, 7);
    EXPECT_EQ(readInto(hex("000001f400000003"), driver), QDataStream::ReadPastEnd);
    EXPECT_EQ(hexOf(streamed(driver)), hexOf(streamed(DriverSetting(500, 3, 0, 0))));

    const QByteArray full = streamed(threeEndpoints());
    for (int length = 0; length < full.size(); ++length) {
        DeviceSetting copy = threeEndpoints();
        const QDataStream::Status status = readInto(full.left(length), copy);
        // A cut right after a whole entry ends the list cleanly at that entry.
        EXPECT_TRUE(status == QDataStream::ReadPastEnd || copy.socketData.size() < 3) << "length " << length;
    }
    // A count of four billion followed by nothing, then by one entry.
    const QByteArray hostile = full.left(44) + hex("ffffffff");
    DeviceSetting copy = freshPort();
    EXPECT_EQ(readInto(hostile, copy), QDataStream::ReadPastEnd);
    EXPECT_LE(copy.socketData.size(), 1);
    readInto(hostile + full.mid(48, 4 + 16 + 2), copy);
    EXPECT_EQ(endpointsOf(copy), "10.0.0.1:502");
}

TEST(SettingsDump, BothRecordsPrintTheirFields)
{
    EXPECT_EQ(dumpOf([] { freshPort().dump(); }),
              QStringLiteral("type: 16 string: \"COM2\" baudrate: 9600 databits: 8 stopbits: 0 parity: 2 "
                             "linkID: -1 current ip: \"\" current port: 0 "));
    EXPECT_TRUE(dumpOf([] { threeEndpoints().dump(); }).endsWith("current ip: \"10.0.0.2\" current port: 503 "));
    EXPECT_EQ(dumpOf([] { DriverSetting(500, 3, 1, 0).dump(); }), "timeout: 500 retry: 3 stationid: 1 delay: 0 ");
}
