#include "drvctl/driver_parameter_line.h"
#include "drvctl/value_codec.h"
#include "interface/driver_interface.h"

#include <QStringList>

bool DriverParameterLine::read(int dataType, const QString& address, int count, RawValues* values, QString* error)
{
    const QByteArray data = driver->read(port, CommunicatorCommand(dataType, count, address));
    if (driver->hasError()) {
        *error = driver->getLastError();
        return false;
    }
    values->clear();
    for (qint64 v : decodeValues(dataType, data, count))
        *values << static_cast<quint16>(v);
    if (values->size() < count) {
        *error = QStringLiteral("the driver returned %1 of %2 value(s) from %3").arg(values->size()).arg(count).arg(address);
        return false;
    }
    return true;
}

bool DriverParameterLine::write(int dataType, const QString& address, const RawValues& values, QString* error)
{
    QStringList texts;
    for (quint16 v : values)
        texts << QString::number(v);
    QByteArray data;
    if (!encodeValues(dataType, texts, &data, error))
        return false;
    if (!driver->write(port, CommunicatorCommand(dataType, values.size(), address), data) || driver->hasError()) {
        *error = driver->getLastError();
        return false;
    }
    return true;
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
