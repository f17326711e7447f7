#include "tools/command_helpers.h"

bool isBitCommand(const CommunicatorCommand& command) { return command.dataType == Bit; }
bool isByteCommand(const CommunicatorCommand& command) { return command.dataType == Byte; }
bool isWordCommand(const CommunicatorCommand& command) { return command.dataType == Word; }
bool isDoubleWordCommand(const CommunicatorCommand& command) { return command.dataType == DoubleWord; }
bool isBlockCommand(const CommunicatorCommand& command) { return command.dataType == Block; }

bool getBitData(const QByteArray& data)
{
    return !data.isEmpty() && (static_cast<unsigned char>(data.at(0)) & 0x01);
}

int GetSafeDataLen(const CommunicatorCommand& command)
{
    // Computed in 64 bits and clamped so that a hostile count cannot overflow an int;
    // a negative count needs no data at all.
    const long long count = command.count;
    long long length = 0;
    switch (command.dataType) {
    case Bit:
    // Whole bytes rounded down, plus one for a part byte: C++ division truncates
    // towards zero, so -1..-7 would otherwise come out as 1 byte.
    case BitBlock: length = count <= 0 ? 0 : count / 8 + (count % 8 != 0 ? 1 : 0); break;
    case Byte:
    case Block: length = count; break;
    case Word: length = 2 * count; break;
    case DoubleWord: length = 4 * count; break;
    case QuadWord: length = 8 * count; break;
    default: length = 0; break;
    }
    if (length < 0)
        return 0;
    return length > 0x7FFFFFFF ? 0x7FFFFFFF : static_cast<int>(length);
}

QByteArray ToSafeData(const CommunicatorCommand& command, const QByteArray& data)
{
    const int length = GetSafeDataLen(command);
    if (data.size() < length)
        return data + QByteArray(length - data.size(), '\0');
    if (data.size() > length)
        return data.left(length);
    return data;
}
