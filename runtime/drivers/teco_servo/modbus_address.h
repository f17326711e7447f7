#ifndef MODBUS_ADDRESS_H
#define MODBUS_ADDRESS_H

#include <QByteArray>
#include <QString>

// The areas the driver tells apart. A prefix belongs to an area when it begins
// with the area's letters, compared without regard to case (so HRX is HR).
enum class AreaKind { HoldingRegisters, HoldingRegistersWithFN6, Coils, CoilsWithFN5, DiscreteInputs, Other };

AreaKind areaOf(const QByteArray& prefix);
// Holding registers (HR, FN6HR) are read with function 3, every other area with 4.
inline unsigned char registerReadFunction(AreaKind area)
{
    return area == AreaKind::HoldingRegisters || area == AreaKind::HoldingRegistersWithFN6 ? 3 : 4;
}
// Coils (DO, FN5DO) are read with function 1, every other bit area with 2.
inline unsigned char bitReadFunction(AreaKind area)
{
    return area == AreaKind::Coils || area == AreaKind::CoilsWithFN5 ? 1 : 2;
}

// The area letters of an address as written, with their area. Their text is
// made only when a message names them.
class AreaLetters {
public:
    AreaLetters(const QByteArray& prefix) : bytes(&prefix), kind_(areaOf(prefix)) {}
    AreaLetters(const QString& address, int length, AreaKind kind) : text(&address), length(length), kind_(kind) {}
    AreaKind kind() const { return kind_; }
    QByteArray toLatin1() const { return bytes ? *bytes : text->left(length).toLatin1(); }

private:
    const QByteArray* bytes = nullptr;
    const QString* text = nullptr;
    int length = 0;
    AreaKind kind_;
};

// A device address text such as HR100.3, FN6HR200 or HR200SW, parsed once: the
// area letters (the text's first prefixLength characters, case kept), the
// zero-based wire address ((number - 1) mod 65536, 0xFFFF when there is no
// number), the bit after a point (mod 256; as given without a point), the area
// and the word order of double words ("SW" anywhere, any case: high word first).
struct ParsedAddress {
    const QString& text;
    int prefixLength = 0;
    AreaKind area = AreaKind::Other;
    unsigned short address = 0xFFFF;
    unsigned char bit = 0;
    bool highWordFirst = false;

    AreaLetters letters() const { return AreaLetters(text, prefixLength, area); }
    bool is(AreaKind kind) const { return area == kind; }
};
ParsedAddress parseDeviceAddress(const QString& text, unsigned char bit = 0);

// The same parse with its parts handed out: the letters are appended to prefix,
// bit is left untouched without a point. Never fails.
void ModbusRTUSlaveParseAddress(const QString& text, QByteArray& prefix, unsigned short& address,
                                unsigned char& bit);

#endif
