// Index rules and constructors of the port and driver settings records.
#include <gtest/gtest.h>

#include "tools/device_setting.h"
#include "tools/driver_setting.h"

namespace {

DeviceSetting threeEndpoints()
{
    DeviceSetting setting(SerialDevice, QStringLiteral("COM2"), 9600, 8, 0, 2);
    setting.socketData = {{QStringLiteral("10.0.0.1"), 502}, {QStringLiteral("10.0.0.2"), 503},
                          {QStringLiteral("10.0.0.3"), 504}};
    setting.setCurrentIPIndex(1);
    return setting;
}

} // namespace

TEST(DeviceSetting, SixArgumentConstructorStartsWithNoEndpoints)
{
    const DeviceSetting setting(SerialDevice, QStringLiteral("COM2"), 9600, 8, 0, 2);
    EXPECT_EQ(setting.type, 16);
    EXPECT_EQ(setting.extraInt, 0);
    EXPECT_TRUE(setting.extraString.isNull());
    EXPECT_EQ(setting.linkID, -1);
    EXPECT_EQ(setting.currentIPIndex, 0);
    EXPECT_EQ(setting.port(-1), 0);
    EXPECT_TRUE(setting.socketIP(-1).isNull());
}

TEST(DeviceSetting, EmptyListIgnoresEveryChange)
{
    DeviceSetting setting(SerialDevice, QStringLiteral("COM2"), 9600, 8, 0, 2);
    setting.setPort(502, -1);
    setting.setPort(502, 0);
    setting.setSocketIP(QStringLiteral("10.0.0.9"), -1);
    EXPECT_TRUE(setting.socketData.isEmpty());
}

TEST(DeviceSetting, CurrentIndexAcceptsOnlyExistingEntries)
{
    DeviceSetting setting = threeEndpoints();
    for (int rejected : {3, -1, 7}) {
        setting.setCurrentIPIndex(rejected);
        EXPECT_EQ(setting.currentIPIndex, 1) << rejected;
    }
    setting.setCurrentIPIndex(2);
    EXPECT_EQ(setting.currentIPIndex, 2);
}

TEST(DeviceSetting, IndexMinusOneNamesTheCurrentEntry)
{
    DeviceSetting setting = threeEndpoints();
    setting.setCurrentIPIndex(2);
    setting.setPort(600, -1);
    setting.setSocketIP(QStringLiteral("192.168.1.7"), -1);
    EXPECT_EQ(setting.socketData.at(0), DeviceSetting::Endpoint(QStringLiteral("10.0.0.1"), 502));
    EXPECT_EQ(setting.socketData.at(1), DeviceSetting::Endpoint(QStringLiteral("10.0.0.2"), 503));
    EXPECT_EQ(setting.socketData.at(2), DeviceSetting::Endpoint(QStringLiteral("192.168.1.7"), 600));
    EXPECT_EQ(setting.port(-1), 600);
    EXPECT_EQ(setting.socketIP(-1), QStringLiteral("192.168.1.7"));
}

TEST(DeviceSetting, IndexesOutsideTheListChangeAndReturnNothing)
{
    DeviceSetting setting = threeEndpoints();
    const QList<DeviceSetting::Endpoint> before = setting.socketData;
    for (int index : {5, 3, -2}) {
        setting.setPort(503, index);
        setting.setSocketIP(QStringLiteral("1.1.1.1"), index);
        EXPECT_EQ(setting.port(index), 0) << index;
        EXPECT_TRUE(setting.socketIP(index).isNull()) << index;
    }
    EXPECT_EQ(setting.socketData, before);
}

TEST(DeviceSetting, CurrentIndexPastTheEndAfterListReplacementIsTolerated)
{
    DeviceSetting setting = threeEndpoints();
    setting.setCurrentIPIndex(2);
    setting.setSocketData({{QStringLiteral("10.1.1.1"), QStringLiteral("502")}});
    EXPECT_EQ(setting.currentIPIndex, 2);
    EXPECT_EQ(setting.port(-1), 0);
    EXPECT_TRUE(setting.socketIP(-1).isNull());
    setting.setPort(700, -1);
    EXPECT_EQ(setting.socketData.at(0).second, 502);
}

TEST(DeviceSetting, SocketDataReadsDecimalPortsAndZeroesTheRest)
{
    DeviceSetting setting = threeEndpoints();
    setting.setSocketData({{QStringLiteral("a"), QStringLiteral("502")},
                           {QStringLiteral("b"), QStringLiteral("70000")},
                           {QStringLiteral("c"), QStringLiteral("0x10")},
                           {QStringLiteral("d"), QStringLiteral("")}});
    ASSERT_EQ(setting.socketData.size(), 4);
    EXPECT_EQ(setting.socketData.at(0), DeviceSetting::Endpoint(QStringLiteral("a"), 502));
    EXPECT_EQ(setting.socketData.at(1).second, 0);
    EXPECT_EQ(setting.socketData.at(2).second, 0);
    EXPECT_EQ(setting.socketData.at(3).second, 0);
    EXPECT_EQ(setting.currentIPIndex, 1);
}

TEST(DriverSetting, ConstructorsKeepOnlyTheirOwnFields)
{
    const DriverSetting four(500, 3, 1, 0);
    EXPECT_EQ(four.timeout, 500);
    EXPECT_EQ(four.retry, 3);
    EXPECT_EQ(four.stationid, 1);
    EXPECT_EQ(four.delay, 0);
    EXPECT_TRUE(four.extraString.isNull());
    EXPECT_FALSE(four.extraFlag);

    const DriverSetting six(100, 2, 7, 5, QStringLiteral("ignored"), 502);
    EXPECT_TRUE(six.extraString.isEmpty());
    EXPECT_FALSE(six.extraFlag);
    EXPECT_EQ(six.stationid, 7);

    const DriverSetting eight(100, 2, 7, 5, QStringLiteral("ignored"), 502, QStringLiteral("kept"), true);
    EXPECT_EQ(eight.extraString, QStringLiteral("kept"));
    EXPECT_TRUE(eight.extraFlag);
}

TEST(DriverSetting, CopyTakesEverythingButTheFlag)
{
    DriverSetting target(1, 1, 1, 1);
    const DriverSetting source(900, 5, 12, 40, QString(), 0, QStringLiteral("extra"), true);
    target.copy(source);
    EXPECT_EQ(target.timeout, 900);
    EXPECT_EQ(target.retry, 5);
    EXPECT_EQ(target.stationid, 12);
    EXPECT_EQ(target.delay, 40);
    EXPECT_EQ(target.extraString, QStringLiteral("extra"));
    EXPECT_FALSE(target.extraFlag);
}
