// Parameters by name (--map): the map loaded once per run, names told from
// addresses, and read and write of one parameter in its units.
#include "drvctl/driver_parameter_line.h"
#include "drvctl/exit_codes.h"
#include "drvctl/session.h"
#include "drvctl/value_codec.h"
#include "parameters/parameter_transfer.h"

#include <QFileInfo>
#include <QJsonArray>
#include <cstdio>

namespace {

// One parameter's result in JSON: its name, value and unit, and the raw registers.
QJsonObject parameterJson(const Parameter& p, int station, double value, const RawValues& raw)
{
    QJsonArray array;
    for (quint16 r : raw)
        array.append(r);
    return QJsonObject{{QStringLiteral("ok"), true},
                       {QStringLiteral("name"), p.name},
                       {QStringLiteral("address"), p.addressText},
                       {QStringLiteral("station"), station},
                       {QStringLiteral("value"), value},
                       {QStringLiteral("unit"), p.unit},
                       {QStringLiteral("raw"), array}};
}

} // namespace

int Session::loadMap(const QString& path)
{
    QStringList faults;
    if (loadRegisterMap(path, &map, &faults))
        return ExitSuccess;
    // Every fault, so that one edit fixes them all.
    if (out.json())
        return out.failure(faults.join(QLatin1Char('\n')), ExitUsage);
    for (const QString& fault : faults)
        std::fprintf(stderr, "%s\n", fault.toLocal8Bit().constData());
    return out.failure(QStringLiteral("the map %1 has %2 fault(s); nothing was done").arg(path).arg(faults.size()), ExitUsage);
}

int Session::loadMapOf(const ParameterSet& set, const QString& what, const Invocation& request)
{
    if (!map.parameters.empty())
        return ExitSuccess;
    if (set.mapPath.isEmpty() || !QFileInfo::exists(set.mapPath))
        return out.usage(QStringLiteral("%1 needs the set's map (%2): --map FILE").arg(what, set.mapName), request.command);
    return loadMap(set.mapPath);
}

const Parameter* Session::parameterOrAddress(const QString& argument, int* status)
{
    *status = ExitSuccess;
    if (map.parameters.empty()) // no --map: the command line's check has passed the address
        return nullptr;
    if (const Parameter* p = map.find(argument))
        return p;
    QString error;
    if (!checkAddress(argument, &error))
        *status = out.usage(QStringLiteral("%1 is no parameter of %2, nor an address: %3").arg(argument, map.name, error), setup.command);
    return nullptr;
}

std::unique_ptr<ParameterLine> Session::parameterLine()
{
    return std::make_unique<DriverParameterLine>(driver, port);
}

int Session::readNamed(const Invocation& request, const Parameter& p)
{
    RawValues raw;
    QString error;
    if (!readParameter(*parameterLine(), p, &raw, &error))
        return parameterFailure(QString(), error, request.command, Direction::Read);
    double value = 0;
    decodeParameter(p, raw, &value);
    const QString text = formatParameterValue(p, value);
    if (out.json())
        out.object(parameterJson(p, port->getStationId(), value, raw));
    else
        out.line(QStringLiteral("%1 = %2").arg(p.name, withUnit(text, p.unit)));
    return ExitSuccess;
}

int Session::writeNamed(const Invocation& request, const Parameter& p)
{
    if (request.arguments.size() != 2)
        return out.usage(QStringLiteral("write %1 takes one value, in %2").arg(p.name, p.unit.isEmpty() ? QStringLiteral("its units") : p.unit), request.command);
    if (!p.writable)
        return out.usage(QStringLiteral("%1 is read-only (access r in %2)").arg(p.name, map.name), request.command);
    RawValues written;
    QString error;
    if (!encodeParameter(p, request.arguments[1], &written, &error))
        return out.usage(error, request.command);
    if (!writeParameter(*parameterLine(), p, written, &error))
        return parameterFailure(QString(), error, request.command, Direction::Write);
    double value = 0;
    decodeParameter(p, p.type == ValueType::Bool && p.isRegisterBit() ? RawValues{static_cast<quint16>(written[0] << p.address.bit)} : written, &value);
    const QString text = withUnit(formatParameterValue(p, value), p.unit);
    if (out.json())
        out.object(parameterJson(p, port->getStationId(), value, written));
    else
        out.line(QStringLiteral("%1 = %2 written").arg(p.name, text));
    return ExitSuccess;
}
