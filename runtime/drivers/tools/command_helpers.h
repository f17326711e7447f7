#ifndef COMMAND_HELPERS_H
#define COMMAND_HELPERS_H

#include <QByteArray>

#include "interface/communicator_command.h"

bool isBitCommand(const CommunicatorCommand& command);
bool isByteCommand(const CommunicatorCommand& command);
bool isWordCommand(const CommunicatorCommand& command);
bool isDoubleWordCommand(const CommunicatorCommand& command);
bool isBlockCommand(const CommunicatorCommand& command);
// Bit 0 of the first byte; false for an empty array.
bool getBitData(const QByteArray& data);
// Bytes of data a command carries; 0 for an unknown data type.
int GetSafeDataLen(const CommunicatorCommand& command);
// data cut or zero-padded to exactly GetSafeDataLen bytes.
QByteArray ToSafeData(const CommunicatorCommand& command, const QByteArray& data);

#endif
