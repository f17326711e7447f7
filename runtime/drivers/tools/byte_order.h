#ifndef BYTE_ORDER_H
#define BYTE_ORDER_H

#include <QByteArray>

#include "tools/drivertools_export.h"

// Host order holds every 16/32-bit value low byte first; a Modbus register image
// holds each register high byte first. All conversions work byte by byte, so
// they are right on any processor.

// Register image -> host order. count registers (2*count bytes) / count 32-bit
// values (4*count bytes, every 4-byte unit reversed). count <= 0, a null
// pointer or a byte count beyond int gives an empty array.
DRIVERTOOLS_EXPORT QByteArray fromBigEndianUShortArray(const unsigned char* data, int count);
DRIVERTOOLS_EXPORT QByteArray fromBigEndianULongArray(const unsigned char* data, int count);
// Host order -> register image; pads with zero bytes to whole units first.
DRIVERTOOLS_EXPORT QByteArray toBigEndianUShortArray(const QByteArray& data);
DRIVERTOOLS_EXPORT QByteArray toBigEndianULongArray(const QByteArray& data);
// In place; whole units only, a trailing part unit is left as it is.
DRIVERTOOLS_EXPORT void toLittleEndianUShortArray(QByteArray& data);
DRIVERTOOLS_EXPORT void toLittleEndianULongArray(QByteArray& data);
DRIVERTOOLS_EXPORT void appendBigEndianUShort(QByteArray& data, unsigned short value);

// Host-order values, low byte first. Missing high bytes read 0 (a single byte
// is never sign-extended); bytes past the value's width are ignored.
DRIVERTOOLS_EXPORT int QByteArrayToInt(const QByteArray& data);
DRIVERTOOLS_EXPORT unsigned short QByteArrayToWord(const QByteArray& data);
DRIVERTOOLS_EXPORT short QByteArrayToShort(const QByteArray& data);
DRIVERTOOLS_EXPORT QByteArray wordToByteArray(unsigned short value);
DRIVERTOOLS_EXPORT QByteArray shortToByteArray(short value);
DRIVERTOOLS_EXPORT QByteArray intToByteArray(int value);

// Copies padded with zero bytes to whole 2/4/8-byte units, nothing swapped.
DRIVERTOOLS_EXPORT QByteArray To16bitsData(const QByteArray& data);
DRIVERTOOLS_EXPORT QByteArray To32bitsData(const QByteArray& data);
DRIVERTOOLS_EXPORT QByteArray To64bitsData(const QByteArray& data);
DRIVERTOOLS_EXPORT QByteArray reverseArray(const QByteArray& data);

// The processor's real byte order.
DRIVERTOOLS_EXPORT bool isBigEndian();

#endif
