#include "teco_servo/modbus_rtu_frame.h"

#include <array>

namespace {

// The two tables of the table-driven Modbus CRC are the low and high bytes of
// the reflected CRC-16 table for polynomial 0xA001; building them at compile
// time keeps the 512 published constants out of the source and free of typos.
constexpr unsigned short reflectedCrc16Entry(unsigned int index)
{
    unsigned short crc = static_cast<unsigned short>(index);
    for (int k = 0; k < 8; ++k)
        crc = (crc & 1) ? static_cast<unsigned short>((crc >> 1) ^ 0xA001) : static_cast<unsigned short>(crc >> 1);
    return crc;
}

template <bool HighByte>
constexpr std::array<unsigned char, 256> crcByteTable()
{
    std::array<unsigned char, 256> table{};
    for (unsigned int i = 0; i < 256; ++i) {
        const unsigned short entry = reflectedCrc16Entry(i);
        table[i] = static_cast<unsigned char>(HighByte ? entry >> 8 : entry & 0xFF);
    }
    return table;
}

constexpr std::array<unsigned char, 256> kCrcHi = crcByteTable<false>();
constexpr std::array<unsigned char, 256> kCrcLo = crcByteTable<true>();
static_assert(kCrcHi[1] == 0xC1 && kCrcLo[1] == 0xC0, "Modbus CRC tables");

struct CrcBytes {
    unsigned char first;  // low-order byte of the CRC-16, sent first
    unsigned char second;
};

// CRC-16/MODBUS: width 16, polynomial 0x8005 reflected, initial 0xFFFF, no final XOR.
CrcBytes crcOf(const unsigned char* bytes, unsigned int length)
{
    unsigned char hi = 0xFF;
    unsigned char lo = 0xFF;
    for (unsigned int k = 0; k < length; ++k) {
        const unsigned char i = hi ^ bytes[k];
        hi = lo ^ auchCRCHi[i];
        lo = auchCRCLo[i];
    }
    return CrcBytes{hi, lo};
}

void appendWord(QByteArray& frame, unsigned short value)
{
    frame.append(static_cast<char>(value >> 8));
    frame.append(static_cast<char>(value & 0xFF));
}

QByteArray frameHeader(unsigned char slave, unsigned char function, unsigned short address)
{
    QByteArray frame;
    frame.reserve(260);
    frame.append(static_cast<char>(slave));
    frame.append(static_cast<char>(function));
    appendWord(frame, address);
    return frame;
}

} // namespace

const unsigned char auchCRCHi[256] = {
#define ENTRY(i) kCrcHi[i]
#define ROW(i) ENTRY(i), ENTRY(i + 1), ENTRY(i + 2), ENTRY(i + 3), ENTRY(i + 4), ENTRY(i + 5), ENTRY(i + 6), ENTRY(i + 7)
#define BLOCK(i) ROW(i), ROW(i + 8), ROW(i + 16), ROW(i + 24), ROW(i + 32), ROW(i + 40), ROW(i + 48), ROW(i + 56)
    BLOCK(0), BLOCK(64), BLOCK(128), BLOCK(192)
#undef ENTRY
};

const unsigned char auchCRCLo[256] = {
#define ENTRY(i) kCrcLo[i]
    BLOCK(0), BLOCK(64), BLOCK(128), BLOCK(192)
#undef ENTRY
#undef ROW
#undef BLOCK
};

void ModbusRTUSlaveAppendCRC(QByteArray& frame)
{
    const CrcBytes crc =
        crcOf(reinterpret_cast<const unsigned char*>(frame.constData()), static_cast<unsigned int>(frame.size()));
    frame.append(static_cast<char>(crc.first));
    frame.append(static_cast<char>(crc.second));
}

bool ModbusRTUSlaveCheckCRC(unsigned char* adu, unsigned int length)
{
    if (adu == nullptr || length < 2)
        return false;
    const CrcBytes crc = crcOf(adu, length - 2);
    return adu[length - 2] == crc.first && adu[length - 1] == crc.second;
}

QByteArray ModbusRTUSlaveBuildReadDevicesRequest(unsigned char slave, unsigned char function,
                                                 unsigned short address, unsigned short quantity)
{
    QByteArray frame = frameHeader(slave, function, address);
    appendWord(frame, quantity);
    ModbusRTUSlaveAppendCRC(frame);
    return frame;
}

QByteArray ModbusRTUSlaveBuildFn5Request(unsigned char slave, unsigned short address, bool on)
{
    QByteArray frame = frameHeader(slave, 5, address);
    appendWord(frame, on ? 0xFF00 : 0x0000);
    ModbusRTUSlaveAppendCRC(frame);
    return frame;
}

QByteArray ModbusRTUSlaveBuildFn6Request(unsigned char slave, unsigned short address,
                                         const QByteArray& value)
{
    QByteArray frame = frameHeader(slave, 6, address);
    frame.append(value);
    ModbusRTUSlaveAppendCRC(frame);
    return frame;
}

QByteArray ModbusRTUSlaveBuildFn15Request(unsigned char slave, unsigned short address,
                                          unsigned short quantity, const QByteArray& packedCoils)
{
    QByteArray frame = frameHeader(slave, 15, address);
    appendWord(frame, quantity);
    frame.append(static_cast<char>(packedCoils.size() & 0xFF));
    frame.append(packedCoils);
    ModbusRTUSlaveAppendCRC(frame);
    return frame;
}

QByteArray ModbusRTUSlaveBuildFn16Request(unsigned char slave, unsigned short address,
                                          unsigned short quantity, const QByteArray& data)
{
    QByteArray frame = frameHeader(slave, 16, address);
    appendWord(frame, quantity);
    frame.append(static_cast<char>(data.size() & 0xFF));
    frame.append(data);
    ModbusRTUSlaveAppendCRC(frame);
    return frame;
}

int ModbusRTUReplyLength(const QByteArray& request)
{
    if (request.size() < 2)
        return 5;
    const unsigned char function = static_cast<unsigned char>(request.at(1));
    const unsigned int quantity = request.size() >= 6
        ? (static_cast<unsigned char>(request.at(4)) << 8) | static_cast<unsigned char>(request.at(5))
        : 0;
    switch (function) {
    case 1:
    case 2: return 5 + static_cast<int>((quantity + 7) / 8);
    case 3:
    case 4: return 5 + 2 * static_cast<int>(quantity);
    case 5:
    case 6:
    case 15:
    case 16: return 8;
    default: return 5;
    }
}
