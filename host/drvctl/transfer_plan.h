#ifndef DRVCTL_TRANSFER_PLAN_H
#define DRVCTL_TRANSFER_PLAN_H

#include <QList>
#include <QString>

#include "drvctl/address.h"

enum class Direction { Read, Write };

// One driver command of a transfer: its address text and its share of the elements.
struct TransferPiece {
    QString address;
    int first; // index of its first element in the whole transfer
    int count;
};

// A read or write of `count` elements as the driver commands that carry it: one,
// or as many as the Modbus limits of one transaction ask for, so that any standard
// slave answers.
struct TransferPlan {
    Address address;
    int dataType = -1;
    int count = 0;
    int limit = 0; // elements per driver command at most
    QList<TransferPiece> pieces;
};

// Checks that the command reads or writes what its address and type say, and no
// more: the type fits the area, the range ends within the area, no range crosses
// into the driver's own registers (HR60000..HR60010), no odd byte count is written.
// Then splits it at the Modbus limits.
bool planTransfer(const QString& address, int askedType, int count, Direction direction, TransferPlan* plan,
                  QString* error);

// How a transfer was split, for --trace: "HR1 x1000 in 8 driver commands of at most
// 125 word(s) (the Modbus limit of one read): HR1 x125, HR126 x125, ...".
QString splitDescription(const TransferPlan& plan, Direction direction);

// HR60000..HR60010 (and FN6HR): the driver answers these from its own table.
constexpr int FirstDriverRegister = 60000;
constexpr int MonitoredEntry = 10; // HR60010, the fan-out register
bool isDriverRegister(const Address& address);

#endif
