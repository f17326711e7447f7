#include "drvctl/value_codec.h"

#include <QRegularExpression>

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

bool checkAddress(const QString& address, QString* error)
{
    static const QRegularExpression shape(QStringLiteral("^(FN\\d[A-Z]+|[A-Z]+)(\\d+)(?:\\.(\\d+))?(SW)?$"),
                                          QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch m = shape.match(address);
    if (!m.hasMatch()) {
        *error = QStringLiteral("bad address: %1 (area letters and a number, e.g. HR100, DO5, HR100.3, HR200SW)")
                     .arg(address);
        return false;
    }
    bool ok = false;
    const qulonglong number = m.captured(2).toULongLong(&ok);
    if (!ok || number < 1 || number > 65536) {
        *error = QStringLiteral("bad address: %1 (numbers run from 1 to 65536)").arg(address);
        return false;
    }
    if (m.capturedLength(3) > 0 && (m.captured(3).toUInt(&ok) > 255 || !ok)) {
        *error = QStringLiteral("bad address: %1 (bit numbers run from 0 to 255)").arg(address);
        return false;
    }
    return true;
}

int defaultDataType(const QString& address)
{
    const QString upper = address.toUpper();
    if (upper.startsWith(QLatin1String("DO")) || upper.startsWith(QLatin1String("FN5DO"))
        || upper.startsWith(QLatin1String("DI")) || upper.contains(QLatin1Char('.')))
        return Bit;
    if (upper.endsWith(QLatin1String("SW")))
        return DoubleWord;
    return Word;
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
