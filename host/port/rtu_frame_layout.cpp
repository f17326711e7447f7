#include "port/rtu_frame_layout.h"
#include "tools/crc.h"

namespace RtuFrameLayout {

int requestLength(const uint8_t* bytes, size_t available)
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

int replyLength(const uint8_t* bytes, size_t available)
{
    if (available < 2)
        return NeedMoreBytes;
    if (bytes[1] & 0x80)
        return 5; // slave, function | 0x80, exception code, CRC
    switch (bytes[1]) {
    case 1: case 2: case 3: case 4:
        if (available < 3)
            return NeedMoreBytes;
        return 5 + bytes[2];
    case 5: case 6: case 15: case 16:
        return 8;
    default:
        return UnknownLength;
    }
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
    if (length < 4)
        return false;
    const uint16_t crc = crc16(frame, length - 2);
    return frame[length - 2] == (crc & 0xFF) && frame[length - 1] == (crc >> 8);
}

} // namespace RtuFrameLayout
