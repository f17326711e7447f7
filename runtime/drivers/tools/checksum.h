#ifndef CHECKSUM_H
#define CHECKSUM_H

#include "tools/drivertools_export.h"

// Block checks over length bytes at data; a length below 1 or a null buffer
// gives 0 without reading anything.

// Sum of the bytes modulo 256.
DRIVERTOOLS_EXPORT unsigned char UInt8CheckSum(const unsigned char* data, int length);
// Sum of the bytes modulo 65536.
DRIVERTOOLS_EXPORT unsigned short UShortCheckSum(const unsigned char* data, int length);
// Exclusive or of the bytes.
DRIVERTOOLS_EXPORT unsigned char XorUInt8CheckSum(const unsigned char* data, int length);
// CRC-16/ARC: start 0, update_crc_16 over every byte, no final exclusive or.
DRIVERTOOLS_EXPORT unsigned short CRC16Calculate(const unsigned char* data, int length);

#endif
