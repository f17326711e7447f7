// Reads and writes as the driver commands that carry them: checked, split at the
// Modbus limits and joined, with the driver's own registers guarded.
#include "addresses/transfer_plan.h"
#include "drvctl/driver_registers.h"
#include "drvctl/driver_transfers.h"
#include "drvctl/exit_codes.h"
#include "drvctl/session.h"
#include "drvctl/stop_signals.h"
#include "drvctl/value_codec.h"
#include "interface/driver_interface.h"

#include <cstdio>

namespace {

// The request may have reached the servo: the write may or may not have happened.
const QString InterruptedWrite = QStringLiteral("interrupted before the servo confirmed the write");

} // namespace

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

Session::Transfer Session::driverFailure(QString* error) const
{
    if (linePort == nullptr)
        return Transfer::Failed;
    if (linePort->stopped() || waitForStopSignal(0)) {
        *error = QStringLiteral("interrupted");
        return Transfer::Interrupted;
    }
    if (linePort->lost()) {
        *error = QStringLiteral("line lost: %1: %2").arg(linePort->name(), linePort->lostReason());
        return Transfer::LineLost;
    }
    if (!linePort->doubt().isEmpty())
        *error = linePort->doubt() + QStringLiteral("; say which with --echo on or --echo off");
    return Transfer::Failed;
}

int Session::transferFailure(Transfer outcome, const QString& error, const QString& command)
{
    switch (outcome) {
    case Transfer::Refused: return out.usage(error, command);
    case Transfer::LineLost: return out.failure(error, ExitSetup);
    case Transfer::Interrupted: return out.failure(error, ExitInterrupted);
    case Transfer::Failed:
    case Transfer::Done: break;
    }
    return out.failure(error, ExitDriverFailure);
}

int Session::parameterFailure(const QString& context, QString error, const QString& command, Direction direction)
{
    const Transfer outcome = driverFailure(&error);
    if (outcome == Transfer::Interrupted && direction == Direction::Write)
        error = InterruptedWrite;
    return transferFailure(outcome, context + error, command);
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
    return readPlanned(driver, port, *plan, values, error) ? Transfer::Done : driverFailure(error);
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
    if (writePlanned(driver, port, *plan, data, error))
        return Transfer::Done;
    // What a split write did reach the servo stays said, whatever stopped it.
    const int split = error->indexOf(QLatin1String("; the first "));
    const QString reached = split >= 0 ? error->mid(split) : QString();
    const Transfer outcome = driverFailure(error);
    if (outcome == Transfer::Interrupted)
        *error = InterruptedWrite + reached;
    else if (outcome != Transfer::Failed || !error->endsWith(reached))
        *error += reached;
    return outcome;
}
