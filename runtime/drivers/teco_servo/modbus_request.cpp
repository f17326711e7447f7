#include "teco_servo/modbus_request.h"

#include <array>
#include <cstdint>

#include "tools/crc_tables.h"

namespace {

// The two byte tables of the table-driven Modbus CRC: the low and the high
// byte of each entry of the reflected CRC-16 table for 0xA001.
template <bool HighByte>
constexpr std::array<unsigned char, 256> crcByteTable()
{
    constexpr CrcTable<std::uint16_t> table = ReflectedCrcTable<std::uint16_t>(0xA001);
    std::array<unsigned char, 256> bytes{};
    for (unsigned int i = 0; i < 256; ++i)
        bytes[i] = static_cast<unsigned char>(HighByte ? table[i] >> 8 : table[i] & 0xFF);
    return bytes;
}
constexpr std::array<unsigned char, 256> auchCRCHi = crcByteTable<false>();
constexpr std::array<unsigned char, 256> auchCRCLo = crcByteTable<true>();

} // namespace

unsigned short ModbusRTUCrc(const unsigned char* bytes, int length)
{
    // hi holds the low-order byte of the CRC, the one sent first.
    unsigned char hi = 0xFF;
    unsigned char lo = 0xFF;
    for (int k = 0; k < length; ++k) {
        const unsigned char i = hi ^ bytes[k];
        hi = lo ^ auchCRCHi[i];
        lo = auchCRCLo[i];
    }
    return static_cast<unsigned short>(hi | lo << 8);
}

void ModbusRequest::seal()
{
    const unsigned short crc = ModbusRTUCrc(frame, length);
    putByte(static_cast<unsigned char>(crc & 0xFF));
    putByte(static_cast<unsigned char>(crc >> 8));
}

ModbusRequest ModbusRequest::readDevices(unsigned char slave, unsigned char function, unsigned short address,
                                         unsigned short quantity)
{
    ModbusRequest request;
    request.putByte(slave);
    request.putByte(function);
    request.putWord(address);
    request.putWord(quantity);
    request.seal();
    const int dataBytes = function <= 2 ? (quantity + 7) / 8 : 2 * quantity;
    request.expectedReplyLength = ModbusRtu::HeaderLength + dataBytes + ModbusRtu::CrcLength;
    return request;
}

ModbusRequest ModbusRequest::writeSingle(unsigned char slave, unsigned char function, unsigned short address,
                                         unsigned short value)
{
    ModbusRequest request;
    request.putByte(slave);
    request.putByte(function);
    request.putWord(address);
    request.putWord(value);
    request.seal();
    return request;
}

ModbusRequest ModbusRequest::writeMultiple(unsigned char slave, unsigned char function, unsigned short address,
                                           unsigned short quantity, unsigned char byteCount)
{
    ModbusRequest request;
    request.putByte(slave);
    request.putByte(function);
    request.putWord(address);
    request.putWord(quantity);
    request.putByte(byteCount);
    // The bounds of the coil and register writes keep every payload within the
    // frame; a longer one is cut so that nothing is written past it.
    const int room = ModbusRtu::MaxRequestLength - ModbusRtu::CrcLength - request.length;
    request.length += byteCount < room ? byteCount : room;
    return request;
}
