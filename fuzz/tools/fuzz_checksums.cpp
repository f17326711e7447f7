// Checksums and CRCs over any bytes, lengths and offsets: block checks read
// only the bytes they are given, every table-driven CRC agrees with a bitwise
// fold of its polynomial, and a CRC appended to its data checks to zero.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "common/fuzz_check.h"
#include "tools/checksum.h"
#include "tools/crc.h"

namespace {

// Reflected CRC, one bit at a time.
template <typename T>
T reflected(T crc, unsigned char byte, T polynomial)
{
    crc ^= byte;
    for (int k = 0; k < 8; ++k)
        crc = (crc & 1) ? static_cast<T>((crc >> 1) ^ polynomial) : static_cast<T>(crc >> 1);
    return crc;
}

unsigned short msbFirst(unsigned short crc, unsigned char byte)
{
    crc ^= static_cast<unsigned short>(byte << 8);
    for (int k = 0; k < 8; ++k)
        crc = (crc & 0x8000) ? static_cast<unsigned short>((crc << 1) ^ 0x1021) : static_cast<unsigned short>(crc << 1);
    return crc;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 4)
        return 0;
    const unsigned short start16 = static_cast<unsigned short>(data[0] | (data[1] << 8));
    const int offset = data[2] % 8;
    const std::vector<unsigned char> exact(data + 3, data + size);
    const int available = static_cast<int>(exact.size());
    const int length = available - (offset < available ? offset : available);
    const unsigned char* bytes = exact.data() + (available - length);

    unsigned sum = 0, x = 0;
    unsigned short arc = 0, modbus = 0xFFFF, kermit = start16, dnp = start16, ccitt = start16;
    unsigned short refArc = 0, refKermit = start16, refDnp = start16, refCcitt = start16;
    unsigned int crc32 = 0xFFFFFFFFu, ref32 = 0xFFFFFFFFu;
    for (int i = 0; i < length; ++i) {
        const unsigned char b = bytes[i];
        const char c = static_cast<char>(b);
        sum += b;
        x ^= b;
        arc = update_crc_16(arc, c);
        modbus = update_crc_16(modbus, c);
        kermit = update_crc_kermit(kermit, c);
        dnp = update_crc_dnp(dnp, c);
        ccitt = update_crc_ccitt(ccitt, c);
        crc32 = update_crc_32(crc32, c);
        refArc = reflected<unsigned short>(refArc, b, 0xA001);
        refKermit = reflected<unsigned short>(refKermit, b, 0x8408);
        refDnp = reflected<unsigned short>(refDnp, b, 0xA6BC);
        refCcitt = msbFirst(refCcitt, b);
        ref32 = reflected<unsigned int>(ref32, b, 0xEDB88320u);
    }
    FUZZ_REQUIRE(UInt8CheckSum(bytes, length) == static_cast<unsigned char>(sum), "8-bit sum");
    FUZZ_REQUIRE(UShortCheckSum(bytes, length) == static_cast<unsigned short>(sum), "16-bit sum");
    FUZZ_REQUIRE(XorUInt8CheckSum(bytes, length) == static_cast<unsigned char>(x), "exclusive or");
    FUZZ_REQUIRE(CRC16Calculate(bytes, length) == arc && arc == refArc, "CRC-16/ARC");
    FUZZ_REQUIRE(kermit == refKermit && dnp == refDnp && ccitt == refCcitt && crc32 == ref32,
                 "tables agree with their polynomials");
    const int negative = -1 - data[2];
    FUZZ_REQUIRE(UInt8CheckSum(bytes, negative) == 0 && UShortCheckSum(bytes, negative) == 0
                     && XorUInt8CheckSum(bytes, negative) == 0 && CRC16Calculate(bytes, negative) == 0,
                 "a negative length reads nothing");

    // The Modbus CRC, appended low byte first, leaves a zero CRC over the frame.
    unsigned short residue = modbus;
    residue = update_crc_16(residue, static_cast<char>(modbus & 0xFF));
    residue = update_crc_16(residue, static_cast<char>(modbus >> 8));
    FUZZ_REQUIRE(residue == 0, "Modbus CRC residue");

    unsigned short sick = 0;
    unsigned char previous = 0;
    for (int i = 0; i < length; ++i) {
        const unsigned short before = sick;
        sick = update_crc_sick(sick, static_cast<char>(bytes[i]), static_cast<char>(previous));
        const unsigned short shifted = static_cast<unsigned short>((before & 0x8000) ? (before << 1) ^ 0x8005 : before << 1);
        FUZZ_REQUIRE(sick == static_cast<unsigned short>(shifted ^ ((previous << 8) | bytes[i])), "SICK CRC step");
        previous = bytes[i];
    }
    return 0;
}
