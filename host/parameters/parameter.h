#ifndef PARAMETERS_PARAMETER_H
#define PARAMETERS_PARAMETER_H

#include <QString>

#include "addresses/address.h"

// What the registers of a parameter hold.
enum class ValueType { Int16, UInt16, Int32, UInt32, Float32, Bool };

bool valueTypeFromName(const QString& name, ValueType* type);
QString valueTypeName(ValueType type);
// The list of names for messages: "int16, uint16, int32, uint32, float32 or bool".
QString valueTypeNames();
// The data type a command that carries a whole parameter of this type names: bit
// for bool, dword for the 32-bit types, word else.
int commandDataType(ValueType type);

// One row of a register map.
struct Parameter {
    QString name;
    QString addressText; // as the map writes it
    Address address;     // taken apart by the rule of every address text (addresses/address.h)
    ValueType type = ValueType::UInt16;
    double scale = 1;  // engineering value = raw value * scale
    int decimals = 0;  // shown after the point: as many as the scale has
    QString unit;
    bool writable = false; // access rw
    QString description;
    int line = 0; // in the map file

    // Registers (or coils, or inputs) it occupies: 2 for 32-bit types, else 1.
    int width() const { return type == ValueType::Int32 || type == ValueType::UInt32 || type == ValueType::Float32 ? 2 : 1; }
    QString accessText() const { return writable ? QStringLiteral("rw") : QStringLiteral("r"); }
    bool isRegisterBit() const { return address.bit >= 0; }
    // The register (or coil, or input) `offset` after its first as a plain word or
    // bit command names it: its area and number, no bit, no SW.
    QString plainText(int offset = 0) const { return areaName(address.area) + QString::number(address.number + offset); }
};

#endif
