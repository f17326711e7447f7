#include "tools/byte_order.h"

#include <QSysInfo>

#include <algorithm>
#include <climits>

namespace {

// Reverses the bytes inside every whole unit; units keep their places and a
// trailing part unit is left alone.
void reverseWholeUnits(QByteArray& data, int unit)
{
    const int whole = data.size() - data.size() % unit;
    if (whole <= 0)
        return;
    char* bytes = data.data();
    for (int offset = 0; offset < whole; offset += unit)
        std::reverse(bytes + offset, bytes + offset + unit);
}

// Appends zero bytes up to the next multiple of unit.
QByteArray paddedToUnit(const QByteArray& data, int unit)
{
    QByteArray result(data);
    const int rest = result.size() % unit;
    if (rest != 0)
        result.append(QByteArray(unit - rest, '\0'));
    return result;
}

// count units of data with the bytes of each reversed, written straight into
// a result made at its final size: drivers convert every reply with it.
template <int Unit>
QByteArray reversedUnitsOf(const unsigned char* data, int count)
{
    const int size = count * Unit;
    QByteArray result(size, Qt::Uninitialized);
    char* out = result.data();
    for (int offset = 0; offset < size; offset += Unit) {
        for (int b = 0; b < Unit; ++b)
            out[offset + b] = static_cast<char>(data[offset + Unit - 1 - b]);
    }
    return result;
}

template <int Unit>
QByteArray reversedUnits(const unsigned char* data, int count)
{
    if (data == nullptr || count <= 0 || count > INT_MAX / Unit)
        return QByteArray();
    return reversedUnitsOf<Unit>(data, count);
}

unsigned int byteAt(const QByteArray& data, int index)
{
    return static_cast<unsigned char>(data.at(index));
}

QByteArray littleEndianBytes(unsigned int value, int width)
{
    QByteArray result(width, '\0');
    for (int i = 0; i < width; ++i)
        result[i] = static_cast<char>((value >> (8 * i)) & 0xFFu);
    return result;
}

} // namespace

QByteArray fromBigEndianUShortArray(const unsigned char* data, int count)
{
    return reversedUnits<2>(data, count);
}

QByteArray fromBigEndianULongArray(const unsigned char* data, int count)
{
    return reversedUnits<4>(data, count);
}

QByteArray toBigEndianUShortArray(const QByteArray& data)
{
    QByteArray result = paddedToUnit(data, 2);
    reverseWholeUnits(result, 2);
    return result;
}

QByteArray toBigEndianULongArray(const QByteArray& data)
{
    QByteArray result = paddedToUnit(data, 4);
    reverseWholeUnits(result, 4);
    return result;
}

void toLittleEndianUShortArray(QByteArray& data)
{
    reverseWholeUnits(data, 2);
}

void toLittleEndianULongArray(QByteArray& data)
{
    reverseWholeUnits(data, 4);
}

void appendBigEndianUShort(QByteArray& data, unsigned short value)
{
    data.append(static_cast<char>((value >> 8) & 0xFFu));
    data.append(static_cast<char>(value & 0xFFu));
}

int QByteArrayToInt(const QByteArray& data)
{
    const int used = std::min(data.size(), 4);
    unsigned int value = 0;
    for (int i = 0; i < used; ++i)
        value |= byteAt(data, i) << (8 * i);
    return static_cast<int>(value);
}

unsigned short QByteArrayToWord(const QByteArray& data)
{
    if (data.isEmpty())
        return 0;
    if (data.size() == 1)
        return static_cast<unsigned short>(byteAt(data, 0));
    return static_cast<unsigned short>(byteAt(data, 0) | (byteAt(data, 1) << 8));
}

short QByteArrayToShort(const QByteArray& data)
{
    // A single byte is not sign-extended: FF alone is 255.
    return static_cast<short>(QByteArrayToWord(data));
}

QByteArray wordToByteArray(unsigned short value)
{
    return littleEndianBytes(value, 2);
}

QByteArray shortToByteArray(short value)
{
    return littleEndianBytes(static_cast<unsigned short>(value), 2);
}

QByteArray intToByteArray(int value)
{
    return littleEndianBytes(static_cast<unsigned int>(value), 4);
}

QByteArray To16bitsData(const QByteArray& data)
{
    return paddedToUnit(data, 2);
}

QByteArray To32bitsData(const QByteArray& data)
{
    return paddedToUnit(data, 4);
}

QByteArray To64bitsData(const QByteArray& data)
{
    return paddedToUnit(data, 8);
}

QByteArray reverseArray(const QByteArray& data)
{
    QByteArray result(data);
    std::reverse(result.begin(), result.end());
    return result;
}

bool isBigEndian()
{
    return QSysInfo::ByteOrder == QSysInfo::BigEndian;
}
