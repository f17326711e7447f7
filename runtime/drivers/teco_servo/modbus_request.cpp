#include "teco_servo/modbus_request.h"

#include <cstdint>

#include "tools/crc_tables.h"

namespace {

constexpr CrcTable<std::uint16_t> modbusCrcTable = ReflectedCrcTable<std::uint16_t>(0xA001);

} // namespace

unsigned short ModbusRTUCrc(const unsigned char* bytes, int length)
{
    unsigned int crc = 0xFFFF;
    for (int k = 0; k < length; ++k)
        crc = (crc >> 8) ^ modbusCrcTable[(crc ^ bytes[k]) & 0xFF];
    return static_cast<unsigned short>(crc);
}

void ModbusRequest::putWord(unsigned short value)
{
    putByte(static_cast<unsigned char>(value >> 8));
    putByte(static_cast<unsigned char>(value & 0xFF));
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
