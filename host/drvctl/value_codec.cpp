#include "drvctl/value_codec.h"

namespace {

struct TypeName {
    int dataType;
    const char* name;
};

const TypeName TypeNames[] = {
    {Bit, "bit"}, {Byte, "byte"}, {Word, "word"}, {DoubleWord, "dword"}, {Block, "block"}, {BitBlock, "bitblock"},
};

struct Range {
    qint64 low;
    qint64 high;
    int bytes;
};

Range rangeOf(int dataType)
{
    switch (dataType) {
    case Bit:
    case BitBlock: return {0, 1, 1};
    case Byte:
    case Block: return {-128, 255, 1};
    case DoubleWord: return {-2147483648LL, 4294967295LL, 4};
    default: return {-32768, 65535, 2};
    }
}

bool parseNumber(const QString& text, qint64* value)
{
    bool ok = false;
    const QString t = text.trimmed();
    if (t.startsWith(QLatin1String("0x"), Qt::CaseInsensitive) && t.size() > 2) {
        const qulonglong v = t.mid(2).toULongLong(&ok, 16);
        ok = ok && v <= 0xFFFFFFFFULL;
        *value = static_cast<qint64>(v);
    } else {
        // Base 10 only: toLongLong(..., 0) would read a leading 0 as octal.
        *value = t.toLongLong(&ok, 10);
    }
    return ok;
}

} // namespace

bool dataTypeFromName(const QString& name, int* dataType)
{
    for (const TypeName& t : TypeNames) {
        if (name.compare(QLatin1String(t.name), Qt::CaseInsensitive) == 0) {
            *dataType = t.dataType;
            return true;
        }
    }
    return false;
}

QString dataTypeName(int dataType)
{
    for (const TypeName& t : TypeNames)
        if (t.dataType == dataType)
            return QLatin1String(t.name);
    return QStringLiteral("type %1").arg(dataType);
}

bool encodeValues(int dataType, const QStringList& values, QByteArray* data, QString* error)
{
    const Range range = rangeOf(dataType);
    QByteArray bytes;
    for (const QString& text : values) {
        qint64 value = 0;
        if (!parseNumber(text, &value)) {
            *error = QStringLiteral("bad value: %1 (decimal or 0x hex)").arg(text);
            return false;
        }
        if (value < range.low || value > range.high) {
            *error = QStringLiteral("bad value for %1: %2 (%3 to %4)")
                         .arg(dataTypeName(dataType), text).arg(range.low).arg(range.high);
            return false;
        }
        const quint64 bits = static_cast<quint64>(value);
        for (int i = 0; i < range.bytes; ++i)
            bytes.append(static_cast<char>((bits >> (8 * i)) & 0xFF));
    }
    *data = bytes;
    return true;
}

QList<qint64> decodeValues(int dataType, const QByteArray& data, int count)
{
    QList<qint64> values;
    const auto byteAt = [&data](int i) { return static_cast<quint64>(static_cast<unsigned char>(data.at(i))); };
    const int width = rangeOf(dataType).bytes;
    for (int k = 0; k < count; ++k) {
        if (dataType == Bit || dataType == BitBlock) {
            if (k / 8 >= data.size())
                break;
            values << static_cast<qint64>((byteAt(k / 8) >> (k % 8)) & 1);
            continue;
        }
        if ((k + 1) * width > data.size())
            break;
        quint64 value = 0;
        for (int i = 0; i < width; ++i)
            value |= byteAt(k * width + i) << (8 * i);
        values << static_cast<qint64>(value);
    }
    return values;
}

QString valuesText(int dataType, const QList<qint64>& values, bool hex)
{
    const int digits = !hex || dataType == Bit || dataType == BitBlock ? 0 : 2 * rangeOf(dataType).bytes;
    QString text;
    text.reserve(values.size() * (digits > 0 ? digits + 3 : 7));
    for (qint64 v : values) {
        if (!text.isEmpty())
            text += QLatin1Char(' ');
        if (digits > 0)
            text += QLatin1String("0x") + QString::number(static_cast<quint64>(v), 16).toUpper().rightJustified(digits, QLatin1Char('0'));
        else
            text += QString::number(v);
    }
    return text;
}

QJsonArray valuesJson(const QList<qint64>& values)
{
    QJsonArray array;
    for (qint64 v : values)
        array.append(static_cast<double>(v));
    return array;
}
