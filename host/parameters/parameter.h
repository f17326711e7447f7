#ifndef PARAMETERS_PARAMETER_H
#define PARAMETERS_PARAMETER_H

#include <QString>

#include "parameters/parameter_address.h"

// What the registers of a parameter hold.
enum class ValueType { Int16, UInt16, Int32, UInt32, Float32, Bool };

bool valueTypeFromName(const QString& name, ValueType* type);
QString valueTypeName(ValueType type);
// The list of names for messages: "int16, uint16, int32, uint32, float32 or bool".
QString valueTypeNames();

// One row of a register map.
struct Parameter {
    QString name;
    QString addressText; // as the map writes it
    ParameterAddress address;
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
};

#endif
