#ifndef TESTS_HOST_FAKE_PARAMETER_LINE_H
#define TESTS_HOST_FAKE_PARAMETER_LINE_H

#include <QMap>
#include <QStringList>
#include <ostream>

#include "addresses/address.h"
#include "parameters/parameter_line.h"

// A servo behind a ParameterLine: register banks by address text number, every
// command it gets written down as "read HR513 x8", "write HR769 = 300",
// "bit HR259.1 = 1", and reads that touch one address refused like exception 2.
class FakeParameterLine : public ParameterLine {
public:
    QStringList requests;
    QMap<QString, quint16> cells; // "HR513", "DO33", ... (plain texts)
    QString refusedAddress;        // a read or write touching it fails

    quint16 cell(const QString& letters, int number) const { return cells.value(letters + QString::number(number)); }

    bool readRegisters(const QString& address, int count, RawValues* values, QString* error) override
    {
        requests << QStringLiteral("read %1 x%2").arg(address).arg(count);
        return take(address, count, values, error);
    }
    bool readBits(const QString& address, int count, RawValues* values, QString* error) override
    {
        requests << QStringLiteral("bits %1 x%2").arg(address).arg(count);
        return take(address, count, values, error);
    }
    bool writeRegisters(const QString& address, const RawValues& values, QString* error) override
    {
        QStringList texts;
        for (quint16 v : values)
            texts << QString::number(v);
        requests << QStringLiteral("write %1 = %2").arg(address, texts.join(QLatin1Char(' ')));
        Address a;
        if (!parseAddress(address, &a, error))
            return false;
        for (int k = 0; k < values.size(); ++k) {
            if (refuse(key(a, k), error))
                return false;
            cells[key(a, k)] = values[k];
        }
        return true;
    }
    bool writeBit(const QString& address, bool on, QString* error) override
    {
        requests << QStringLiteral("bit %1 = %2").arg(address).arg(on ? 1 : 0);
        Address a;
        if (!parseAddress(address, &a, error) || refuse(key(a, 0), error))
            return false;
        quint16& cell = cells[key(a, 0)];
        if (a.bit < 0)
            cell = on ? 1 : 0;
        else
            cell = static_cast<quint16>(on ? cell | (1u << a.bit) : cell & ~(1u << a.bit));
        return true;
    }

private:
    // Both letters of a table under one name, as the servo has one bank per table.
    static QString key(const Address& a, int offset)
    {
        return areaName(tableOf(a.area)) + QString::number(a.number + offset);
    }
    bool refuse(const QString& cell, QString* error) const
    {
        if (cell != refusedAddress)
            return false;
        *error = QStringLiteral("exception 2 at %1").arg(cell);
        return true;
    }
    bool take(const QString& address, int count, RawValues* values, QString* error)
    {
        Address a;
        if (!parseAddress(address, &a, error))
            return false;
        values->clear();
        for (int k = 0; k < count; ++k) {
            if (refuse(key(a, k), error))
                return false;
            *values << cells.value(key(a, k));
        }
        return true;
    }
};

// Texts in gtest's messages as text, not as arrays of 2-byte objects.
inline void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}

#endif
