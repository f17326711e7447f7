#include "tools/crc.h"

#include "tools/crc_tables.h"

namespace {

constexpr CrcTable<std::uint16_t> crc_tab16 = ReflectedCrcTable<std::uint16_t>(0xA001);
constexpr CrcTable<std::uint16_t> crc_tabkermit = ReflectedCrcTable<std::uint16_t>(0x8408);
constexpr CrcTable<std::uint16_t> crc_tabdnp = ReflectedCrcTable<std::uint16_t>(0xA6BC);
constexpr CrcTable<std::uint16_t> crc_tabccitt = MsbFirstCrcTable(0x1021);
constexpr CrcTable<std::uint32_t> crc_tab32 = ReflectedCrcTable<std::uint32_t>(0xEDB88320u);

unsigned int byteOf(char c)
{
    return static_cast<unsigned char>(c);
}

template <typename Crc>
Crc reflectedUpdate(const CrcTable<Crc>& table, Crc crc, char c)
{
    return static_cast<Crc>((crc >> 8) ^ table[(crc ^ byteOf(c)) & 0xFFu]);
}

} // namespace

extern "C" {

unsigned short update_crc_16(unsigned short crc, char c)
{
    return reflectedUpdate<std::uint16_t>(crc_tab16, crc, c);
}

unsigned short update_crc_kermit(unsigned short crc, char c)
{
    return reflectedUpdate<std::uint16_t>(crc_tabkermit, crc, c);
}

unsigned short update_crc_dnp(unsigned short crc, char c)
{
    return reflectedUpdate<std::uint16_t>(crc_tabdnp, crc, c);
}

unsigned short update_crc_ccitt(unsigned short crc, char c)
{
    return static_cast<unsigned short>((crc << 8) ^ crc_tabccitt[((crc >> 8) ^ byteOf(c)) & 0xFFu]);
}

unsigned int update_crc_32(unsigned int crc, char c)
{
    return reflectedUpdate<std::uint32_t>(crc_tab32, crc, c);
}

unsigned short update_crc_sick(unsigned short crc, char c, char previous)
{
    unsigned int next = (crc & 0x8000u) ? ((crc << 1) ^ 0x8005u) : (crc << 1u);
    next &= 0xFFFFu;
    next ^= (byteOf(previous) << 8) | byteOf(c);
    return static_cast<unsigned short>(next);
}

} // extern "C"
