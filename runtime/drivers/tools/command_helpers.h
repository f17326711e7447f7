#ifndef COMMAND_HELPERS_H
#define COMMAND_HELPERS_H

#include <QByteArray>

#include "interface/communicator_command.h"

#include "tools/drivertools_export.h"

DRIVERTOOLS_EXPORT bool isBitCommand(const CommunicatorCommand& command);
DRIVERTOOLS_EXPORT bool isByteCommand(const CommunicatorCommand& command);
DRIVERTOOLS_EXPORT bool isWordCommand(const CommunicatorCommand& command);
DRIVERTOOLS_EXPORT bool isDoubleWordCommand(const CommunicatorCommand& command);
DRIVERTOOLS_EXPORT bool isBlockCommand(const CommunicatorCommand& command);
// Bit 0 of the first byte; false for an empty array.
DRIVERTOOLS_EXPORT bool getBitData(const QByteArray& data);
// Bytes of data a command carries; 0 for an unknown data type.
DRIVERTOOLS_EXPORT int GetSafeDataLen(const CommunicatorCommand& command);
// data cut or zero-padded to exactly GetSafeDataLen bytes.
DRIVERTOOLS_EXPORT QByteArray ToSafeData(const CommunicatorCommand& command, const QByteArray& data);

#endif
