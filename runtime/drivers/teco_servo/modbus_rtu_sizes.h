#ifndef MODBUS_RTU_SIZES_H
#define MODBUS_RTU_SIZES_H

// Every size of the driver's Modbus RTU frames and limits, the reply length a
// request implies and where the CRC's bytes go, in one place. The host side's
// Modbus RTU unit (host/rtu) takes the sizes it shares with the driver from here.
namespace ModbusRtu {

// Slave, function code, and the byte count of a read reply (or the first
// address byte of an echo reply): the data of a read reply start behind it.
constexpr int HeaderLength = 3;
constexpr int CrcLength = 2;
// An exception reply: slave, function | 0x80, exception code, CRC.
constexpr int ExceptionReplyLength = 5;
// The first receive of every reply: an exception reply is complete at 5 bytes,
// and every normal reply is at least that long.
constexpr int FirstReceiveLength = ExceptionReplyLength;
// The echo reply to functions 5, 6, 15 and 16: slave, function, two 16-bit fields, CRC.
constexpr int EchoReplyLength = 8;
// Request of functions 1 to 6: slave, function, two 16-bit fields, CRC.
constexpr int FixedRequestLength = 8;
// Functions 15 and 16 add a byte count: slave, function, two 16-bit fields, count.
constexpr int MultipleWriteHeaderLength = 7;
// The longest request, function 15 with 1976 coils (9 + 247 bytes).
constexpr int MaxRequestLength = 256;
// The longest reply asked for (2008 bits, 5 + 251 bytes) and one spare byte.
constexpr int ReceiveBufferSize = 257;

// The length of the normal reply to a request of this function and quantity:
// the header, a read's data and the CRC, or the echo of a write; 0 for any other function.
constexpr int normalReplyLength(int function, int quantity)
{
    switch (function) {
    case 1: case 2: return HeaderLength + (quantity + 7) / 8 + CrcLength;
    case 3: case 4: return HeaderLength + 2 * quantity + CrcLength;
    case 5: case 6: case 15: case 16: return EchoReplyLength;
    default: return 0;
    }
}

// The low-order byte of the CRC comes first in the RTU message.
inline void putCrc(unsigned char* at, unsigned short crc)
{
    at[0] = static_cast<unsigned char>(crc & 0xFF);
    at[1] = static_cast<unsigned char>(crc >> 8);
}

// The CRC stored at `at` by putCrc.
constexpr unsigned short crcAt(const unsigned char* at)
{
    return static_cast<unsigned short>(at[0] | at[1] << 8);
}

// Registers and coils are numbered 0 .. 65535: a range must end at 65536.
constexpr long long AddressSpace = 65536;
constexpr long long MaxRegistersPerRead = 125;   // 5 + 2 * 125 bytes
constexpr long long MaxBitsPerRead = 2008;       // 251 data bytes
constexpr long long MaxRegistersPerWrite = 123;  // 9 + 246 bytes
constexpr long long MaxCoilsPerWrite = 1976;     // 9 + 247 bytes

// True when count items from address, at least minimum and at most maximum of
// them, end within the address space. Wide arithmetic, so that no count of any
// size wraps around the bound.
constexpr bool rangeFits(unsigned int address, long long count, long long minimum, long long maximum)
{
    return count >= minimum && count <= maximum && address + count <= AddressSpace;
}

} // namespace ModbusRtu

#endif
