#ifndef TEXT_UTILITIES_H
#define TEXT_UTILITIES_H

#include <QByteArray>
#include <QString>

#include "tools/drivertools_export.h"

// Leading letters (and underscores) of an address text: HR100 gives HR.
DRIVERTOOLS_EXPORT QByteArray ExtractPrefixSymbol(const QString& text);
DRIVERTOOLS_EXPORT QByteArray ExtractPrefixSymbol(const QByteArray& text);
// The number of an address text in base 8, 10 or 16 (-1 for any other base);
// 0 when the rest of the text from its first digit is not a whole number.
DRIVERTOOLS_EXPORT int ExtractPLCDeviceAddress(const QByteArray& text, int base);
DRIVERTOOLS_EXPORT int ExtractPLCDeviceAddress(const QString& text, int base);
// Value of at most length hexadecimal characters, with an optional 0x; 0 on any
// other character.
DRIVERTOOLS_EXPORT unsigned int HexToUInt(const char* text, int length);
// "(0X3a 0X30 0X31 ) : :01": every byte in hex, then the bytes as text up to the first zero.
DRIVERTOOLS_EXPORT QString dumpByteArray(const QByteArray& bytes);

#endif
