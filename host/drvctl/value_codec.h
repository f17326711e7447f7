#ifndef DRVCTL_VALUE_CODEC_H
#define DRVCTL_VALUE_CODEC_H

#include <QByteArray>
#include <QJsonArray>
#include <QList>
#include <QString>
#include <QStringList>

#include "interface/communicator_command.h"

// Data kinds as the command line names them: bit byte word dword block bitblock.
bool dataTypeFromName(const QString& name, int* dataType);
QString dataTypeName(int dataType);

// Command-line values to the bytes the driver expects for a write: one byte per
// bit (0 or 1), bytes as they are, words and double words low byte first.
// Decimal or 0x hex; negative values in two's complement.
bool encodeValues(int dataType, const QStringList& values, QByteArray* data, QString* error);
// The bytes of a read back to count values (bits from a packed bit array).
QList<qint64> decodeValues(int dataType, const QByteArray& data, int count);

// Values as a line shows them: decimal, or with hex 0x and two digits per byte of
// the data type (bits stay 0/1).
QString valuesText(int dataType, const QList<qint64>& values, bool hex);
QJsonArray valuesJson(const QList<qint64>& values);

#endif
