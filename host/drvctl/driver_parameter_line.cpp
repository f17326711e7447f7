#include "drvctl/driver_parameter_line.h"
#include "addresses/transfer_plan.h"
#include "drvctl/driver_transfers.h"
#include "drvctl/value_codec.h"

#include <QStringList>

// Planned as a command line's read or write: the map's addresses passed the same
// checks when it was loaded, and a backup's blocks fit one driver command each.
bool DriverParameterLine::read(int dataType, const QString& address, int count, RawValues* values, QString* error)
{
    TransferPlan plan;
    QList<qint64> read;
    if (!planTransfer(address, dataType, count, Direction::Read, &plan, error)
        || !readPlanned(driver, port, plan, &read, error))
        return false;
    if (read.size() < count) {
        *error = QStringLiteral("the driver returned %1 of %2 value(s) from %3").arg(read.size()).arg(count).arg(address);
        return false;
    }
    values->clear();
    for (qint64 v : read)
        *values << static_cast<quint16>(v);
    return true;
}

bool DriverParameterLine::write(int dataType, const QString& address, const RawValues& values, QString* error)
{
    QStringList texts;
    for (quint16 v : values)
        texts << QString::number(v);
    TransferPlan plan;
    QByteArray data;
    return planTransfer(address, dataType, values.size(), Direction::Write, &plan, error)
           && encodeValues(dataType, texts, &data, error) && writePlanned(driver, port, plan, data, error);
}

bool DriverParameterLine::readRegisters(const QString& address, int count, RawValues* values, QString* error)
{
    return read(Word, address, count, values, error);
}

bool DriverParameterLine::readBits(const QString& address, int count, RawValues* values, QString* error)
{
    return read(Bit, address, count, values, error);
}

bool DriverParameterLine::writeRegisters(const QString& address, const RawValues& values, QString* error)
{
    return write(Word, address, values, error);
}

bool DriverParameterLine::writeBit(const QString& address, bool on, QString* error)
{
    return write(Bit, address, RawValues{static_cast<quint16>(on ? 1 : 0)}, error);
}
