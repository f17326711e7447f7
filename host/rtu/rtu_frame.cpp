#include "rtu/rtu_frame.h"
#include "tools/crc.h"

namespace Rtu {

using namespace ModbusRtu;

int requestLength(const uint8_t* bytes, size_t available)
{
    if (available < 2)
        return NeedMoreBytes;
    switch (bytes[1]) {
    case 1: case 2: case 3: case 4: case 5: case 6:
        return FixedRequestLength;
    case 15: case 16:
        if (available < static_cast<size_t>(MultipleWriteHeaderLength))
            return NeedMoreBytes;
        return MultipleWriteHeaderLength + bytes[MultipleWriteHeaderLength - 1] + CrcLength;
    default:
        return UnknownLength;
    }
}

int replyLength(const uint8_t* bytes, size_t available)
{
    if (available < 2)
        return NeedMoreBytes;
    if (bytes[1] & 0x80)
        return ExceptionReplyLength;
    switch (bytes[1]) {
    case 1: case 2: case 3: case 4:
        if (available < static_cast<size_t>(HeaderLength))
            return NeedMoreBytes;
        return HeaderLength + bytes[HeaderLength - 1] + CrcLength;
    case 5: case 6: case 15: case 16:
        return EchoReplyLength;
    default:
        return UnknownLength;
    }
}

bool isWholeRequest(const uint8_t* bytes, size_t length)
{
    return length >= static_cast<size_t>(MinFrameLength)
        && requestLength(bytes, length) == static_cast<int>(length) && crcMatches(bytes, length);
}

bool isWholeReply(const uint8_t* bytes, size_t length)
{
    return length >= static_cast<size_t>(MinFrameLength)
        && replyLength(bytes, length) == static_cast<int>(length) && crcMatches(bytes, length);
}

bool isWholeFrame(const uint8_t* bytes, size_t length)
{
    return isWholeRequest(bytes, length) || isWholeReply(bytes, length);
}

uint16_t crc16(const uint8_t* bytes, size_t length)
{
    unsigned short crc = 0xFFFF;
    for (size_t i = 0; i < length; ++i)
        crc = update_crc_16(crc, static_cast<char>(bytes[i]));
    return crc;
}

bool crcMatches(const uint8_t* frame, size_t length)
{
    if (length < static_cast<size_t>(MinFrameLength))
        return false;
    return crcAt(frame + length - CrcLength) == crc16(frame, length - CrcLength);
}

void stampCrc(uint8_t* frame, size_t length)
{
    if (length < static_cast<size_t>(CrcLength))
        return;
    putCrc(frame + length - CrcLength, crc16(frame, length - CrcLength));
}

void appendCrc(QByteArray& frame)
{
    frame.append(CrcLength, '\0');
    stampCrc(reinterpret_cast<uint8_t*>(frame.data()), static_cast<size_t>(frame.size()));
}

const char* areaOf(int function)
{
    switch (function) {
    case 1: case 15: return "DO";
    case 2: return "DI";
    case 3: case 16: return "HR";
    case 4: return "IR";
    case 5: return "FN5DO";
    case 6: return "FN6HR";
    default: return nullptr;
    }
}

} // namespace Rtu
