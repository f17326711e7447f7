#include "drvctl/driver_transfers.h"
#include "addresses/transfer_plan.h"
#include "drvctl/value_codec.h"
#include "interface/driver_interface.h"

bool readPlanned(DriverInterface* driver, AbstractDeviceInterface* port, const TransferPlan& plan,
                 QList<qint64>* values, QString* error)
{
    values->clear();
    for (const TransferPiece& piece : plan.pieces) {
        const QByteArray data = driver->read(port, CommunicatorCommand(plan.dataType, piece.count, piece.address));
        if (driver->hasError()) {
            *error = driver->getLastError();
            return false;
        }
        *values += decodeValues(plan.dataType, data, piece.count);
    }
    return true;
}

bool writePlanned(DriverInterface* driver, AbstractDeviceInterface* port, const TransferPlan& plan,
                  const QByteArray& data, QString* error)
{
    const int width = data.size() / plan.count; // bytes per element, one per bit
    for (const TransferPiece& piece : plan.pieces) {
        const CommunicatorCommand command(plan.dataType, piece.count, piece.address);
        if (!driver->write(port, command, data.mid(piece.first * width, piece.count * width)) || driver->hasError()) {
            *error = driver->getLastError();
            // A split write is not one transaction: say what did reach the servo.
            if (piece.first > 0)
                *error += QStringLiteral("; the first %1 of %2 value(s) were written").arg(piece.first).arg(plan.count);
            return false;
        }
    }
    return true;
}
