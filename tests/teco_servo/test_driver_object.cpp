// Identity, default settings, error state and initialize of the servo driver object.
#include <memory>
#include <tuple>

#include "teco_test.h"
#include "tools/device_setting.h"
#include "tools/driver_setting.h"

TEST(DriverObject, ReportsItsIdentityLimitsAndNewDefaultRecords)
{
    DriverTecoServo driver;
    EXPECT_EQ(std::make_tuple(driver.name(), driver.vender(), driver.getVersionNumber()),
              std::make_tuple(QStringLiteral("Teco Servo"), QStringLiteral("Modbus"), QStringLiteral("1.0.0")));
    EXPECT_EQ(std::make_tuple(driver.totalSize(), driver.supportedCommunicationFlags(), driver.getBlockAccessSize(),
                              driver.getBitBlockAccessSize()),
              std::make_tuple(278528, 16 | 32 | 64, 125, 2008));
    EXPECT_EQ(driver.getStringBasedDefaultDriverSetting(), QStringLiteral("RS485,9600,NONE,8,2"));
    EXPECT_EQ(driver.validation(QString()), 0);

    std::unique_ptr<DeviceSetting> port(driver.getDefaultSerialDeviceSetting());
    std::unique_ptr<DeviceSetting> secondPort(driver.getDefaultSerialDeviceSetting());
    EXPECT_NE(port.get(), secondPort.get());
    EXPECT_EQ(std::make_tuple(port->type, port->string, port->baudrate, port->databits, port->stopbits, port->parity),
              std::make_tuple(16, QStringLiteral("COM2"), 9600, 8, 0, 2));
    std::unique_ptr<DriverSetting> setting(driver.getDefaultDriverSetting());
    std::unique_ptr<DriverSetting> secondSetting(driver.getDefaultDriverSetting());
    EXPECT_NE(setting.get(), secondSetting.get());
    EXPECT_EQ(std::make_tuple(setting->timeout, setting->retry, setting->stationid, setting->delay),
              std::make_tuple(500, 3, 1, 0));
}

TEST(DriverObject, ErrorStateKeepsTheLastTextAfterClearing)
{
    DriverTecoServo driver;
    EXPECT_FALSE(driver.hasError());
    EXPECT_TRUE(driver.getLastError().isEmpty());
    driver.setCommError(QStringLiteral("PLC no response"));
    driver.setCommError(QStringLiteral("CRC error"));
    EXPECT_TRUE(driver.hasError());
    driver.clearError();
    EXPECT_FALSE(driver.hasError());
    EXPECT_EQ(driver.getLastError(), QStringLiteral("CRC error"));
}

TEST(DriverObject, InitializeSetsOptionTwelveToIntZeroOnceAndToleratesNoPort)
{
    DriverTecoServo driver;
    EXPECT_TRUE(driver.initialize(nullptr));
    ScriptedPort port;
    EXPECT_TRUE(driver.initialize(&port));
    ASSERT_EQ(port.callSequence(), QList<Call>{Call::SetOption});
    EXPECT_EQ(port.events().at(0).optionCode, 12);
    EXPECT_EQ(port.events().at(0).optionValue.userType(), QMetaType::Int);
    EXPECT_EQ(port.events().at(0).optionValue.toInt(), 0);
}
