#ifndef HOST_RTU_FRAME_H
#define HOST_RTU_FRAME_H

#include <QByteArray>
#include <cstddef>
#include <cstdint>

#include "teco_servo/modbus_rtu_sizes.h"

// Modbus RTU frames as the host side sees them on a line: where a frame ends,
// told from its first bytes, the reply a request implies, whether bytes make one
// whole frame, and the CRC. Sizes and the CRC's byte order are the driver's
// (teco_servo/modbus_rtu_sizes.h), so that host and driver count alike.
namespace Rtu {

// What requestLength and replyLength give when the bytes do not tell a length:
// not yet (too few bytes), or never (a function code without a fixed layout).
constexpr int NeedMoreBytes = 0;
constexpr int UnknownLength = -1;

constexpr int ExceptionReplyLength = ModbusRtu::ExceptionReplyLength;
// The shortest frame that can carry a CRC: slave, function, CRC.
constexpr int MinFrameLength = 4;

// Length of a request (CRC included) of functions 1 to 6, 15 and 16.
int requestLength(const uint8_t* bytes, size_t available);
// Length of a reply: 5 for an exception, 5 + byte count for reads, 8 for writes.
int replyLength(const uint8_t* bytes, size_t available);
// Length of the normal reply to a request of this function and quantity; 0 for
// a function without a fixed layout.
inline int normalReplyLength(int function, int quantity)
{
    return ModbusRtu::normalReplyLength(function, quantity);
}

// Exactly `length` bytes of one request (or reply) with a good CRC.
bool isWholeRequest(const uint8_t* bytes, size_t length);
bool isWholeReply(const uint8_t* bytes, size_t length);
// Either of the two.
bool isWholeFrame(const uint8_t* bytes, size_t length);

// CRC-16/MODBUS as the 16-bit value.
uint16_t crc16(const uint8_t* bytes, size_t length);
// True when the last two bytes are the CRC of the bytes before them.
bool crcMatches(const uint8_t* frame, size_t length);
// Rewrites the last two bytes with the CRC of the bytes before them.
void stampCrc(uint8_t* frame, size_t length);
// Appends the CRC of everything in frame.
void appendCrc(QByteArray& frame);

// The driver's area letters for the function code, as its address texts name
// what the function reads or writes ("HR" for 3 and 16); nullptr for others.
const char* areaOf(int function);

} // namespace Rtu

#endif
