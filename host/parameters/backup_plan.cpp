#include "parameters/backup_plan.h"
#include "rtu/rtu_limits.h"

#include <algorithm>
#include <map>
#include <set>

namespace {

int readLimit(RegisterTable table)
{
    return table == RegisterTable::Coils || table == RegisterTable::DiscreteInputs ? Rtu::MaxBitsPerRead
                                                                                     : Rtu::MaxRegistersPerRead;
}

// What a block read's address text starts with: the plain area of its table.
const char* plainLetters(RegisterTable table)
{
    switch (table) {
    case RegisterTable::Holding: return "HR";
    case RegisterTable::Input: return "IR";
    case RegisterTable::Coils: return "DO";
    case RegisterTable::DiscreteInputs: return "DI";
    }
    return "";
}

} // namespace

QString BlockRead::addressText() const
{
    return QLatin1String(plainLetters(table)) + QString::number(start);
}

std::vector<BlockRead> planBackup(const std::vector<const Parameter*>& parameters)
{
    std::map<RegisterTable, std::set<int>> named;
    for (const Parameter* p : parameters)
        for (int k = 0; k < p->width(); ++k)
            named[p->address.table].insert(p->address.number + k);

    std::vector<BlockRead> plan;
    for (const auto& table : named) {
        const int limit = readLimit(table.first);
        BlockRead block;
        for (int number : table.second) {
            if (block.count > 0 && number == block.start + block.count && block.count < limit) {
                ++block.count;
                continue;
            }
            if (block.count > 0)
                plan.push_back(block);
            block = BlockRead{table.first, number, 1};
        }
        if (block.count > 0)
            plan.push_back(block);
    }
    return plan;
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
        const auto it = values.constFind(key(p.address.table, p.address.number + k));
        if (it == values.constEnd())
            return false;
        result << it.value();
    }
    *raw = result;
    return true;
}
