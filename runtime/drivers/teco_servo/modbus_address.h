#ifndef MODBUS_ADDRESS_H
#define MODBUS_ADDRESS_H

#include <QByteArray>
#include <QString>

// Splits a device address text such as HR100.3, FN6HR200 or HR200SW into the
// area letters (appended to prefix, case kept), the zero-based wire address
// ((number - 1) mod 65536, 0xFFFF when there is no number) and the bit after a
// point (mod 256; left untouched without a point). Never fails.
void ModbusRTUSlaveParseAddress(const QString& text, QByteArray& prefix, unsigned short& address,
                                unsigned char& bit);

// True when the area letters begin with literal, compared without regard to case
// over the literal's length; an empty prefix matches nothing.
bool prefixBeginsWith(const QByteArray& prefix, const char* literal);
// Holding-register areas (HR, FN6HR) read with function 3, every other area with 4.
bool isHoldingRegisterArea(const QByteArray& prefix);
// Coil areas (DO, FN5DO) read with function 1, every other bit area with 2.
bool isCoilArea(const QByteArray& prefix);
// "SW" anywhere in the address text, any case: double words go high word first.
bool selectsHighWordFirst(const QString& deviceAddress);

#endif
