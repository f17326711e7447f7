#include "simulator/request_framing.h"

namespace RequestFraming {

int expectedLength(const uint8_t* bytes, size_t available)
{
    if (available < 2)
        return NeedMoreBytes;
    switch (bytes[1]) {
    case 1: case 2: case 3: case 4: case 5: case 6:
        return 8;
    case 15: case 16:
        // slave, function, address, quantity, byte count, data, CRC
        if (available < 7)
            return NeedMoreBytes;
        return 9 + bytes[6];
    default:
        return UnknownLength;
    }
}

uint16_t crc16(const uint8_t* bytes, size_t length)
{
    // Bitwise on purpose: the driver uses the lookup tables, so the two sides
    // of a test never share a mistake.
    uint16_t crc = 0xFFFF;
    for (size_t i = 0; i < length; ++i) {
        crc ^= bytes[i];
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 1) ? static_cast<uint16_t>((crc >> 1) ^ 0xA001) : static_cast<uint16_t>(crc >> 1);
    }
    return crc;
}

bool crcMatches(const uint8_t* frame, size_t length)
{
    if (length < 4)
        return false;
    const uint16_t crc = crc16(frame, length - 2);
    return frame[length - 2] == (crc & 0xFF) && frame[length - 1] == (crc >> 8);
}

void restampCrc(uint8_t* frame, size_t length)
{
    if (length < 2)
        return;
    const uint16_t crc = crc16(frame, length - 2);
    frame[length - 2] = static_cast<uint8_t>(crc & 0xFF);
    frame[length - 1] = static_cast<uint8_t>(crc >> 8);
}

} // namespace RequestFraming
