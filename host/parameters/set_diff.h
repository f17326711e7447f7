#ifndef PARAMETERS_SET_DIFF_H
#define PARAMETERS_SET_DIFF_H

#include <QJsonObject>
#include <QString>
#include <vector>

#include "parameters/parameter_set.h"

// A parameter whose value differs between two sets, or that one of them lacks.
struct Difference {
    QString name;
    const SetEntry* left = nullptr; // nullptr: not in that set
    const SetEntry* right = nullptr;
};

struct SetComparison {
    int compared = 0; // parameters looked at
    std::vector<Difference> differences;
};

// By name, in the left set's order and then the right's own: the writable
// parameters (what a restore writes), with `includeReadOnly` every one. Values
// compare by their raw registers (a bool by its bit); sets of different maps
// by the value and unit.
SetComparison compareSets(const ParameterSet& left, const ParameterSet& right, bool includeReadOnly);

// A table with a column per side, then a count:
//   parameter        a.json      station 2
//   sn.speed_limit   3000 rpm    1500 rpm
//   1 of 30 parameter(s) differ
QString comparisonText(const SetComparison& comparison, const QString& leftLabel, const QString& rightLabel);
QJsonObject comparisonJson(const SetComparison& comparison, const QString& leftLabel, const QString& rightLabel);

#endif
