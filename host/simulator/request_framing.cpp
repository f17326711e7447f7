#include "simulator/request_framing.h"

namespace RequestFraming {

int expectedLength(const uint8_t* bytes, size_t available)
{
    return RtuFrameLayout::requestLength(bytes, available);
}

bool crcMatches(const uint8_t* frame, size_t length)
{
    return RtuFrameLayout::crcMatches(frame, length);
}

void restampCrc(uint8_t* frame, size_t length)
{
    if (length < 2)
        return;
    const uint16_t crc = RtuFrameLayout::crc16(frame, length - 2);
    frame[length - 2] = static_cast<uint8_t>(crc & 0xFF);
    frame[length - 1] = static_cast<uint8_t>(crc >> 8);
}

} // namespace RequestFraming
