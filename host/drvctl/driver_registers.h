#ifndef DRVCTL_DRIVER_REGISTERS_H
#define DRVCTL_DRIVER_REGISTERS_H

#include <QList>
#include <QString>
#include <QVector>

struct TransferPlan;

// HR60000..HR60010 live in the driver: HR60000 the number of stations in its list,
// HR60001..HR60008 the stations, HR60009 the station HR60010 is read from, HR60010
// the servos' HR1300, written to every listed station (the fan-out). The driver
// sends to whatever these hold; drvctl refuses what would reach the wrong station
// or none. Each returns the reason to refuse, or an empty text.

// Values written into the table: counts, station ids and the read station in range.
QString checkDriverRegisterValues(const TransferPlan& plan, const QList<qint64>& values);
// Whether the command touches HR60010, for which the table's entries 0..9 decide.
bool reachesMonitoredRegister(const TransferPlan& plan);
// Before a write of HR60010: every listed station a real one. table: entries 0..9.
QString checkFanOut(const QVector<quint16>& table);
// Before a read of HR60010: a station to read it from when the list is set.
QString checkMonitoredRead(const QVector<quint16>& table);

#endif
