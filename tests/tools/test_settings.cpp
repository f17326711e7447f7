// Port and driver settings records: index rules, stream form and dumps.
#include <QDataStream>
#include <gtest/gtest.h>
#include "tools/device_setting.h"
#include "tools/driver_setting.h"
#include "tools_test_support.h"

namespace {
DeviceSetting freshPort() { return DeviceSetting(SerialDevice, QStringLiteral("COM2"), 9600, 8, 0, 2); }
DeviceSetting threeEndpoints() // the second one current
{
    DeviceSetting setting = freshPort();
    setting.socketData = {{"10.0.0.1", 502}, {"10.0.0.2", 503}, {"10.0.0.3", 504}};
    setting.setCurrentIPIndex(1);
    return setting;
}
std::string endpointsOf(const DeviceSetting& setting)
{
    QStringList entries;
    for (const DeviceSetting::Endpoint& entry : setting.socketData)
        entries << QStringLiteral("%1:%2").arg(entry.first).arg(entry.second);
    return entries.join(' ').toStdString();
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
QString dumpOf(void (*dump)())
{
    messages.clear();
    const auto previous =
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& m) { messages << m; });
    dump();
    qInstallMessageHandler(previous);
    return messages.join('|');
}
} // namespace

TEST(SettingsRecords, IndexRules)
{
    using S = DeviceSetting&;
    const char* const same = "10.0.0.1:502 10.0.0.2:503 10.0.0.3:504";
    const struct { const char* name; bool empty; void (*change)(S); int current; const char* list; } cases[] = {
        {"empty list, setPort -1 and 0", true, [](S s) { s.setPort(502, -1), s.setPort(502, 0); }, 0, ""},
        {"empty list, setSocketIP -1", true, [](S s) { s.setSocketIP("1.1.1.1", -1); }, 0, ""},
        {"current 3 and -1 refused", false, [](S s) { s.setCurrentIPIndex(3), s.setCurrentIPIndex(-1); }, 1, same},
        {"current 2, then port of -1", false, [](S s) { s.setCurrentIPIndex(2), s.setPort(600, -1); }, 2,
         "10.0.0.1:502 10.0.0.2:503 10.0.0.3:600"},
        {"IP of -1 keeps the port", false, [](S s) { s.setSocketIP("h", -1); }, 1, "10.0.0.1:502 h:503 10.0.0.3:504"},
        {"setPort 3, 5 and -2", false, [](S s) { s.setPort(7, 3), s.setPort(7, 5), s.setPort(7, -2); }, 1, same},
        {"setSocketIP 3 and -2", false, [](S s) { s.setSocketIP("h", 3), s.setSocketIP("h", -2); }, 1, same},
        // The index outlives a shorter list, and then names nothing to change.
        {"setSocketData, then port of -1", false,
         [](S s) { s.setCurrentIPIndex(2), s.setSocketData({{"a", "502"}, {"b", "70000"}}), s.setPort(9, -1); }, 2,
         "a:502 b:0"},
    };
    for (const auto& c : cases) {
        DeviceSetting setting = c.empty ? freshPort() : threeEndpoints();
        c.change(setting);
        EXPECT_EQ(setting.currentIPIndex, c.current) << c.name;
        EXPECT_EQ(endpointsOf(setting), c.list) << c.name;
    }
    EXPECT_EQ(freshPort().port(-1) + threeEndpoints().port(7), 0);
    EXPECT_TRUE(freshPort().socketIP(-1).isNull() && threeEndpoints().socketIP(7).isNull());
    // Six arguments keep no text; a copy takes all but the flag.
    EXPECT_TRUE(DriverSetting(100, 2, 7, 5, QStringLiteral("text"), 502).extraString.isEmpty());
    DriverSetting target(1, 1, 1, 1, QString(), 0, QStringLiteral("mine"), true);
    target.copy(DriverSetting(900, 5, 12, 40, QString(), 0, QStringLiteral("theirs"), false));
    EXPECT_EQ(hexOf(streamed(target)), hexOf(streamed(DriverSetting(900, 5, 12, 40))));
    EXPECT_TRUE(target.extraString == QStringLiteral("theirs") && target.extraFlag);
}

TEST(SettingsStream, DefaultRecordsStreamedAndDumped)
{
    EXPECT_EQ(hexOf(streamed(DriverSetting(500, 3, 1, 0))), "000001f4" "00000003" "00000001" "00000000");
    EXPECT_EQ(hexOf(streamed(freshPort())), "00000010" "00000008" "0043004f004d0032" "00002580" "00000008"
                                            "00000000" "00000002" "00000000" "ffffffff" "00000000" "00000000");
    DeviceSetting original(static_cast<device_type>(32), "ttyUSB0", 19200, 7, 2, 1, 99, "not carried");
    original.linkID = 12;
    original.socketData = {{"10.0.0.1", 502}, {QString(), 0}, {"h", 65535}};
    original.setCurrentIPIndex(2);
    DeviceSetting copy = freshPort();
    copy.extraString = QStringLiteral("kept");
    EXPECT_EQ(readInto(streamed(original), copy), QDataStream::Ok);
    EXPECT_EQ(hexOf(streamed(copy)), hexOf(streamed(original)));
    EXPECT_EQ(copy.extraString, QStringLiteral("kept"));
    original.currentIPIndex = 5; // names no entry of the list read back: the reader keeps its own index
    readInto(streamed(original), copy);
    EXPECT_EQ(copy.currentIPIndex, 2);
    EXPECT_EQ(dumpOf([] { freshPort().dump(); }), "type: 16 string: \"COM2\" baudrate: 9600 databits: 8 stopbits: 0 "
                                                  "parity: 2 linkID: -1 current ip: \"\" current port: 0 ");
    EXPECT_TRUE(dumpOf([] { threeEndpoints().dump(); }).endsWith("current ip: \"10.0.0.2\" current port: 503 "));
    EXPECT_EQ(dumpOf([] { DriverSetting(500, 3, 1, 0).dump(); }), "timeout: 500 retry: 3 stationid: 1 delay: 0 ");
}

TEST(SettingsStream, ShortAndHostileStreams)
{
    DriverSetting driver(7, 7, 7, 7);
    EXPECT_EQ(readInto(hex("000001f400000003"), driver), QDataStream::ReadPastEnd);
    EXPECT_EQ(hexOf(streamed(driver)), hexOf(streamed(DriverSetting(500, 3, 0, 0))));
    const QByteArray full = streamed(threeEndpoints());
    for (int length = 0; length < full.size(); ++length) {
        DeviceSetting copy = threeEndpoints(); // a cut right after an entry ends the list there
        EXPECT_TRUE(readInto(full.left(length), copy) == QDataStream::ReadPastEnd || copy.socketData.size() < 3)
            << "length " << length;
    }
    // A count of four billion followed by nothing, then by one entry.
    const QByteArray hostile = full.left(44) + hex("ffffffff");
    DeviceSetting copy = freshPort();
    EXPECT_EQ(readInto(hostile, copy), QDataStream::ReadPastEnd);
    EXPECT_LE(copy.socketData.size(), 1);
    readInto(hostile + full.mid(48, 4 + 2 * 8 + 2), copy);
    EXPECT_EQ(endpointsOf(copy), "10.0.0.1:502");
}
