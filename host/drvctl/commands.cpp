// The five drvctl commands on top of a set-up session.
#include "drvctl/exit_codes.h"
#include "drvctl/session.h"
#include "drvctl/value_codec.h"
#include "interface/driver_interface.h"
#include "port/serial_port.h"
#include "simulator/servo_line.h"
#include "tools/device_setting.h"
#include "tools/driver_setting.h"

#include <QDateTime>
#include <QJsonArray>
#include <QStringList>
#include <memory>

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

QJsonArray toJson(const QList<qint64>& values)
{
    QJsonArray array;
    for (qint64 v : values)
        array.append(static_cast<double>(v));
    return array;
}

// Hex digits: two per byte of the data type (bits stay 0/1).
QString toText(const QList<qint64>& values, int hexDigits)
{
    QStringList parts;
    for (qint64 v : values)
        parts << (hexDigits > 0
                      ? QStringLiteral("0x") + QString::number(static_cast<quint64>(v), 16).toUpper().rightJustified(hexDigits, QLatin1Char('0'))
                      : QString::number(v));
    return parts.join(QLatin1Char(' '));
}

} // namespace

int Session::hexDigitsFor(int dataType) const
{
    if (!request.hex || dataType == Bit || dataType == BitBlock)
        return 0;
    return dataType == Word ? 4 : dataType == DoubleWord ? 8 : 2;
}

int Session::dataTypeFor(const QString& address) const
{
    return request.dataType >= 0 ? request.dataType : defaultDataType(address);
}

bool Session::readValues(const QString& address, int dataType, QByteArray* data)
{
    const CommunicatorCommand command(dataType, request.count, address);
    *data = driver->read(port.get(), command);
    return !driver->hasError();
}

int Session::info()
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

int Session::read()
{
    const QString address = request.arguments.constFirst();
    const int dataType = dataTypeFor(address);
    QByteArray data;
    if (!readValues(address, dataType, &data))
        return out.failure(driver->getLastError(), ExitDriverFailure);
    const QList<qint64> values = decodeValues(dataType, data, request.count);
    QJsonObject object{{QStringLiteral("ok"), true},
                       {QStringLiteral("address"), address},
                       {QStringLiteral("type"), dataTypeName(dataType)},
                       {QStringLiteral("station"), port->getStationId()},
                       {QStringLiteral("values"), toJson(values)}};
    out.result(object, QStringLiteral("%1 %2[%3]: %4").arg(address, dataTypeName(dataType)).arg(values.size()).arg(toText(values, hexDigitsFor(dataType))));
    return ExitSuccess;
}

int Session::write()
{
    const QString address = request.arguments.constFirst();
    const QStringList texts = request.arguments.mid(1);
    const int dataType = dataTypeFor(address);
    QByteArray data;
    QString error;
    if (!encodeValues(dataType, texts, &data, &error))
        return Output::usage(error, request.command);
    const CommunicatorCommand command(dataType, texts.size(), address);
    if (!driver->write(port.get(), command, data) || driver->hasError())
        return out.failure(driver->getLastError(), ExitDriverFailure);
    QJsonObject object{{QStringLiteral("ok"), true},
                       {QStringLiteral("address"), address},
                       {QStringLiteral("type"), dataTypeName(dataType)},
                       {QStringLiteral("station"), port->getStationId()},
                       {QStringLiteral("written"), texts.size()}};
    out.result(object, QStringLiteral("%1 %2[%3] written").arg(address, dataTypeName(dataType)).arg(texts.size()));
    return ExitSuccess;
}

int Session::poll()
{
    do {
        QStringList text;
        QJsonObject values;
        for (const QString& address : request.arguments) {
            const int dataType = dataTypeFor(address);
            QByteArray data;
            if (readValues(address, dataType, &data)) {
                const QList<qint64> decoded = decodeValues(dataType, data, request.count);
                text << QStringLiteral("%1=%2").arg(address, toText(decoded, hexDigitsFor(dataType)));
                values.insert(address, toJson(decoded));
            } else {
                text << QStringLiteral("%1=(%2)").arg(address, driver->getLastError());
                values.insert(address, driver->getLastError());
            }
        }
        if (out.json())
            out.result(QJsonObject{{QStringLiteral("time"), QDateTime::currentDateTime().toString(Qt::ISODateWithMs)},
                                   {QStringLiteral("values"), values}},
                       QString());
        else
            out.liveLine(text.join(QStringLiteral("  ")));
    } while (!waitForStopSignal(request.intervalMs));
    if (!out.json())
        std::fputc('\n', stdout);
    return ExitSuccess;
}

int Session::simulate()
{
    ServoLine line(std::vector<int>(request.stations.begin(), request.stations.end()));
    line.setEcho(request.lineEchoes);
    std::string error;
    if (!line.start(&error))
        return out.failure(QStringLiteral("cannot start the simulated line: %1").arg(QString::fromStdString(error)), ExitSetup);
    QJsonArray ids;
    QStringList names;
    for (int id : line.stationIds()) {
        ids.append(id);
        names << QString::number(id);
    }
    const QString path = QString::fromStdString(line.devicePath());
    out.result(QJsonObject{{QStringLiteral("device"), path}, {QStringLiteral("stations"), ids}}, path);
    out.note(QStringLiteral("simulated servos %1 answer on %2; Ctrl-C stops").arg(names.join(QStringLiteral(", ")), path));
    waitForStopSignal(-1);
    return ExitSuccess;
}
