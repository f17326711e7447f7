#include "parameters/parameter_codec.h"
#include "interface/communicator_command.h"

#include <QLocale>
#include <cmath>
#include <cstring>
#include <limits>

namespace {

struct TypeName {
    ValueType type;
    const char* name;
};

const TypeName TypeNames[] = {
    {ValueType::Int16, "int16"},   {ValueType::UInt16, "uint16"},   {ValueType::Int32, "int32"},
    {ValueType::UInt32, "uint32"}, {ValueType::Float32, "float32"}, {ValueType::Bool, "bool"},
};

// The 32 bits of a register pair, as SW orders them.
quint32 doubleWord(const Parameter& p, const RawValues& raw)
{
    const quint32 first = raw[0], second = raw[1];
    return p.address.highWordFirst ? (first << 16) | second : (second << 16) | first;
}

RawValues registerPair(const Parameter& p, quint32 bits)
{
    const auto high = static_cast<quint16>(bits >> 16), low = static_cast<quint16>(bits & 0xFFFF);
    return p.address.highWordFirst ? RawValues{high, low} : RawValues{low, high};
}

float floatOf(quint32 bits)
{
    float f = 0;
    std::memcpy(&f, &bits, sizeof f);
    return f;
}

quint32 bitsOf(float f)
{
    quint32 bits = 0;
    std::memcpy(&bits, &f, sizeof bits);
    return bits;
}

struct IntegerRange {
    double low;
    double high;
};

IntegerRange rangeOf(ValueType type)
{
    switch (type) {
    case ValueType::Int16: return {-32768.0, 32767.0};
    case ValueType::UInt16: return {0.0, 65535.0};
    case ValueType::Int32: return {-2147483648.0, 2147483647.0};
    case ValueType::UInt32: return {0.0, 4294967295.0};
    case ValueType::Float32: return {-double(std::numeric_limits<float>::max()), double(std::numeric_limits<float>::max())};
    case ValueType::Bool: return {0.0, 1.0};
    }
    return {0.0, 0.0};
}

bool parseBool(const QString& text, double* value)
{
    const QString t = text.trimmed().toLower();
    if (t == QLatin1String("1") || t == QLatin1String("true") || t == QLatin1String("on")) {
        *value = 1;
        return true;
    }
    if (t == QLatin1String("0") || t == QLatin1String("false") || t == QLatin1String("off")) {
        *value = 0;
        return true;
    }
    return false;
}

} // namespace

bool valueTypeFromName(const QString& name, ValueType* type)
{
    for (const TypeName& t : TypeNames) {
        if (name == QLatin1String(t.name)) {
            *type = t.type;
            return true;
        }
    }
    return false;
}

QString valueTypeName(ValueType type)
{
    for (const TypeName& t : TypeNames)
        if (t.type == type)
            return QLatin1String(t.name);
    return QString();
}

QString valueTypeNames()
{
    return QStringLiteral("int16, uint16, int32, uint32, float32 or bool");
}

int commandDataType(ValueType type)
{
    switch (type) {
    case ValueType::Bool: return Bit;
    case ValueType::Int32:
    case ValueType::UInt32:
    case ValueType::Float32: return DoubleWord;
    case ValueType::Int16:
    case ValueType::UInt16: return Word;
    }
    return Word;
}

bool decodeParameter(const Parameter& p, const RawValues& raw, double* value)
{
    if (raw.size() < p.width())
        return false;
    switch (p.type) {
    case ValueType::Int16: *value = static_cast<qint16>(raw[0]) * p.scale; break;
    case ValueType::UInt16: *value = raw[0] * p.scale; break;
    case ValueType::Int32: *value = static_cast<qint32>(doubleWord(p, raw)) * p.scale; break;
    case ValueType::UInt32: *value = doubleWord(p, raw) * p.scale; break;
    case ValueType::Float32: *value = double(floatOf(doubleWord(p, raw))) * p.scale; break;
    case ValueType::Bool: *value = p.isRegisterBit() ? (raw[0] >> p.address.bit) & 1 : raw[0] != 0; break;
    }
    return true;
}

QString formatParameterValue(const Parameter& p, double value)
{
    if (p.type == ValueType::Float32)
        return QString::number(value, 'g', 7);
    const QString text = QString::number(value, 'f', p.decimals);
    // -0.0 from a negative scale of 0 reads as 0.
    return value == 0 ? QString::number(0.0, 'f', p.decimals) : text;
}

int scaleDecimals(const QString& scaleText, double scale)
{
    if (scaleText.contains(QLatin1Char('e'), Qt::CaseInsensitive))
        return std::max(0, static_cast<int>(-std::floor(std::log10(std::fabs(scale)))));
    const int point = scaleText.indexOf(QLatin1Char('.'));
    return point < 0 ? 0 : scaleText.size() - point - 1;
}

QString withUnit(const QString& value, const QString& unit)
{
    return unit.isEmpty() ? value : value + QLatin1Char(' ') + unit;
}

bool encodeParameter(const Parameter& p, const QString& text, RawValues* written, QString* error)
{
    double value = 0;
    if (p.type == ValueType::Bool) {
        if (!parseBool(text, &value)) {
            *error = QStringLiteral("bad value for %1: %2 (0 or 1, true or false, on or off)").arg(p.name, text);
            return false;
        }
        *written = RawValues{static_cast<quint16>(value)};
        return true;
    }
    bool ok = false;
    value = QLocale::c().toDouble(text.trimmed(), &ok);
    if (!ok || !std::isfinite(value)) {
        *error = QStringLiteral("bad value for %1: %2 (a decimal number in %3)")
                     .arg(p.name, text, p.unit.isEmpty() ? QStringLiteral("the parameter's units") : p.unit);
        return false;
    }
    const double raw = value / p.scale;
    const IntegerRange range = rangeOf(p.type);
    if (raw < range.low || raw > range.high) {
        const double a = range.low * p.scale, b = range.high * p.scale;
        *error = QStringLiteral("%1 = %2 is outside what its %3 holds: %4 to %5")
                     .arg(p.name, withUnit(text.trimmed(), p.unit), valueTypeName(p.type),
                          formatParameterValue(p, std::min(a, b)), withUnit(formatParameterValue(p, std::max(a, b)), p.unit));
        return false;
    }
    if (p.type == ValueType::Float32) {
        *written = registerPair(p, bitsOf(static_cast<float>(raw)));
        return true;
    }
    const double whole = std::round(raw);
    if (std::fabs(raw - whole) > 1e-6 * std::max(1.0, std::fabs(raw))) {
        *error = QStringLiteral("%1 = %2 is no multiple of its scale %3")
                     .arg(p.name, withUnit(text.trimmed(), p.unit), QString::number(p.scale, 'g', 10));
        return false;
    }
    const auto bits = static_cast<quint32>(static_cast<qint64>(whole));
    *written = p.width() == 2 ? registerPair(p, bits) : RawValues{static_cast<quint16>(bits & 0xFFFF)};
    return true;
}

RawValues writtenValues(const Parameter& p, const RawValues& raw)
{
    if (p.type == ValueType::Bool && p.isRegisterBit() && !raw.isEmpty())
        return RawValues{static_cast<quint16>((raw[0] >> p.address.bit) & 1)};
    return raw;
}
