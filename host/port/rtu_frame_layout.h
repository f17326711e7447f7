#ifndef PORT_RTU_FRAME_LAYOUT_H
#define PORT_RTU_FRAME_LAYOUT_H

#include <cstddef>
#include <cstdint>

// Where a Modbus RTU frame ends, told from its first bytes, for whoever must find
// the end of a frame without waiting for the silence after it.
namespace RtuFrameLayout {

constexpr int NeedMoreBytes = 0;
constexpr int UnknownLength = -1;

// Length of a request (CRC included) of functions 1 to 6, 15 and 16.
int requestLength(const uint8_t* bytes, size_t available);
// Length of a reply: 5 for an exception, 5 + byte count for reads, 8 for writes.
int replyLength(const uint8_t* bytes, size_t available);

// CRC-16/MODBUS as the 16-bit value; its low byte goes first on the wire.
uint16_t crc16(const uint8_t* bytes, size_t length);
// True when the last two bytes are the CRC of the bytes before them.
bool crcMatches(const uint8_t* frame, size_t length);

} // namespace RtuFrameLayout

#endif
