#include "parameters/parameter_transfer.h"

bool readParameter(ParameterLine& line, const Parameter& p, RawValues* raw, QString* error)
{
    if (isBitArea(p.address.area))
        return line.readBits(p.plainText(), 1, raw, error);
    return line.readRegisters(p.plainText(), p.width(), raw, error);
}

bool writeParameter(ParameterLine& line, const Parameter& p, const RawValues& written, QString* error)
{
    if (!p.writable) {
        *error = QStringLiteral("%1 is read-only (access r in the map)").arg(p.name);
        return false;
    }
    if (p.type == ValueType::Bool) {
        // A register bit goes by its own address text, so that the driver changes that bit only.
        const QString address = p.isRegisterBit() ? addressText(p.address, 0, p.address.bit) : p.plainText();
        return line.writeBit(address, !written.isEmpty() && written[0] != 0, error);
    }
    return line.writeRegisters(p.plainText(), written, error);
}

bool readParameterSet(ParameterLine& line, const std::vector<const Parameter*>& parameters, QVector<SetEntry>* entries,
                      QString* error, const Progress& progress, int* reads)
{
    std::vector<BlockRead> plan;
    if (!planBackup(parameters, &plan, error))
        return false;
    RegisterImage image;
    int done = 0;
    for (const BlockRead& block : plan) {
        RawValues values;
        const bool ok = block.bits() ? line.readBits(block.addressText(), block.count, &values, error)
                                     : line.readRegisters(block.addressText(), block.count, &values, error);
        if (reads)
            *reads = done + 1;
        if (!ok)
            return false;
        image.store(block, values);
        ++done;
        if (progress)
            progress(done, static_cast<int>(plan.size()));
    }
    QVector<SetEntry> result;
    for (const Parameter* p : parameters) {
        RawValues raw;
        if (!image.rawOf(*p, &raw)) {
            *error = QStringLiteral("%1: the reply held fewer values than asked for").arg(p->name);
            return false;
        }
        result << entryOf(*p, raw);
    }
    *entries = result;
    return true;
}

bool backupParameters(ParameterLine& line, const RegisterMap& map, int station, ParameterSet* set, QString* error,
                      const Progress& progress)
{
    std::vector<const Parameter*> all;
    for (const Parameter& p : map.parameters)
        all.push_back(&p);
    ParameterSet result;
    result.mapName = map.name;
    result.mapPath = map.path;
    result.mapChecksum = map.checksum;
    result.station = station;
    result.time = QDateTime::currentDateTime();
    if (!readParameterSet(line, all, &result.entries, error, progress))
        return false;
    *set = result;
    return true;
}

namespace {

// The raw values a read-back finds after `written` went to a parameter: a
// register bit sits in its register (the other bits are not compared).
RawValues expectedRaw(const Parameter& p, const RawValues& written)
{
    if (p.type == ValueType::Bool && p.isRegisterBit())
        return RawValues{static_cast<quint16>((written.value(0) & 1) << p.address.bit)};
    return written;
}

} // namespace

bool planRestore(const RegisterMap& map, const ParameterSet& set, bool force, std::vector<RestoreStep>* steps,
                 QStringList* notes, QString* error)
{
    const bool sameMap = set.mapChecksum == map.checksum;
    if (!sameMap && !force) {
        *error = QStringLiteral("the set was made with another map (%1, %2) than %3 (%4); --force restores it by name")
                     .arg(set.mapName, set.mapChecksum.left(15), map.name, map.checksum.left(15));
        return false;
    }
    std::vector<RestoreStep> result;
    for (const Parameter& p : map.parameters) {
        if (!p.writable)
            continue;
        const SetEntry* entry = set.find(p.name);
        if (entry == nullptr) {
            *notes << QStringLiteral("not in the set, left as it is: %1").arg(p.name);
            continue;
        }
        RestoreStep step;
        step.parameter = &p;
        if (sameMap) {
            step.written = writtenValues(p, entry->raw);
        } else if (!encodeParameter(p, formatParameterValue(entry->parameter(), entry->value), &step.written, error)) {
            *error = QStringLiteral("cannot restore %1 by this map: %2").arg(p.name, *error);
            return false;
        }
        step.expected = entryOf(p, expectedRaw(p, step.written));
        result.push_back(step);
    }
    *steps = result;
    return true;
}

QString restoreStepText(const RestoreStep& step)
{
    const Parameter& p = *step.parameter;
    QStringList raw;
    for (quint16 r : step.written)
        raw << QString::number(r);
    return QStringLiteral("%1 = %2 (%3, fn %4, raw %5)")
        .arg(p.name, step.expected.valueText(), p.addressText)
        .arg(writeFunctionOf(p.address.area))
        .arg(raw.join(QLatin1Char(' ')));
}

bool writeRestoreSteps(ParameterLine& line, const std::vector<RestoreStep>& steps, int* written, QString* error)
{
    *written = 0;
    for (const RestoreStep& step : steps) {
        if (!writeParameter(line, *step.parameter, step.written, error)) {
            *error = QStringLiteral("%1: %2").arg(step.parameter->name, *error);
            return false;
        }
        ++*written;
    }
    return true;
}
