// Identity, defaults and error state of the servo driver object.
#include <gtest/gtest.h>
#include <memory>

#include "support/scripted_port.h"
#include "teco_servo/driver_teco_servo.h"
#include "tools/device_setting.h"
#include "tools/driver_setting.h"

TEST(DriverObject, ReportsItsIdentityAndLimits)
{
    DriverTecoServo driver;
    EXPECT_EQ(driver.name(), QStringLiteral("Teco Servo"));
    EXPECT_EQ(driver.vender(), QStringLiteral("Modbus"));
    EXPECT_EQ(driver.getVersionNumber(), QStringLiteral("1.0.0"));
    EXPECT_EQ(driver.totalSize(), 278528);
    EXPECT_EQ(driver.supportedCommunicationFlags(), 16 | 32 | 64);
    EXPECT_EQ(driver.getBlockAccessSize(), 125);
    EXPECT_EQ(driver.getBitBlockAccessSize(), 2008);
    EXPECT_EQ(driver.getStringBasedDefaultDriverSetting(), QStringLiteral("RS485,9600,NONE,8,2"));
    EXPECT_EQ(driver.getThisObject(), static_cast<QObject*>(&driver));
    EXPECT_EQ(driver.validation(QString()), 0);
    EXPECT_EQ(driver.validation(QStringLiteral("anything")), 0);
}

TEST(DriverObject, InterfaceDefaultsApplyWhereTheDriverAddsNothing)
{
    DriverTecoServo driver;
    DriverInterface& asInterface = driver;
    ScriptedPort port;
    EXPECT_FALSE(asInterface.isSupportSessionCommand());
    EXPECT_TRUE(asInterface.isConnected(&port));
    EXPECT_TRUE(asInterface.isConnected(nullptr));
    EXPECT_TRUE(asInterface.deviceSettingChanged(nullptr));
    asInterface.setSessionCommand({CommunicatorCommand(Word, 1, QStringLiteral("HR1"))});
    asInterface.clearSessionCommand();
    EXPECT_TRUE(port.events().isEmpty());
}

TEST(DriverObject, DefaultSettingsAreNewRecordsOwnedByTheCaller)
{
    DriverTecoServo driver;
    std::unique_ptr<DeviceSetting> port(driver.getDefaultSerialDeviceSetting());
    std::unique_ptr<DeviceSetting> secondPort(driver.getDefaultSerialDeviceSetting());
    ASSERT_NE(port.get(), secondPort.get());
    EXPECT_EQ(port->type, 16);
    EXPECT_EQ(port->string, QStringLiteral("COM2"));
    EXPECT_EQ(port->baudrate, 9600);
    EXPECT_EQ(port->databits, 8);
    EXPECT_EQ(port->stopbits, 0);
    EXPECT_EQ(port->parity, 2);
    EXPECT_EQ(port->linkID, -1);

    std::unique_ptr<DriverSetting> setting(driver.getDefaultDriverSetting());
    std::unique_ptr<DriverSetting> secondSetting(driver.getDefaultDriverSetting());
    ASSERT_NE(setting.get(), secondSetting.get());
    EXPECT_EQ(setting->timeout, 500);
    EXPECT_EQ(setting->retry, 3);
    EXPECT_EQ(setting->stationid, 1);
    EXPECT_EQ(setting->delay, 0);
}

TEST(DriverObject, ErrorStateKeepsTheLastTextAfterClearing)
{
    DriverTecoServo driver;
    EXPECT_FALSE(driver.hasError());
    EXPECT_TRUE(driver.getLastError().isEmpty());
    driver.setCommError(QStringLiteral("PLC no response"));
    driver.setCommError(QStringLiteral("CRC error"));
    EXPECT_TRUE(driver.hasError());
    EXPECT_EQ(driver.getLastError(), QStringLiteral("CRC error"));
    driver.clearError();
    EXPECT_FALSE(driver.hasError());
    EXPECT_EQ(driver.getLastError(), QStringLiteral("CRC error"));
}

TEST(DriverObject, InitializeSetsOptionTwelveOnceAndToleratesNoPort)
{
    DriverTecoServo driver;
    EXPECT_TRUE(driver.initialize(nullptr));
    ScriptedPort port;
    EXPECT_TRUE(driver.initialize(&port));
    ASSERT_EQ(port.events().size(), 1);
    EXPECT_EQ(port.events().at(0).call, ScriptedPort::Call::SetOption);
    EXPECT_EQ(port.events().at(0).optionCode, 12);
    EXPECT_EQ(port.events().at(0).optionValue.type(), QVariant::Int);
    EXPECT_EQ(port.events().at(0).optionValue.toInt(), 0);
}

TEST(DriverObject, NewDriverHasElevenZeroSpecialRegistersAndDebugModeChangesNothing)
{
    DriverTecoServo driver;
    driver.setDebugMode(true);
    ScriptedPort port;
    const QByteArray table = driver.read(&port, CommunicatorCommand(Word, 11, QStringLiteral("HR60000")));
    EXPECT_FALSE(driver.hasError()) << driver.getLastError().toStdString();
    EXPECT_EQ(table, QByteArray(22, '\0'));
    EXPECT_TRUE(port.sentFrames().isEmpty());
    EXPECT_EQ(driver.name(), QStringLiteral("Teco Servo"));
}
