// Reads and writes as the driver commands that carry them: checked, split at the
// Modbus limits and joined, with the driver's own registers guarded.
#include "drvctl/driver_registers.h"
#include "drvctl/session.h"
#include "drvctl/transfer_plan.h"
#include "drvctl/value_codec.h"
#include "interface/driver_interface.h"

#include <cstdio>

QVector<quint16> Session::driverTable()
{
    constexpr int Entries = 10; // HR60000..HR60009: the driver answers them without a transaction
    const QByteArray data = driver->read(port, CommunicatorCommand(Word, Entries, QStringLiteral("HR60000")));
    QVector<quint16> table;
    for (qint64 value : decodeValues(Word, data, Entries))
        table << static_cast<quint16>(value);
    return table;
}

void Session::traceSplit(const TransferPlan& plan, bool read) const
{
    if (tracing && plan.pieces.size() > 1)
        std::fprintf(stderr, "drvctl: %s\n",
                     splitDescription(plan, read ? Direction::Read : Direction::Write).toLocal8Bit().constData());
}

Session::Transfer Session::readValues(const Invocation& request, const QString& address, TransferPlan* plan,
                                      QList<qint64>* values, QString* error)
{
    if (!planTransfer(address, request.dataType, request.count, Direction::Read, plan, error))
        return Transfer::Refused;
    if (reachesMonitoredRegister(*plan)) {
        *error = checkMonitoredRead(driverTable());
        if (!error->isEmpty())
            return Transfer::Refused;
    }
    traceSplit(*plan, true);
    values->clear();
    for (const TransferPiece& piece : plan->pieces) {
        const QByteArray data = driver->read(port, CommunicatorCommand(plan->dataType, piece.count, piece.address));
        if (driver->hasError()) {
            *error = driver->getLastError();
            return Transfer::Failed;
        }
        *values += decodeValues(plan->dataType, data, piece.count);
    }
    return Transfer::Done;
}

Session::Transfer Session::writeValues(const Invocation& request, TransferPlan* plan, QString* error)
{
    const QString& address = request.arguments.constFirst();
    const QStringList texts = request.arguments.mid(1);
    QByteArray data;
    if (!planTransfer(address, request.dataType, texts.size(), Direction::Write, plan, error)
        || !encodeValues(plan->dataType, texts, &data, error))
        return Transfer::Refused;
    *error = checkDriverRegisterValues(*plan, decodeValues(plan->dataType, data, texts.size()));
    if (error->isEmpty() && reachesMonitoredRegister(*plan))
        *error = checkFanOut(driverTable());
    if (!error->isEmpty())
        return Transfer::Refused;
    traceSplit(*plan, false);
    const int width = data.size() / texts.size(); // bytes per element, one per bit
    for (const TransferPiece& piece : plan->pieces) {
        const CommunicatorCommand command(plan->dataType, piece.count, piece.address);
        if (!driver->write(port, command, data.mid(piece.first * width, piece.count * width)) || driver->hasError()) {
            *error = driver->getLastError();
            // A split write is not one transaction: say what did reach the servo.
            if (piece.first > 0)
                *error += QStringLiteral("; the first %1 of %2 value(s) were written").arg(piece.first).arg(texts.size());
            return Transfer::Failed;
        }
    }
    return Transfer::Done;
}
