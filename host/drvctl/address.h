#ifndef DRVCTL_ADDRESS_H
#define DRVCTL_ADDRESS_H

#include <QString>

// The areas the servo driver serves. The driver itself takes any letters and reads
// input registers for all it does not know, so drvctl lets only these through.
enum class Area { HR, IR, DO, DI, FN5DO, FN6HR };

// An address text taken apart: HR100, DO5, HR100.3, HR200SW, fn6hr7.
struct Address {
    QString text; // as written
    Area area = Area::HR;
    int number = 0; // 1..65536, as the user counts
    int bit = -1;   // 0..15 after a point, -1 without one
    bool highWordFirst = false; // SW
};

// Checks an address text before it reaches the driver and takes it apart: a known
// area, a number from 1 to 65536, a .bit (0..15) and SW only on register areas.
bool parseAddress(const QString& text, Address* address, QString* error);
inline bool checkAddress(const QString& text, QString* error)
{
    Address unused;
    return parseAddress(text, &unused, error);
}

QString areaName(Area area);
// DO, FN5DO and DI hold bits; HR, IR and FN6HR registers.
bool isBitArea(Area area);
// IR and DI cannot be written.
bool isReadOnly(Area area);

// The address of the register (or coil) `offset` after this one, with this bit and
// SW, in upper case: how a split command names its parts.
QString addressText(const Address& address, int offset, int bit);

// bit for bit areas and register bits, dword for SW addresses, else word.
int defaultDataType(const Address& address);
// The type a command asked for (--type), or -1 for the address's default.
inline int dataTypeOf(const Address& address, int asked)
{
    return asked >= 0 ? asked : defaultDataType(address);
}

#endif
