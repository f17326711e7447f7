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
    const auto step = [&hi, &lo](unsigned char byte) {
        const unsigned char i = hi ^ byte;
        hi = lo ^ auchCRCHi[i];
        lo = auchCRCLo[i];
    };
    // Two bytes a turn: every frame byte goes through here, on every command.
    int k = 0;
    for (; k + 1 < length; k += 2) {
        step(bytes[k]);
        step(bytes[k + 1]);
    }
    if (k < length)
        step(bytes[k]);
    return static_cast<unsigned short>(hi | lo << 8);
}
