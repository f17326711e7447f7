// version, info, read and write on top of a set-up session.
#include "drvctl/exit_codes.h"
#include "drvctl/plugin_loading.h"
#include "drvctl/session.h"
#include "drvctl/transfer_plan.h"
#include "drvctl/value_codec.h"
#include "interface/driver_interface.h"
#include "tools/device_setting.h"
#include "tools/driver_setting.h"

#include <QJsonArray>
#include <QStringList>

namespace {

// The settings records print themselves through Qt's debug stream; catch the line.
QStringList capturedDebug;

void captureDebug(QtMsgType, const QMessageLogContext&, const QString& message)
{
    capturedDebug << message;
}

template <typename Record>
QString dumpOf(Record* record)
{
    std::unique_ptr<Record> owned(record);
    if (!owned)
        return QString();
    capturedDebug.clear();
    const QtMessageHandler previous = qInstallMessageHandler(captureDebug);
    owned->dump();
    qInstallMessageHandler(previous);
    return capturedDebug.join(QLatin1Char(' ')).trimmed();
}

} // namespace

int Session::version(const Invocation&)
{
    const QString path = loader.fileName();
    out.result(QJsonObject{{QStringLiteral("drvctl"), QStringLiteral(DRVCTL_VERSION)},
                           {QStringLiteral("plugin"), QJsonObject{{QStringLiteral("name"), driver->name()},
                                                                  {QStringLiteral("version"), driver->getVersionNumber()},
                                                                  {QStringLiteral("path"), path}}}},
               QStringLiteral("drvctl %1\n%2 %3 (%4)")
                   .arg(QStringLiteral(DRVCTL_VERSION), driver->name(), driver->getVersionNumber(), path));
    return ExitSuccess;
}

int Session::info(const Invocation&)
{
    const int flags = driver->supportedCommunicationFlags();
    const QString deviceDump = dumpOf(driver->getDefaultSerialDeviceSetting());
    const QString driverDump = dumpOf(driver->getDefaultDriverSetting());
    QJsonObject object{
        {QStringLiteral("name"), driver->name()},
        {QStringLiteral("vendor"), driver->vender()},
        {QStringLiteral("version"), driver->getVersionNumber()},
        {QStringLiteral("flags"), flags},
        {QStringLiteral("totalSize"), driver->totalSize()},
        {QStringLiteral("blockSize"), driver->getBlockAccessSize()},
        {QStringLiteral("bitBlockSize"), driver->getBitBlockAccessSize()},
        {QStringLiteral("defaultLine"), driver->getStringBasedDefaultDriverSetting()},
        {QStringLiteral("defaultDeviceSetting"), deviceDump},
        {QStringLiteral("defaultDriverSetting"), driverDump},
    };
    QStringList text;
    text << QStringLiteral("name:           %1").arg(driver->name())
         << QStringLiteral("vendor:         %1").arg(driver->vender())
         << QStringLiteral("version:        %1").arg(driver->getVersionNumber())
         << QStringLiteral("flags:          %1 (0x%2)").arg(flags).arg(flags, 0, 16)
         << QStringLiteral("total size:     %1").arg(driver->totalSize())
         << QStringLiteral("block size:     %1").arg(driver->getBlockAccessSize())
         << QStringLiteral("bit block size: %1").arg(driver->getBitBlockAccessSize())
         << QStringLiteral("default line:   %1").arg(driver->getStringBasedDefaultDriverSetting())
         << QStringLiteral("device setting: %1").arg(deviceDump)
         << QStringLiteral("driver setting: %1").arg(driverDump);
    out.result(object, text.join(QLatin1Char('\n')));
    return ExitSuccess;
}

int Session::read(const Invocation& request)
{
    const QString address = request.arguments.constFirst();
    TransferPlan plan;
    QList<qint64> values;
    QString error;
    switch (readValues(request, address, &plan, &values, &error)) {
    case Transfer::Refused: return out.usage(error, request.command);
    case Transfer::Failed: return out.failure(error, ExitDriverFailure);
    case Transfer::Done: break;
    }
    // Only the form asked for: a shell runs this once a line.
    if (out.json())
        out.object(QJsonObject{{QStringLiteral("ok"), true},
                               {QStringLiteral("address"), address},
                               {QStringLiteral("type"), dataTypeName(plan.dataType)},
                               {QStringLiteral("station"), port->getStationId()},
                               {QStringLiteral("values"), valuesJson(values)}});
    else
        out.line(QStringLiteral("%1 %2[%3]: %4")
                     .arg(address, dataTypeName(plan.dataType), QString::number(values.size()),
                          valuesText(plan.dataType, values, request.hex)));
    return ExitSuccess;
}

int Session::write(const Invocation& request)
{
    const QString address = request.arguments.constFirst();
    const int written = request.arguments.size() - 1;
    TransferPlan plan;
    QString error;
    switch (writeValues(request, &plan, &error)) {
    case Transfer::Refused: return out.usage(error, request.command);
    case Transfer::Failed: return out.failure(error, ExitDriverFailure);
    case Transfer::Done: break;
    }
    if (out.json())
        out.object(QJsonObject{{QStringLiteral("ok"), true},
                               {QStringLiteral("address"), address},
                               {QStringLiteral("type"), dataTypeName(plan.dataType)},
                               {QStringLiteral("station"), port->getStationId()},
                               {QStringLiteral("written"), written}});
    else
        out.line(QStringLiteral("%1 %2[%3] written").arg(address, dataTypeName(plan.dataType), QString::number(written)));
    return ExitSuccess;
}
