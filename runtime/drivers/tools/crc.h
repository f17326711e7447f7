#ifndef CRC_H
#define CRC_H

#include "tools/drivertools_export.h"

// Per-byte CRC updates that a driver folds over its frame itself. Each takes the
// running CRC and one byte (taken as 0..255) and returns the new CRC; the start
// value and any final exclusive or or byte swap are the caller's. C linkage, so
// the symbol names stay plain for drivers that look them up at run time.
//
//   update_crc_16      width 16, poly 0x8005 reflected  (ARC from 0, MODBUS from 0xFFFF)
//   update_crc_kermit  width 16, poly 0x1021 reflected
//   update_crc_dnp     width 16, poly 0x3D65 reflected  (complement the result)
//   update_crc_ccitt   width 16, poly 0x1021 most significant bit first
//   update_crc_32      width 32, poly 0x04C11DB7 reflected (start 0xFFFFFFFF, complement)
//   update_crc_sick    width 16, poly 0x8005 without table; also takes the byte
//                      before c (0 before the first byte)

#ifdef __cplusplus
extern "C" {
#endif

DRIVERTOOLS_EXPORT unsigned short update_crc_16(unsigned short crc, char c);
DRIVERTOOLS_EXPORT unsigned short update_crc_kermit(unsigned short crc, char c);
DRIVERTOOLS_EXPORT unsigned short update_crc_dnp(unsigned short crc, char c);
DRIVERTOOLS_EXPORT unsigned short update_crc_ccitt(unsigned short crc, char c);
DRIVERTOOLS_EXPORT unsigned int update_crc_32(unsigned int crc, char c);
DRIVERTOOLS_EXPORT unsigned short update_crc_sick(unsigned short crc, char c, char previous);

#ifdef __cplusplus
}
#endif

#endif
