#ifndef COMMUNICATOR_COMMAND_H
#define COMMUNICATOR_COMMAND_H

#include <QString>

// Data type codes of a host command.
enum CommandDataType {
    Bit = 0,
    Byte = 1,
    Word = 2,
    DoubleWord = 3,
    QuadWord = 4,
    Block = 5,
    BitBlock = 6
};

// One read or write command of the host. The driver reads only dataType,
// count and deviceAddress and keeps nothing of the record after a call.
struct CommunicatorCommand {
    // The two leading fields belong to the host; no driver reads or writes them.
    int hostTag = 0;
    int hostFlags = 0;

    int dataType = Word;     // a CommandDataType code
    int count = 0;           // elements of that type
    QString deviceAddress;   // e.g. HR100, FN6HR100, DO5, DI12, HR100.3, HR200SW

    CommunicatorCommand() = default;
    CommunicatorCommand(int type, int elementCount, const QString& address)
        : dataType(type), count(elementCount), deviceAddress(address) {}
};

#endif
