#ifndef DRVCTL_DRIVER_TRANSFERS_H
#define DRVCTL_DRIVER_TRANSFERS_H

#include <QByteArray>
#include <QList>
#include <QString>

class AbstractDeviceInterface;
class DriverInterface;
struct TransferPlan;

// A planned read as its driver commands, the values joined; false with the
// driver's error text.
bool readPlanned(DriverInterface* driver, AbstractDeviceInterface* port, const TransferPlan& plan,
                 QList<qint64>* values, QString* error);
// A planned write of the encoded `data` (one element after another); a failed part
// after the first says how many values did reach the servo.
bool writePlanned(DriverInterface* driver, AbstractDeviceInterface* port, const TransferPlan& plan,
                  const QByteArray& data, QString* error);

#endif
