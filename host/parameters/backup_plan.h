#ifndef PARAMETERS_BACKUP_PLAN_H
#define PARAMETERS_BACKUP_PLAN_H

#include <QHash>
#include <QString>
#include <vector>

#include "parameters/parameter_codec.h"

// One read of a backup: `count` registers (or bits) of one table from `start` on.
struct BlockRead {
    Area table = Area::HR; // HR, IR, DO or DI (tableOf the parameters' areas)
    int start = 0;         // address number, from 1
    int count = 0;

    // The driver command: a word read of HR/IR or a bit read of DO/DI at start.
    QString addressText() const { return areaName(table) + QString::number(start); }
    bool bits() const { return isBitArea(table); }
    bool operator==(const BlockRead& other) const
    {
        return table == other.table && start == other.start && count == other.count;
    }
};

// The fewest reads that cover every register the parameters name: a read takes
// registers that follow each other in one table and never one that no parameter
// names (many servos answer exception 2 to a read that touches an undefined
// register); a longer run is split as any read is (planTransfer), so that each
// read is one driver command. False with the plan's refusal.
bool planBackup(const std::vector<const Parameter*>& parameters, std::vector<BlockRead>* plan, QString* error);

// The registers and bits a backup has read, by table and address.
class RegisterImage {
public:
    void store(const BlockRead& block, const RawValues& values);
    // A parameter's raw values; false when a register of it was not read.
    bool rawOf(const Parameter& parameter, RawValues* raw) const;

private:
    static quint32 key(Area table, int number) { return (static_cast<quint32>(table) << 17) + static_cast<quint32>(number); }
    QHash<quint32, quint16> values;
};

#endif
