#include "tools/crc.h"

#include <array>
#include <cstdint>

namespace {

template <typename Crc>
using Table = std::array<Crc, 256>;

// Tables are computed by the compiler, so no thread ever sees one half filled.
template <typename Crc>
constexpr Table<Crc> reflectedTable(Crc constant)
{
    Table<Crc> table{};
    for (unsigned int i = 0; i < 256; ++i) {
        Crc crc = 0;
        Crc c = static_cast<Crc>(i);
        for (int bit = 0; bit < 8; ++bit) {
            crc = ((crc ^ c) & 1u) ? static_cast<Crc>((crc >> 1) ^ constant) : static_cast<Crc>(crc >> 1);
            c = static_cast<Crc>(c >> 1);
        }
        table[i] = crc;
    }
    return table;
}

constexpr Table<std::uint16_t> msbFirstTable(std::uint16_t polynomial)
{
    Table<std::uint16_t> table{};
    for (unsigned int i = 0; i < 256; ++i) {
        std::uint16_t crc = 0;
        std::uint16_t c = static_cast<std::uint16_t>(i << 8);
        for (int bit = 0; bit < 8; ++bit) {
            crc = ((crc ^ c) & 0x8000u) ? static_cast<std::uint16_t>((crc << 1) ^ polynomial)
                                        : static_cast<std::uint16_t>(crc << 1);
            c = static_cast<std::uint16_t>(c << 1);
        }
        table[i] = crc;
    }
    return table;
}

constexpr Table<std::uint16_t> crc_tab16 = reflectedTable<std::uint16_t>(0xA001);
constexpr Table<std::uint16_t> crc_tabkermit = reflectedTable<std::uint16_t>(0x8408);
constexpr Table<std::uint16_t> crc_tabdnp = reflectedTable<std::uint16_t>(0xA6BC);
constexpr Table<std::uint16_t> crc_tabccitt = msbFirstTable(0x1021);
constexpr Table<std::uint32_t> crc_tab32 = reflectedTable<std::uint32_t>(0xEDB88320u);

unsigned int byteOf(char c)
{
    return static_cast<unsigned char>(c);
}

template <typename Crc>
Crc reflectedUpdate(const Table<Crc>& table, Crc crc, char c)
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
