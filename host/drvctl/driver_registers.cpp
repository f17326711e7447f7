#include "drvctl/driver_registers.h"
#include "drvctl/transfer_plan.h"
#include "interface/communicator_command.h"

namespace {

constexpr int MaxListedStations = 8; // entries 1..8
constexpr int ReadStationEntry = 9;

// What a station id the driver would send to means, when it is no servo's.
QString stationFault(quint16 value)
{
    if (value == 0)
        return QStringLiteral("0 is broadcast, which no servo answers");
    if (value > 255)
        return QStringLiteral("the driver sends to its low byte: %1 would reach station %2").arg(value).arg(value & 0xFF);
    return QStringLiteral("248 to 255 are no station's");
}

QString entryName(const TransferPlan& plan, int entry)
{
    return QStringLiteral("%1%2").arg(areaName(plan.address.area)).arg(FirstDriverRegister + entry);
}

} // namespace

QString checkDriverRegisterValues(const TransferPlan& plan, const QList<qint64>& values)
{
    if (!isDriverRegister(plan.address) || plan.dataType != Word)
        return QString();
    const int firstEntry = plan.address.number - FirstDriverRegister;
    for (int k = 0; k < values.size(); ++k) {
        const int entry = firstEntry + k;
        const quint16 value = static_cast<quint16>(values[k] & 0xFFFF);
        const QString name = entryName(plan, entry);
        if (entry == 0 && value > MaxListedStations)
            return QStringLiteral("%1 holds how many stations the driver's list has: 0 to %2, not %3")
                .arg(name).arg(MaxListedStations).arg(value);
        if (entry >= 1 && entry <= MaxListedStations && (value < 1 || value > 247))
            return QStringLiteral("%1 holds a station of the driver's list: 1 to 247, not %2 (%3)")
                .arg(name).arg(value).arg(stationFault(value));
        if (entry == ReadStationEntry && value > MaxListedStations)
            return QStringLiteral("%1 names the station HR60010 is read from: 0 to %2 (the driver stores anything "
                                  "above %2 as %2), not %3")
                .arg(name).arg(MaxListedStations).arg(value);
    }
    return QString();
}

bool reachesMonitoredRegister(const TransferPlan& plan)
{
    return isDriverRegister(plan.address)
           && plan.address.number + (plan.dataType == Word ? plan.count : 1) - 1 >= FirstDriverRegister + MonitoredEntry;
}

QString checkFanOut(const QVector<quint16>& table)
{
    const int listed = table.value(0);
    if (listed > MaxListedStations)
        return QStringLiteral("HR60000 says the driver's list has %1 stations; it has room for %2: write 0 to %2 "
                              "to HR60000 first").arg(listed).arg(MaxListedStations);
    for (int entry = 1; entry <= listed; ++entry) {
        const quint16 station = table.value(entry);
        if (station < 1 || station > 247)
            return QStringLiteral("the driver's station list names %1 at HR%2 (%3), and a write of HR60010 goes to every "
                                  "listed station; write station ids from 1 to 247 to HR60001..HR%4 first")
                .arg(station).arg(FirstDriverRegister + entry).arg(stationFault(station))
                .arg(FirstDriverRegister + listed);
    }
    return QString();
}

QString checkMonitoredRead(const QVector<quint16>& table)
{
    if (table.value(0) == 0 || table.value(ReadStationEntry) != 0)
        return QString();
    return QStringLiteral("HR60009 names no station to read HR60010 from while the driver's list has %1: the driver "
                          "would ask station 0, which never answers; write the station to read from to HR60009 first")
        .arg(table.value(0));
}
