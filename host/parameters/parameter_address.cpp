#include "parameters/parameter_address.h"

#include <QRegularExpression>

namespace {

struct Area {
    const char* letters;
    RegisterTable table;
};

const Area Areas[] = {
    {"HR", RegisterTable::Holding}, {"FN6HR", RegisterTable::Holding},
    {"IR", RegisterTable::Input},   {"DO", RegisterTable::Coils},
    {"FN5DO", RegisterTable::Coils}, {"DI", RegisterTable::DiscreteInputs},
};

// Explicit ASCII classes and no case folding: a Kelvin sign must not pass for K.
const QRegularExpression& addressShape()
{
    static const QRegularExpression shape(
        QStringLiteral("^((?:[Ff][Nn][0-9])?[A-Za-z]+)([0-9]+)(?:\\.([0-9]+))?([Ss][Ww])?$"));
    return shape;
}

} // namespace

int ParameterAddress::writeFunction(int registers) const
{
    if (table == RegisterTable::Coils)
        return letters == QLatin1String("FN5DO") ? 5 : 15;
    // FN6HR writes each register on its own; a bit of a register is read, changed
    // and written back as a whole register.
    Q_UNUSED(registers);
    return letters == QLatin1String("FN6HR") ? 6 : 16;
}

bool isDriverStationList(RegisterTable table, int number)
{
    return table == RegisterTable::Holding && number >= DriverStationListFirst && number <= DriverStationListLast;
}

QString tableName(RegisterTable table)
{
    switch (table) {
    case RegisterTable::Holding: return QStringLiteral("holding registers");
    case RegisterTable::Input: return QStringLiteral("input registers");
    case RegisterTable::Coils: return QStringLiteral("coils");
    case RegisterTable::DiscreteInputs: return QStringLiteral("discrete inputs");
    }
    return QString();
}

bool parseParameterAddress(const QString& text, ParameterAddress* address, QString* error)
{
    const QRegularExpressionMatch match = addressShape().match(text);
    if (!match.hasMatch()) {
        *error = QStringLiteral("bad address: %1 (area letters and a number, e.g. HR1304, IR12, HR200SW, HR100.3, DO5)")
                     .arg(text);
        return false;
    }
    ParameterAddress parsed;
    parsed.letters = match.captured(1).toUpper();
    const Area* area = nullptr;
    for (const Area& candidate : Areas)
        if (parsed.letters == QLatin1String(candidate.letters))
            area = &candidate;
    if (area == nullptr) {
        *error = QStringLiteral("address outside the areas: %1 (HR, FN6HR, IR, DO, FN5DO or DI)").arg(text);
        return false;
    }
    parsed.table = area->table;
    bool ok = false;
    const qulonglong number = match.captured(2).toULongLong(&ok);
    if (!ok || number < 1 || number > 65536) {
        *error = QStringLiteral("address outside the areas: %1 (numbers run from 1 to 65536)").arg(text);
        return false;
    }
    parsed.number = static_cast<int>(number);
    if (match.capturedLength(3) > 0) {
        if (parsed.isBitTable()) {
            *error = QStringLiteral("a bit on a coil or input: %1 (%2 are single bits already)")
                         .arg(text, tableName(parsed.table));
            return false;
        }
        const qulonglong bit = match.captured(3).toULongLong(&ok);
        if (!ok || bit > 15) {
            *error = QStringLiteral("bad address: %1 (a register's bits run from 0 to 15)").arg(text);
            return false;
        }
        parsed.bit = static_cast<int>(bit);
    }
    parsed.highWordFirst = match.capturedLength(4) > 0;
    if (parsed.highWordFirst && (parsed.isBitTable() || parsed.bit >= 0)) {
        *error = QStringLiteral("bad address: %1 (SW orders the words of a register pair)").arg(text);
        return false;
    }
    *address = parsed;
    return true;
}
