#ifndef SIMULATOR_REQUEST_FRAMING_H
#define SIMULATOR_REQUEST_FRAMING_H

#include "port/rtu_frame_layout.h"

// Where one RTU request ends, told from its first bytes. A slave has no other way
// to find the end of a frame while the master is still sending.
namespace RequestFraming {

using RtuFrameLayout::NeedMoreBytes;
using RtuFrameLayout::UnknownLength;

// Length of the request at bytes (CRC included), NeedMoreBytes while the bytes
// seen do not tell it yet, UnknownLength for a function code without a fixed layout.
int expectedLength(const uint8_t* bytes, size_t available);

bool crcMatches(const uint8_t* frame, size_t length);
// Rewrites the last two bytes with the CRC of the bytes before them.
void restampCrc(uint8_t* frame, size_t length);

} // namespace RequestFraming

#endif
