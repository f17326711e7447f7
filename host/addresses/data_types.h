#ifndef ADDRESSES_DATA_TYPES_H
#define ADDRESSES_DATA_TYPES_H

#include <QString>

#include "interface/communicator_command.h"

// Data kinds as the command line names them: bit byte word dword block bitblock.
bool dataTypeFromName(const QString& name, int* dataType);
QString dataTypeName(int dataType);

#endif
