#ifndef MODBUS_REQUEST_H
#define MODBUS_REQUEST_H

#include "teco_servo/modbus_rtu_sizes.h"

// CRC-16/MODBUS of length bytes: width 16, polynomial 0x8005 reflected, initial
// 0xFFFF, no final XOR. The low-order byte goes first on the wire.
unsigned short ModbusRTUCrc(const unsigned char* bytes, int length);

// One Modbus RTU request, built in place: slave, function code, function data,
// CRC. It knows from its own fields how long the normal reply must be, so the
// exchange asks the port for exactly that many bytes.
class ModbusRequest {
public:
    // Functions 1 to 4: start address and quantity of bits or registers.
    static ModbusRequest readDevices(unsigned char slave, unsigned char function, unsigned short address,
                                     unsigned short quantity);
    // Functions 5 and 6: one address and one 16-bit value.
    static ModbusRequest writeSingle(unsigned char slave, unsigned char function, unsigned short address,
                                     unsigned short value);
    // Functions 15 and 16: the header with the byte count; the caller fills
    // byteCount bytes at payload() and then calls seal().
    static ModbusRequest writeMultiple(unsigned char slave, unsigned char function, unsigned short address,
                                       unsigned short quantity, unsigned char byteCount);
    unsigned char* payload() { return frame + ModbusRtu::MultipleWriteHeaderLength; }
    // Appends the CRC of everything before it.
    void seal()
    {
        const int end = length;
        ModbusRtu::putCrc(frame + end, ModbusRTUCrc(frame, end));
        length = end + ModbusRtu::CrcLength;
    }

    unsigned char slave() const { return frame[0]; }
    unsigned char function() const { return frame[1]; }
    const unsigned char* bytes() const { return frame; }
    const char* chars() const { return reinterpret_cast<const char*>(frame); }
    int size() const { return length; }
    // 5 + ceil(n / 8) for functions 1 and 2, 5 + 2n for 3 and 4, 8 for the echo of 5, 6, 15 and 16.
    int replyLength() const { return expectedReplyLength; }
    // Where the data of a read reply start.
    static constexpr int dataOffset() { return ModbusRtu::HeaderLength; }

private:
    // Every request starts slave, function, then two 16-bit fields high byte
    // first: an address and a quantity or value. Written at their offsets, so
    // that no byte store has to reload the length.
    ModbusRequest(unsigned char slave, unsigned char function, unsigned short address, unsigned short field)
        : length(ModbusRtu::FixedRequestLength - ModbusRtu::CrcLength)
    {
        frame[0] = slave;
        frame[1] = function;
        frame[2] = static_cast<unsigned char>(address >> 8);
        frame[3] = static_cast<unsigned char>(address & 0xFF);
        frame[4] = static_cast<unsigned char>(field >> 8);
        frame[5] = static_cast<unsigned char>(field & 0xFF);
    }

    unsigned char frame[ModbusRtu::MaxRequestLength];
    int length;
    int expectedReplyLength = ModbusRtu::EchoReplyLength;
};

inline ModbusRequest ModbusRequest::readDevices(unsigned char slave, unsigned char function, unsigned short address,
                                                unsigned short quantity)
{
    ModbusRequest request(slave, function, address, quantity);
    request.seal();
    request.expectedReplyLength = ModbusRtu::normalReplyLength(function, quantity);
    return request;
}

inline ModbusRequest ModbusRequest::writeSingle(unsigned char slave, unsigned char function, unsigned short address,
                                                unsigned short value)
{
    ModbusRequest request(slave, function, address, value);
    request.seal();
    return request;
}

inline ModbusRequest ModbusRequest::writeMultiple(unsigned char slave, unsigned char function, unsigned short address,
                                                  unsigned short quantity, unsigned char byteCount)
{
    ModbusRequest request(slave, function, address, quantity);
    request.frame[request.length++] = byteCount;
    // The bounds of the coil and register writes keep every payload within the
    // frame; a longer one is cut so that nothing is written past it.
    const int room = ModbusRtu::MaxRequestLength - ModbusRtu::CrcLength - request.length;
    request.length += byteCount < room ? byteCount : room;
    return request;
}

// Where the reply is received: the whole reply lies in it from byte 0 on.
struct ReplyBuffer {
    unsigned char bytes[ModbusRtu::ReceiveBufferSize];

    char* chars() { return reinterpret_cast<char*>(bytes); }
    const char* chars() const { return reinterpret_cast<const char*>(bytes); }
    // The data of a read reply.
    const unsigned char* data() const { return bytes + ModbusRequest::dataOffset(); }
    unsigned char* data() { return bytes + ModbusRequest::dataOffset(); }
};

#endif
