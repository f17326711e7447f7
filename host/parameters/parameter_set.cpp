#include "parameters/parameter_set.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

namespace {

const char* const FormatName = "drvctl parameter set 1";

QString key(const char* name)
{
    return QLatin1String(name);
}

QJsonObject entryJson(const SetEntry& e)
{
    QJsonArray raw;
    for (quint16 r : e.raw)
        raw.append(r);
    return QJsonObject{{key("name"), e.name},      {key("address"), e.address},
                       {key("type"), valueTypeName(e.type)}, {key("scale"), e.scale},
                       {key("unit"), e.unit},      {key("access"), e.writable ? QStringLiteral("rw") : QStringLiteral("r")},
                       {key("raw"), raw},          {key("value"), e.value}};
}

bool readEntry(const QJsonObject& o, SetEntry* e)
{
    e->name = o.value(key("name")).toString();
    e->address = o.value(key("address")).toString();
    e->scale = o.value(key("scale")).toDouble(1);
    e->unit = o.value(key("unit")).toString();
    e->writable = o.value(key("access")).toString() == QLatin1String("rw");
    e->value = o.value(key("value")).toDouble();
    if (e->name.isEmpty() || !valueTypeFromName(o.value(key("type")).toString(), &e->type) || !o.value(key("raw")).isArray())
        return false;
    for (const QJsonValue& r : o.value(key("raw")).toArray()) {
        const int v = r.toInt(-1);
        if (v < 0 || v > 0xFFFF)
            return false;
        e->raw << static_cast<quint16>(v);
    }
    return e->parameter().width() == e->raw.size() || (e->type == ValueType::Bool && e->raw.size() == 1);
}

} // namespace

Parameter SetEntry::parameter() const
{
    Parameter p;
    p.name = name;
    p.addressText = address;
    QString ignored; // a set's addresses were a map's, checked when it was loaded
    parseAddress(address, &p.address, &ignored);
    p.type = type;
    p.scale = scale;
    p.decimals = scaleDecimals(QString::number(scale, 'g', 10), scale);
    p.unit = unit;
    p.writable = writable;
    return p;
}

QString SetEntry::valueText() const
{
    return withUnit(formatParameterValue(parameter(), value), unit);
}

SetEntry entryOf(const Parameter& p, const RawValues& raw)
{
    SetEntry e;
    e.name = p.name;
    e.address = p.addressText;
    e.type = p.type;
    e.scale = p.scale;
    e.unit = p.unit;
    e.writable = p.writable;
    e.raw = raw;
    decodeParameter(p, raw, &e.value);
    return e;
}

const SetEntry* ParameterSet::find(const QString& name) const
{
    for (const SetEntry& e : entries)
        if (e.name == name)
            return &e;
    return nullptr;
}

QByteArray parameterSetJson(const ParameterSet& set)
{
    QJsonArray parameters;
    for (const SetEntry& e : set.entries)
        parameters.append(entryJson(e));
    const QJsonObject root{{key("format"), QLatin1String(FormatName)},
                           {key("map"), set.mapName},
                           {key("mapPath"), set.mapPath},
                           {key("mapChecksum"), set.mapChecksum},
                           {key("station"), set.station},
                           {key("time"), set.time.toString(Qt::ISODateWithMs)},
                           {key("parameters"), parameters}};
    return QJsonDocument(root).toJson(QJsonDocument::Indented);
}

bool parseParameterSet(const QByteArray& json, const QString& fileName, ParameterSet* set, QString* error)
{
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(json, &parseError);
    const QJsonObject root = document.object();
    if (document.isNull() || root.value(key("format")).toString() != QLatin1String(FormatName)) {
        *error = QStringLiteral("%1: not a parameter set of drvctl backup%2")
                     .arg(fileName, document.isNull() ? QStringLiteral(" (%1)").arg(parseError.errorString()) : QString());
        return false;
    }
    ParameterSet result;
    result.mapName = root.value(key("map")).toString();
    result.mapPath = root.value(key("mapPath")).toString();
    result.mapChecksum = root.value(key("mapChecksum")).toString();
    result.station = root.value(key("station")).toInt();
    result.time = QDateTime::fromString(root.value(key("time")).toString(), Qt::ISODateWithMs);
    const QJsonArray parameters = root.value(key("parameters")).toArray();
    for (int i = 0; i < parameters.size(); ++i) {
        SetEntry e;
        if (!readEntry(parameters[i].toObject(), &e)) {
            *error = QStringLiteral("%1: parameter %2 of the set is damaged").arg(fileName).arg(i + 1);
            return false;
        }
        result.entries << e;
    }
    *set = result;
    return true;
}

bool loadParameterSet(const QString& path, ParameterSet* set, QString* error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("%1: %2").arg(path, file.errorString());
        return false;
    }
    return parseParameterSet(file.readAll(), path, set, error);
}

bool saveParameterSet(const QString& path, const ParameterSet& set, QString* error)
{
    // Written whole or not at all: a backup cut short must not overwrite a good one.
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(parameterSetJson(set)) < 0 || !file.commit()) {
        *error = QStringLiteral("%1: %2").arg(path, file.errorString());
        return false;
    }
    return true;
}
