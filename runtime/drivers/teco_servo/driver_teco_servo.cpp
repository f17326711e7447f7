#include "teco_servo/driver_teco_servo.h"

#include "tools/device_setting.h"
#include "tools/driver_setting.h"

static const QString VERSION_STRING = QStringLiteral("1.0.0");

DriverTecoServo::DriverTecoServo()
    : QObject(nullptr)
{
}

DriverTecoServo::~DriverTecoServo() = default;

int DriverTecoServo::totalSize() { return 0x44000; }

bool DriverTecoServo::initialize(AbstractDeviceInterface* port)
{
    if (port != nullptr)
        port->setOption(DiscardInputOption, QVariant(0));
    return true;
}

int DriverTecoServo::validation(const QString&) { return 0; }

QString DriverTecoServo::name() { return QStringLiteral("Teco Servo"); }

QString DriverTecoServo::vender() { return QStringLiteral("Modbus"); }

QString DriverTecoServo::getVersionNumber() { return VERSION_STRING; }

DeviceSetting* DriverTecoServo::getDefaultSerialDeviceSetting()
{
    return new DeviceSetting(SerialDevice, QStringLiteral("COM2"), 9600, 8, 0, 2);
}

DriverSetting* DriverTecoServo::getDefaultDriverSetting()
{
    return new DriverSetting(500, 3, 1, 0);
}

QString DriverTecoServo::getStringBasedDefaultDriverSetting()
{
    return QStringLiteral("RS485,9600,NONE,8,2");
}

int DriverTecoServo::supportedCommunicationFlags() { return 0x70; }

void DriverTecoServo::setDebugMode(bool on) { debugMode = on; }

int DriverTecoServo::getBlockAccessSize() { return 125; }

int DriverTecoServo::getBitBlockAccessSize() { return 2008; }

bool DriverTecoServo::hasError() { return commError; }

QString DriverTecoServo::getLastError() { return lastError; }

QObject* DriverTecoServo::getThisObject() { return this; }

void DriverTecoServo::setCommError(const QString& text)
{
    commError = true;
    lastError = text;
}
