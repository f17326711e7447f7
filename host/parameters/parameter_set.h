#ifndef PARAMETERS_PARAMETER_SET_H
#define PARAMETERS_PARAMETER_SET_H

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QVector>

#include "parameters/parameter_codec.h"

// One parameter of a saved set: enough of its map row to compare and show it
// without the map, its raw values as read and the scaled value.
struct SetEntry {
    QString name;
    QString address;
    ValueType type = ValueType::UInt16;
    double scale = 1;
    QString unit;
    bool writable = false;
    RawValues raw;
    double value = 0;

    // The map row it stands for (address parsed; a bad one leaves it empty).
    Parameter parameter() const;
    // "3000 rpm"
    QString valueText() const;
};

SetEntry entryOf(const Parameter& parameter, const RawValues& raw);

// A servo's parameters as a backup saved them (a JSON file).
struct ParameterSet {
    QString mapName;
    QString mapPath;
    QString mapChecksum;
    int station = 0;
    QDateTime time;
    QVector<SetEntry> entries; // in map order

    const SetEntry* find(const QString& name) const;
};

QByteArray parameterSetJson(const ParameterSet& set);
// False with a reason naming the file when the bytes are no parameter set.
bool parseParameterSet(const QByteArray& json, const QString& fileName, ParameterSet* set, QString* error);
bool loadParameterSet(const QString& path, ParameterSet* set, QString* error);
bool saveParameterSet(const QString& path, const ParameterSet& set, QString* error);

#endif
