// Data-stream form and debug dumps of the settings records.
#include <QBuffer>
#include <functional>
#include <QDataStream>
#include <gtest/gtest.h>

#include "tools/device_setting.h"
#include "tools/driver_setting.h"

namespace {

template <typename Record> QByteArray streamed(const Record& record)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out << record;
    return bytes;
}

DeviceSetting freshPortRecord()
{
    return DeviceSetting(SerialDevice, QStringLiteral("COM2"), 9600, 8, 0, 2);
}

QStringList capturedMessages;

void captureMessage(QtMsgType, const QMessageLogContext&, const QString& message)
{
    capturedMessages.append(message);
}

QString dumpOf(const std::function<void()>& dump)
{
    capturedMessages.clear();
    const QtMessageHandler previous = qInstallMessageHandler(captureMessage);
    dump();
    qInstallMessageHandler(previous);
    return capturedMessages.size() == 1 ? capturedMessages.first() : QString();
}

} // namespace

TEST(SettingsStream, DefaultDriverRecordIsSixteenBigEndianBytes)
{
    EXPECT_EQ(streamed(DriverSetting(500, 3, 1, 0)).toHex(), QByteArray("000001f4000000030000000100000000"));
}

TEST(SettingsStream, DefaultPortRecordIsFortyEightBytes)
{
    const QByteArray expected = QByteArray::fromHex(
        "00000010" "00000008" "0043004f004d0032" "00002580" "00000008" "00000000" "00000002"
        "00000000" "ffffffff" "00000000" "00000000");
    ASSERT_EQ(expected.size(), 48);
    EXPECT_EQ(streamed(freshPortRecord()).toHex(), expected.toHex());
}

TEST(SettingsStream, EachEndpointAddsItsTextAndPort)
{
    DeviceSetting setting = freshPortRecord();
    setting.socketData = {{QStringLiteral("10.0.0.1"), 502}};
    const QByteArray bytes = streamed(setting);
    ASSERT_EQ(bytes.size(), 48 + 4 + 2 * 8 + 2);
    EXPECT_EQ(bytes.mid(44, 4).toHex(), QByteArray("00000001"));
    EXPECT_EQ(bytes.right(2).toHex(), QByteArray("01f6"));
}

TEST(SettingsStream, PortRecordRoundTripKeepsEveryCarriedField)
{
    DeviceSetting original(static_cast<device_type>(32), QStringLiteral("ttyUSB0"), 19200, 7, 2, 1, 99,
                           QStringLiteral("not carried"));
    original.linkID = 12;
    original.socketData = {{QStringLiteral("10.0.0.1"), 502}, {QString(), 0}, {QStringLiteral("h"), 65535}};
    original.setCurrentIPIndex(2);

    DeviceSetting copy = freshPortRecord();
    copy.extraString = QStringLiteral("kept");
    QByteArray bytes = streamed(original);
    QDataStream in(&bytes, QIODevice::ReadOnly);
    in >> copy;

    EXPECT_EQ(in.status(), QDataStream::Ok);
    EXPECT_EQ(copy.type, original.type);
    EXPECT_EQ(copy.string, original.string);
    EXPECT_EQ(copy.baudrate, 19200);
    EXPECT_EQ(copy.databits, 7);
    EXPECT_EQ(copy.stopbits, 2);
    EXPECT_EQ(copy.parity, 1);
    EXPECT_EQ(copy.extraInt, 99);
    EXPECT_EQ(copy.linkID, 12);
    EXPECT_EQ(copy.socketData, original.socketData);
    EXPECT_EQ(copy.currentIPIndex, 2);
    EXPECT_EQ(copy.extraString, QStringLiteral("kept"));
}

TEST(SettingsStream, IndexOutsideTheReadListKeepsTheOldIndex)
{
    DeviceSetting original = freshPortRecord();
    original.socketData = {{QStringLiteral("a"), 1}, {QStringLiteral("b"), 2}, {QStringLiteral("c"), 3}};
    original.currentIPIndex = 5; // written as it stands, whatever the list holds
    QByteArray bytes = streamed(original);
    DeviceSetting copy = freshPortRecord();
    QDataStream in(&bytes, QIODevice::ReadOnly);
    in >> copy;
    EXPECT_EQ(copy.socketData.size(), 3);
    EXPECT_EQ(copy.currentIPIndex, 0);
}

