// version, info, read and write on top of a set-up session.
#include "addresses/transfer_plan.h"
#include "drvctl/exit_codes.h"
#include "drvctl/plugin_loading.h"
#include "drvctl/session.h"
#include "drvctl/value_codec.h"
#include "interface/driver_interface.h"
#include "port/line_settings.h"
#include "port/network_endpoints.h"
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
    if (!setup.device.isEmpty()) {
        // The record --device and --line fill, as the panel would hand it to a port.
        LineSettings line;
        const int status = lineSettings(&line);
        if (status != ExitSuccess)
            return status;
        auto record = std::make_unique<DeviceSetting>(SerialDevice, QString(), 0, 0, 0, 0);
        QString error;
        if (!deviceSettingFor(setup.device, line, record.get(), &error))
            return out.usage(error, setup.command);
        QJsonArray endpoints;
        for (const DeviceSetting::Endpoint& endpoint : record->socketData)
            endpoints.append(endpointText(endpoint));
        const QString portDump = dumpOf(new DeviceSetting(*record));
        object.insert(QStringLiteral("portSetting"), portDump);
        object.insert(QStringLiteral("endpoints"), endpoints);
        text << QStringLiteral("port setting:   %1").arg(portDump);
        QStringList endpointTexts;
        for (const QJsonValue& endpoint : endpoints)
            endpointTexts << endpoint.toString();
        if (!endpointTexts.isEmpty())
            text << QStringLiteral("endpoints:      %1 (current: %2)")
                        .arg(endpointTexts.join(QLatin1Char(' ')), endpointText(record->socketData.value(record->currentIPIndex)));
    }
    out.result(object, text.join(QLatin1Char('\n')));
    return ExitSuccess;
}

int Session::read(const Invocation& request)
{
    const QString address = request.arguments.constFirst();
    int status = ExitSuccess;
    if (const Parameter* parameter = parameterOrAddress(address, &status))
        return readNamed(request, *parameter);
    if (status != ExitSuccess)
        return status;
    TransferPlan plan;
    QList<qint64> values;
    QString error;
    const Transfer outcome = readValues(request, address, &plan, &values, &error);
    if (outcome != Transfer::Done)
        return transferFailure(outcome, error, request.command);
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
    int status = ExitSuccess;
    if (const Parameter* parameter = parameterOrAddress(address, &status))
        return writeNamed(request, *parameter);
    if (status != ExitSuccess)
        return status;
    const int written = request.arguments.size() - 1;
    TransferPlan plan;
    QString error;
    const Transfer outcome = writeValues(request, &plan, &error);
    if (outcome != Transfer::Done)
        return transferFailure(outcome, error, request.command);
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
