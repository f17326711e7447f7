#ifndef BIT_ARRAY_H
#define BIT_ARRAY_H

#include <QByteArray>

#include "tools/drivertools_export.h"

// Bit i of a bit array is bit (i mod 8) of byte (i div 8), least significant first.

// Single bits of a value; a bit number at or above the width leaves the value
// unchanged (getBit: false).
DRIVERTOOLS_EXPORT unsigned char setBit(unsigned char value, unsigned short bit);
DRIVERTOOLS_EXPORT unsigned short setBit(unsigned short value, unsigned short bit);
DRIVERTOOLS_EXPORT unsigned int setBit(unsigned int value, unsigned short bit);
DRIVERTOOLS_EXPORT unsigned char clearBit(unsigned char value, unsigned short bit);
DRIVERTOOLS_EXPORT unsigned short clearBit(unsigned short value, unsigned short bit);
DRIVERTOOLS_EXPORT unsigned int clearBit(unsigned int value, unsigned short bit);
DRIVERTOOLS_EXPORT bool getBit(unsigned char value, unsigned short bit);
DRIVERTOOLS_EXPORT bool getBit(unsigned short value, unsigned short bit);
DRIVERTOOLS_EXPORT bool getBit(unsigned int value, unsigned short bit);

// A negative index, or one past the array, reads false. The raw-pointer forms
// trust the caller for the upper bound.
DRIVERTOOLS_EXPORT bool getBit(const QByteArray& bits, int index);
DRIVERTOOLS_EXPORT bool getBit(const unsigned char* bits, int index);
// Grows the array by one zero byte when index lies in the byte just past the
// end; a negative index or one further out changes nothing.
DRIVERTOOLS_EXPORT void setBit(QByteArray& bits, int index, bool value);
DRIVERTOOLS_EXPORT void setBit(unsigned char* bits, int index, bool value);
// Bit destStart + k of dest := bit k of source, k increasing; source bits past
// its end read 0, and copying stops where dest can no longer grow.
DRIVERTOOLS_EXPORT void CopyBits(QByteArray& dest, QByteArray& source, int destStart, int count);
// count bytes of 0 or 1 for bits start .. start+count-1; empty for count <= 0.
DRIVERTOOLS_EXPORT QByteArray ExpandBitsToBytes(const QByteArray& bits, unsigned short start, int count);
// Resizes to ceil(count / 8) bytes, new bytes zero; count <= 0 empties the array.
DRIVERTOOLS_EXPORT void FitBitArray(QByteArray& bits, int count);
// Clears bits count mod 8 .. 7 of byte count div 8 (appending it as 0 when it
// is the byte just past the end); count <= 0 or a byte further out changes nothing.
DRIVERTOOLS_EXPORT void clearUnnecessaryBits(QByteArray& bits, int count);
// Shifts the array towards bit 0 by n bits in place; bytes vacated at the end
// hold the old first bytes. n <= 0 changes nothing; n div 8 >= length clears
// every byte (same length).
DRIVERTOOLS_EXPORT void RightShiftNBits(QByteArray& bits, int n);

// Brings elements first .. first+second-1 to the front, followed by 0 .. first-1,
// both in their order. Negative parts change nothing.
template <typename T>
DRIVERTOOLS_EXPORT void RotateArray(T* data, int first, int second);
extern template void RotateArray<unsigned char>(unsigned char* data, int first, int second);

// Units spanned by count bits beginning at bit startBit of the first unit, and
// bytes rounded up to whole units.
DRIVERTOOLS_EXPORT unsigned int NumOfBitsToNumOfBytes(unsigned int startBit, unsigned int count);
DRIVERTOOLS_EXPORT unsigned int NumOfBitsToNumOfWords(unsigned int startBit, unsigned int count);
DRIVERTOOLS_EXPORT unsigned int NumOfBitsToNumOfDWords(unsigned int startBit, unsigned int count);
DRIVERTOOLS_EXPORT unsigned int NumOfBytesToNumOfWords(unsigned int bytes);
DRIVERTOOLS_EXPORT unsigned int NumOfBytesToNumOfDWords(unsigned int bytes);
DRIVERTOOLS_EXPORT unsigned int NumOfBytesToNumOfQuadWords(unsigned int bytes);

#endif
