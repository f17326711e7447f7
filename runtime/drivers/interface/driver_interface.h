#ifndef DRIVER_INTERFACE_H
#define DRIVER_INTERFACE_H

#include <QList>
#include <QObject>
#include <QString>
#include <QtPlugin>

#include "interface/communicator_command.h"
#include "interface/interface_export.h"

class AbstractDeviceInterface;
class DeviceSetting;
class DriverSetting;

// The abstract driver every driver of the runtime implements. A driver class
// derives from QObject first and from DriverInterface second. The order of the
// virtual operations is part of the contract with the host: do not reorder.
class DRIVER_INTERFACE_EXPORT DriverInterface {
public:
    virtual ~DriverInterface() {}

    virtual int totalSize() = 0;
    virtual bool write(AbstractDeviceInterface* port, const CommunicatorCommand& command,
                       const QByteArray& data) = 0;
    virtual QByteArray read(AbstractDeviceInterface* port, const CommunicatorCommand& command) = 0;
    virtual bool initialize(AbstractDeviceInterface* port) = 0;
    virtual int validation(const QString& text) = 0;
    virtual QString name() { return QStringLiteral("Not Assigned"); }
    virtual QString vender() { return QStringLiteral("Not Assigned"); }
    virtual QString getVersionNumber() { return QStringLiteral("Not Assigned"); }
    // Newly allocated; the caller owns the record.
    virtual DeviceSetting* getDefaultSerialDeviceSetting() = 0;
    virtual DriverSetting* getDefaultDriverSetting() = 0;
    // Line type, baud rate, parity word, data bits, stop bits.
    virtual QString getStringBasedDefaultDriverSetting() { return QStringLiteral("RS232,9600,EVEN,7,1"); }
    virtual int supportedCommunicationFlags() = 0;
    virtual void setDebugMode(bool on) = 0;
    virtual int getBlockAccessSize() = 0;
    virtual int getBitBlockAccessSize() = 0;
    virtual bool hasError() = 0;
    virtual QString getLastError() = 0;
    virtual QObject* getThisObject() = 0;
    virtual bool isSupportSessionCommand() { return false; }
    virtual void setSessionCommand(QList<CommunicatorCommand> commands) { Q_UNUSED(commands); }
    virtual void clearSessionCommand() {}
    virtual bool deviceSettingChanged(const DeviceSetting* setting)
    {
        Q_UNUSED(setting);
        return true;
    }
    virtual bool isConnected(AbstractDeviceInterface* port)
    {
        Q_UNUSED(port);
        return true;
    }
};

#define DriverInterface_iid "com.marvilen.drivers.DriverInterface/1.1"
Q_DECLARE_INTERFACE(DriverInterface, DriverInterface_iid)

#endif
