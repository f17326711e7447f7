#ifndef PARAMETERS_PARAMETER_CODEC_H
#define PARAMETERS_PARAMETER_CODEC_H

#include <QString>
#include <QVector>

#include "parameters/parameter.h"

// A parameter's raw values as they are on the wire, in address order: one
// register, two registers (word order as SW says), a register holding a bit,
// or one coil or input (0 or 1).
using RawValues = QVector<quint16>;

// The engineering value of the raw values: the type's value times the scale;
// a bool is 0 or 1. False when there are not enough raw values.
bool decodeParameter(const Parameter& parameter, const RawValues& raw, double* value);
// The value as a person reads it: as many decimals as the scale has (a float
// with up to 7 significant digits), without the unit.
QString formatParameterValue(const Parameter& parameter, double value);
// Digits after the point of a scale as written (0.01: 2), so that values show
// as precisely as the scale makes them.
int scaleDecimals(const QString& scaleText, double scale);
// "3000 rpm", or "3000" without a unit.
QString withUnit(const QString& value, const QString& unit);

// A value typed in engineering units (decimal; for bool also true/false, on/off)
// to the values a write sends: the raw registers, or for a bool the bit (0/1).
// Refused with a reason when it is no number, not a multiple of the scale or
// outside what the type holds (the range given in engineering units).
bool encodeParameter(const Parameter& parameter, const QString& text, RawValues* written, QString* error);

// What a write sends for raw values read earlier: the raw values, but only the
// bit (0/1) of a bool on a register bit, whose other bits a write leaves alone.
RawValues writtenValues(const Parameter& parameter, const RawValues& raw);

#endif
