#ifndef BIT_ARRAY_H
#define BIT_ARRAY_H

#include <QByteArray>

// Bit i of a bit array is bit (i mod 8) of byte (i div 8), least significant first.

unsigned char setBit(unsigned char value, unsigned short bit);
unsigned short setBit(unsigned short value, unsigned short bit);
unsigned int setBit(unsigned int value, unsigned short bit);
unsigned char clearBit(unsigned char value, unsigned short bit);
unsigned short clearBit(unsigned short value, unsigned short bit);
unsigned int clearBit(unsigned int value, unsigned short bit);
bool getBit(unsigned char value, unsigned short bit);
bool getBit(unsigned short value, unsigned short bit);
bool getBit(unsigned int value, unsigned short bit);

bool getBit(const QByteArray& bits, int index);
bool getBit(const unsigned char* bits, int index);
void setBit(QByteArray& bits, int index, bool value);
void setBit(unsigned char* bits, int index, bool value);
void CopyBits(QByteArray& dest, QByteArray& source, int destStart, int count);
QByteArray ExpandBitsToBytes(const QByteArray& bits, unsigned short start, int count);
void FitBitArray(QByteArray& bits, int count);
void clearUnnecessaryBits(QByteArray& bits, int count);
void RightShiftNBits(QByteArray& bits, int n);

template <typename T>
void RotateArray(T* data, int first, int second);
extern template void RotateArray<unsigned char>(unsigned char* data, int first, int second);

unsigned int NumOfBitsToNumOfBytes(unsigned int startBit, unsigned int count);
unsigned int NumOfBitsToNumOfWords(unsigned int startBit, unsigned int count);
unsigned int NumOfBitsToNumOfDWords(unsigned int startBit, unsigned int count);
unsigned int NumOfBytesToNumOfWords(unsigned int bytes);
unsigned int NumOfBytesToNumOfDWords(unsigned int bytes);
unsigned int NumOfBytesToNumOfQuadWords(unsigned int bytes);

#endif
