#ifndef DATA_PACK_H
#define DATA_PACK_H

#include <cstdarg>

#include <QByteArray>

#include "tools/drivertools_export.h"

// A format is a run of items: a letter, or a decimal count followed by a letter.
//   C c          1 byte
//   S s v        2 bytes, low byte first       n   2 bytes, high byte first
//   I L V i l    4 bytes, low byte first       N   4 bytes, high byte first
//   x            a zero byte (unpacking: skip) X   pass over a byte (unpacking: skip)
// A single letter takes an int value (packing) or a pointer to an unsigned char,
// unsigned short or unsigned int (unpacking). A counted item (C c v n V N x X only)
// takes a pointer to an array of count elements that are copied as they lie in
// memory, the bytes of each n and N element reversed; counted x and X take nothing.
// A count that makes the packed length overflow an int, and a null pointer
// argument, are errors of their item.

// Writes into buffer, which the caller guarantees is large enough. Returns the bytes
// by which the position advanced; 0 for an empty format or an unknown character;
// -1 for a faulty item. Bytes written before an error stay written.
DRIVERTOOLS_EXPORT int DataPack(unsigned char* buffer, const char* format, ...);
DRIVERTOOLS_EXPORT int VDataPack(unsigned char* buffer, const char* format, va_list args);

// The packed bytes; empty for an empty format and on any error. A single X adds a
// zero byte; counted x and X are errors here.
DRIVERTOOLS_EXPORT QByteArray ByteArrayPack(const char* format, ...);
DRIVERTOOLS_EXPORT QByteArray VByteArrayPack(const char* format, va_list args);

// Reads from data, which the caller guarantees holds everything the format covers.
// Returns the bytes consumed; 0 for an empty format; -1 on any error.
DRIVERTOOLS_EXPORT int DataUnpack(const unsigned char* data, const char* format, ...);
DRIVERTOOLS_EXPORT int VDataUnpack(const unsigned char* data, const char* format, va_list args);

#endif
