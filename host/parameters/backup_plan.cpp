#include "parameters/backup_plan.h"
#include "addresses/transfer_plan.h"
#include "interface/communicator_command.h"

#include <map>
#include <set>

namespace {

// A run of registers (or bits) that follow each other, as the reads that carry it.
bool appendRun(Area table, int start, int count, std::vector<BlockRead>* plan, QString* error)
{
    TransferPlan transfer;
    const QString address = areaName(table) + QString::number(start);
    if (!planTransfer(address, isBitArea(table) ? Bit : Word, count, Direction::Read, &transfer, error))
        return false;
    for (const TransferPiece& piece : transfer.pieces)
        plan->push_back(BlockRead{table, start + piece.first, piece.count});
    return true;
}

} // namespace

bool planBackup(const std::vector<const Parameter*>& parameters, std::vector<BlockRead>* plan, QString* error)
{
    std::map<Area, std::set<int>> named;
    for (const Parameter* p : parameters)
        for (int k = 0; k < p->width(); ++k)
            named[tableOf(p->address.area)].insert(p->address.number + k);

    std::vector<BlockRead> result;
    for (const auto& table : named) {
        int start = 0, count = 0;
        for (int number : table.second) {
            if (count > 0 && number == start + count) {
                ++count;
                continue;
            }
            if (count > 0 && !appendRun(table.first, start, count, &result, error))
                return false;
            start = number;
            count = 1;
        }
        if (count > 0 && !appendRun(table.first, start, count, &result, error))
            return false;
    }
    *plan = result;
    return true;
}

void RegisterImage::store(const BlockRead& block, const RawValues& read)
{
    for (int k = 0; k < block.count && k < read.size(); ++k)
        values.insert(key(block.table, block.start + k), read[k]);
}

bool RegisterImage::rawOf(const Parameter& p, RawValues* raw) const
{
    RawValues result;
    for (int k = 0; k < p.width(); ++k) {
        const auto it = values.constFind(key(tableOf(p.address.area), p.address.number + k));
        if (it == values.constEnd())
            return false;
        result << it.value();
    }
    *raw = result;
    return true;
}