TEST(SettingsStream, ShortDriverStreamZeroesWhatItDoesNotCover)
{
    QByteArray bytes = streamed(DriverSetting(500, 3, 1, 0)).left(8);
    DriverSetting setting(7, 7, 7, 7);
    QDataStream in(&bytes, QIODevice::ReadOnly);
    in >> setting;
    EXPECT_EQ(setting.timeout, 500);
    EXPECT_EQ(setting.retry, 3);
    EXPECT_EQ(setting.stationid, 0);
    EXPECT_EQ(setting.delay, 0);
    EXPECT_EQ(in.status(), QDataStream::ReadPastEnd);
}

TEST(SettingsStream, EveryTruncationOfAPortRecordEndsInReadPastEnd)
{
    DeviceSetting original = freshPortRecord();
    original.socketData = {{QStringLiteral("10.0.0.1"), 502}, {QStringLiteral("10.0.0.2"), 503}};
    const QByteArray full = streamed(original);
    for (int length = 0; length < full.size(); ++length) {
        QByteArray bytes = full.left(length);
        DeviceSetting copy = freshPortRecord();
        QDataStream in(&bytes, QIODevice::ReadOnly);
        in >> copy;
        // A cut right after a whole entry ends the list cleanly at that entry.
        EXPECT_TRUE(in.status() != QDataStream::Ok || copy.socketData.size() < 2) << "length " << length;
        EXPECT_LE(copy.socketData.size(), 2) << "length " << length;
    }
}

TEST(SettingsStream, HostileEndpointCountCostsOnlyWhatTheStreamHolds)
{
    // 40 bytes of fields, then a count of four billion and one real entry.
    QByteArray bytes = streamed(freshPortRecord()).left(44);
    {
        QDataStream out(&bytes, QIODevice::Append);
        out << quint32(0xFFFFFFFFu) << QStringLiteral("10.0.0.1") << quint16(502);
    }
    DeviceSetting copy = freshPortRecord();
    QDataStream in(&bytes, QIODevice::ReadOnly);
    in >> copy;
    ASSERT_EQ(copy.socketData.size(), 1);
    EXPECT_EQ(copy.socketData.at(0), DeviceSetting::Endpoint(QStringLiteral("10.0.0.1"), 502));

    // The same count with nothing behind it: one empty entry read past the end, and no more.
    QByteArray bare = streamed(freshPortRecord()).left(44);
    {
        QDataStream out(&bare, QIODevice::Append);
        out << quint32(0xFFFFFFFFu);
    }
    DeviceSetting empty = freshPortRecord();
    QDataStream in2(&bare, QIODevice::ReadOnly);
    in2 >> empty;
    EXPECT_LE(empty.socketData.size(), 1);
    EXPECT_EQ(in2.status(), QDataStream::ReadPastEnd);
}

TEST(SettingsStream, HostileTextLengthEndsTheRead)
{
    QByteArray bytes = QByteArray::fromHex("00000010" "7ffffffe" "0043");
    DeviceSetting copy = freshPortRecord();
    QDataStream in(&bytes, QIODevice::ReadOnly);
    in >> copy;
    EXPECT_NE(in.status(), QDataStream::Ok);
    EXPECT_TRUE(copy.socketData.size() <= 1);
}

TEST(SettingsDump, PortRecordPrintsItsFieldsAndCurrentEndpoint)
{
    DeviceSetting setting = freshPortRecord();
    EXPECT_EQ(dumpOf([&] { setting.dump(); }),
              QStringLiteral("type: 16 string: \"COM2\" baudrate: 9600 databits: 8 stopbits: 0 parity: 2 "
                             "linkID: -1 current ip: \"\" current port: 0 "));
    setting.socketData = {{QStringLiteral("10.0.0.1"), 502}, {QStringLiteral("10.0.0.2"), 503}};
    setting.setCurrentIPIndex(1);
    EXPECT_TRUE(dumpOf([&] { setting.dump(); })
                    .endsWith(QStringLiteral("current ip: \"10.0.0.2\" current port: 503 ")));
}

TEST(SettingsDump, DriverRecordPrintsTheFourNumbers)
{
    const DriverSetting setting(500, 3, 1, 0);
    EXPECT_EQ(dumpOf([&] { setting.dump(); }), QStringLiteral("timeout: 500 retry: 3 stationid: 1 delay: 0 "));
}
