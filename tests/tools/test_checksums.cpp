// Byte checksums and the CRC family, checked against the catalogue values of "123456789".
#include <atomic>
#include <climits>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <thread>
#include <vector>
#include "tools/checksum.h"
#include "tools/crc.h"

namespace {
const unsigned char kDigits[] = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};
template <typename Crc, typename Step> unsigned int fold(Crc crc, Step step)
{
    for (unsigned char c : kDigits)
        crc = step(crc, static_cast<char>(c));
    return crc;
}
unsigned short sick(unsigned short crc, char c) // the byte before a digit is the digit below it, 0 before "1"
{
    return update_crc_sick(crc, c, c == '1' ? 0 : static_cast<char>(c - 1));
}
using U16 = unsigned short;
const struct { const char* name; unsigned int (*compute)(); unsigned int expected; } kChecks[] = {
    {"UInt8CheckSum", [] { return unsigned(UInt8CheckSum(kDigits, 9)); }, 0xDD},
    {"UShortCheckSum", [] { return unsigned(UShortCheckSum(kDigits, 9)); }, 0x01DD},
    {"XorUInt8CheckSum", [] { return unsigned(XorUInt8CheckSum(kDigits, 9)); }, 0x31},
    {"CRC16Calculate (ARC)", [] { return unsigned(CRC16Calculate(kDigits, 9)); }, 0xBB3D},
    {"16 from FFFF (MODBUS)", [] { return fold<U16>(0xFFFF, update_crc_16); }, 0x4B37},
    {"CCITT from 0", [] { return fold<U16>(0, update_crc_ccitt); }, 0x31C3},
    {"CCITT from FFFF", [] { return fold<U16>(0xFFFF, update_crc_ccitt); }, 0x29B1},
    {"CCITT from 1D0F", [] { return fold<U16>(0x1D0F, update_crc_ccitt); }, 0xE5CC},
    {"KERMIT", [] { return fold<U16>(0, update_crc_kermit); }, 0x2189},
    {"DNP before complement", [] { return fold<U16>(0, update_crc_dnp); }, 0x157D},
    {"CRC-32 before complement", [] { return fold(0xFFFFFFFFu, update_crc_32); }, 0x340BC6D9},
    {"SICK", [] { return fold<U16>(0, sick); }, 0xA656},
    {"16 table [1]", [] { return unsigned(update_crc_16(0, 1)); }, 0xC0C1},
    {"CCITT table [1]", [] { return unsigned(update_crc_ccitt(0, 1)); }, 0x1021},
    {"KERMIT table [1]", [] { return unsigned(update_crc_kermit(0, 1)); }, 0x1189},
    {"DNP table [1]", [] { return unsigned(update_crc_dnp(0, 1)); }, 0x365E},
    {"32 table [1]", [] { return update_crc_32(0, 1); }, 0x77073096},
};
} // namespace

TEST(Checksums, CheckValuesAndTableEntries)
{
    for (const auto& c : kChecks)
        EXPECT_EQ(c.compute(), c.expected) << c.name;
    for (int n : {0, -1, INT_MIN})
        EXPECT_EQ(UInt8CheckSum(kDigits, n) + UShortCheckSum(kDigits, n) + XorUInt8CheckSum(kDigits, n) +
                      CRC16Calculate(kDigits, n), 0) << "length " << n;
}

// Run alone, as CTest runs every test, this is the very first use of every table.
TEST(Checksums, FirstCallsFromSeveralThreadsAgree)
{
    std::atomic<int> ready{0}, wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t)
        threads.emplace_back([&] {
            for (++ready; ready.load() < 8;)
                std::this_thread::yield();
            for (const auto& c : kChecks)
                wrong += c.compute() != c.expected;
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong.load(), 0);
}

TEST(Checksums, UpdatesAreUnmangledInTheSharedLibrary)
{
    void* library = dlopen(DRIVERTOOLS_LIBRARY_PATH, RTLD_NOW);
    ASSERT_NE(library, nullptr) << dlerror();
    for (const char* name : {"update_crc_16", "update_crc_kermit", "update_crc_dnp", "update_crc_ccitt",
                             "update_crc_32", "update_crc_sick"})
        EXPECT_NE(dlsym(library, name), nullptr) << name;
    const auto crc16 = reinterpret_cast<unsigned short (*)(unsigned short, char)>(dlsym(library, "update_crc_16"));
    EXPECT_TRUE(crc16 != nullptr && crc16(0, 1) == 0xC0C1); // the function itself, not another of that name
    dlclose(library);
}
