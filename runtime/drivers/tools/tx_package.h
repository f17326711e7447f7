#ifndef TX_PACKAGE_H
#define TX_PACKAGE_H

#include <QByteArray>
#include <QList>
#include <QString>

#include "tools/drivertools_export.h"

// A frame built, or taken apart, section by section. A section table entry of 0 or
// more is the section's size; an entry -k gives the size as the 32-bit value, low
// byte first, in the first four bytes of section k.
//
// Variable sizes are resolved everywhere a size is used. A reference to a section
// number that is not valid, to a section holding fewer than four bytes, or one whose
// size depends on itself (also through other sections' references) resolves to 0;
// so does a negative value read from the bytes.
class DRIVERTOOLS_EXPORT TxPackage {
public:
    // Replace the bytes; the section table is left as it is.
    bool setData(const QByteArray& bytes);
    // False, changing nothing, for a negative length or a null pointer with a length.
    bool setData(const char* bytes, int length);
    // Writable bytes, valid until the package changes.
    char* data();
    QByteArray byteArrayData() const;
    int totalSize() const;
    void clearAll();
    // Replaces the section table and resizes the bytes to the sum of the fixed
    // entries (variable entries add nothing); kept bytes keep their values, added
    // bytes are 0. False, changing nothing, when the sum exceeds what the bytes can hold.
    bool setSectionSize(const QList<int>& sizes);

    // Each adds one section at the end.
    bool appendByte(unsigned char value);
    bool appendWord(unsigned short value);  // low byte first
    bool appendDWord(unsigned int value);   // low byte first
    bool appendString(const QString& text); // one 8-bit character per character
    bool appendSection(const QByteArray& bytes);
    bool appendByte2Ascii(unsigned char value); // two upper-case hex digits
    // Check values over all bytes so far: LRC the sum modulo 256, FCS the exclusive or.
    bool appendLRCByte();
    bool appendLRCAscii();
    bool appendFCSAscii(int reserved = 0); // reserved: kept for callers, not used

    int numberOfSections() const;
    bool validSectionNumber(int section) const;
    // -1 for a section number that is not valid.
    int sectionStartIndex(int section) const;
    // 0 for a section number that is not valid.
    int sectionSize(int section) const;
    // The section's bytes, cut at the end of the package; empty for an invalid number.
    QByteArray dataAt(int section) const;
    // The first byte, 0 to 255; 0 for an empty array.
    int arrayToInt(const QByteArray& bytes) const;
    // Exclusive or of the bytes but the last `excluded` (a negative count is 0).
    static int calculateFCS(TxPackage* package, int excluded);
    // "(0X3a 0X30 0X31 ) : :01"
    QString toString() const;

private:
    QByteArray packageData;
    QList<int> sectionSizes;
};

// A section table without sections, for setSectionSize.
DRIVERTOOLS_EXPORT QList<int> EmptyPackageSizeList();

#endif
