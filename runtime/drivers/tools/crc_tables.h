#ifndef CRC_TABLES_H
#define CRC_TABLES_H

#include <array>
#include <cstdint>

// Lookup tables of the table-driven CRCs, computed by the compiler: entry i is
// the CRC of the single byte i from a start value of 0, so no thread ever sees
// a table half filled. Header only; every CRC of the code base takes its table
// from here.

template <typename Crc>
using CrcTable = std::array<Crc, 256>;

// Least significant bit first, for the constant of the reflected polynomial
// (0xA001 for CRC-16/ARC and CRC-16/MODBUS, 0xEDB88320 for CRC-32).
template <typename Crc>
constexpr CrcTable<Crc> ReflectedCrcTable(Crc constant)
{
    CrcTable<Crc> table{};
    for (unsigned int i = 0; i < 256; ++i) {
        Crc crc = static_cast<Crc>(i);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 1u) ? static_cast<Crc>((crc >> 1) ^ constant) : static_cast<Crc>(crc >> 1);
        table[i] = crc;
    }
    return table;
}

// Most significant bit first, 16 bits wide (0x1021 for CRC-16/CCITT).
constexpr CrcTable<std::uint16_t> MsbFirstCrcTable(std::uint16_t polynomial)
{
    CrcTable<std::uint16_t> table{};
    for (unsigned int i = 0; i < 256; ++i) {
        std::uint16_t crc = static_cast<std::uint16_t>(i << 8);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 0x8000u) ? static_cast<std::uint16_t>((crc << 1) ^ polynomial)
                                  : static_cast<std::uint16_t>(crc << 1);
        table[i] = crc;
    }
    return table;
}

#endif
