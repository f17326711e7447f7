#ifndef PARAMETERS_PARAMETER_TRANSFER_H
#define PARAMETERS_PARAMETER_TRANSFER_H

#include <QStringList>
#include <functional>
#include <vector>

#include "parameters/backup_plan.h"
#include "parameters/parameter_line.h"
#include "parameters/parameter_set.h"
#include "parameters/register_map.h"

// One parameter by itself: its registers (a bool on a register bit: the register).
bool readParameter(ParameterLine& line, const Parameter& parameter, RawValues* raw, QString* error);
// Writes what encodeParameter or writtenValues gave; refuses a read-only parameter.
bool writeParameter(ParameterLine& line, const Parameter& parameter, const RawValues& written, QString* error);

// Called after each read of a backup with the reads done and planned.
using Progress = std::function<void(int done, int total)>;

// Reads the parameters with the fewest reads (planBackup) into a set in their
// order. False with the failed read's error; `reads` counts the reads made.
bool readParameterSet(ParameterLine& line, const std::vector<const Parameter*>& parameters, QVector<SetEntry>* entries,
                      QString* error, const Progress& progress = Progress(), int* reads = nullptr);
// Every parameter of the map, as a set that names the map and the station.
bool backupParameters(ParameterLine& line, const RegisterMap& map, int station, ParameterSet* set, QString* error,
                      const Progress& progress = Progress());

// One write of a restore: the parameter and what goes to it.
struct RestoreStep {
    const Parameter* parameter = nullptr;
    RawValues written;
    SetEntry expected; // what a read-back should find
};

// The writes that bring a servo to the set, in map order: every rw parameter of
// the map that the set has. A set made with another map is refused unless
// `force`; then its values are taken by name and converted by this map (a value
// this map cannot hold refuses the whole restore). Parameters of the map the set
// lacks go to `notes`.
bool planRestore(const RegisterMap& map, const ParameterSet& set, bool force, std::vector<RestoreStep>* steps,
                 QStringList* notes, QString* error);
// "sn.speed_limit = 3000 rpm (HR513, fn 16, raw 3000)"
QString restoreStepText(const RestoreStep& step);
// Writes the steps in order and stops at the first failure; `written` counts
// the writes that succeeded.
bool writeRestoreSteps(ParameterLine& line, const std::vector<RestoreStep>& steps, int* written, QString* error);

#endif
