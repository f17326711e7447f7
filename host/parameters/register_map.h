#ifndef PARAMETERS_REGISTER_MAP_H
#define PARAMETERS_REGISTER_MAP_H

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <vector>

#include "parameters/parameter.h"

// A servo's parameters by name, loaded from a CSV file that people edit in a
// spreadsheet: a header row (name,address,type,scale,unit,access,description;
// name, address and type are required, the others default to 1, no unit, r and
// nothing) and a row per parameter; '#' starts a comment line.
struct RegisterMap {
    QString name;     // the file's name, e.g. teco_servo.csv
    QString path;     // as given
    QString checksum; // "sha256:" and the hex digest of the file's bytes
    std::vector<Parameter> parameters; // in file order

    const Parameter* find(const QString& name) const;
};

// The map in `content`; false with every fault, each as FILE:LINE:COLUMN: text.
// A map with any fault is refused as a whole.
bool parseRegisterMap(const QByteArray& content, const QString& fileName, RegisterMap* map, QStringList* faults);
// The same for a file; a file that cannot be read is one fault.
bool loadRegisterMap(const QString& path, RegisterMap* map, QStringList* faults);
// "sha256:<hex>" of a map's bytes: what a parameter set records of its map.
QString mapChecksum(const QByteArray& content);

#endif
