// Byte checksums and the CRC family, checked against the catalogue values of "123456789".
#include <atomic>
#include <climits>
#include <dlfcn.h>
#include <functional>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

#include "tools/checksum.h"
#include "tools/crc.h"

namespace {

const unsigned char kDigits[] = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};

template <typename Crc, typename Step> Crc fold(Crc crc, Step step)
{
    for (unsigned char c : kDigits)
        crc = step(crc, static_cast<char>(c));
    return crc;
}

unsigned int sick()
{
    unsigned short crc = 0;
    char previous = 0;
    for (unsigned char c : kDigits)
        crc = update_crc_sick(crc, static_cast<char>(c), previous), previous = static_cast<char>(c);
    return crc;
}

struct Check {
    const char* name;
    std::function<unsigned int()> compute;
    unsigned int expected;
};

const std::vector<Check>& checks()
{
    using U16 = unsigned short;
    static const std::vector<Check> all = {
        {"UInt8CheckSum", [] { return UInt8CheckSum(kDigits, 9); }, 0xDD},
        {"UShortCheckSum", [] { return UShortCheckSum(kDigits, 9); }, 0x01DD},
        {"XorUInt8CheckSum", [] { return XorUInt8CheckSum(kDigits, 9); }, 0x31},
        {"CRC16Calculate (ARC)", [] { return CRC16Calculate(kDigits, 9); }, 0xBB3D},
        {"16 from FFFF (MODBUS)", [] { return fold<U16>(0xFFFF, update_crc_16); }, 0x4B37},
        {"CCITT from 0", [] { return fold<U16>(0, update_crc_ccitt); }, 0x31C3},
        {"CCITT from FFFF", [] { return fold<U16>(0xFFFF, update_crc_ccitt); }, 0x29B1},
        {"CCITT from 1D0F", [] { return fold<U16>(0x1D0F, update_crc_ccitt); }, 0xE5CC},
        {"KERMIT", [] { return fold<U16>(0, update_crc_kermit); }, 0x2189},
        {"DNP before complement", [] { return fold<U16>(0, update_crc_dnp); }, 0x157D},
        {"CRC-32 before complement", [] { return fold(0xFFFFFFFFu, update_crc_32); }, 0x340BC6D9},
        {"SICK", sick, 0xA656},
        {"entry 1 of the 16 table", [] { return update_crc_16(0, 1); }, 0xC0C1},
        {"entry 1 of the CCITT table", [] { return update_crc_ccitt(0, 1); }, 0x1021},
        {"entry 1 of the KERMIT table", [] { return update_crc_kermit(0, 1); }, 0x1189},
        {"entry 1 of the DNP table", [] { return update_crc_dnp(0, 1); }, 0x365E},
        {"entry 1 of the 32 table", [] { return update_crc_32(0, 1); }, 0x77073096},
    };
    return all;
}

} // namespace

TEST(Checksums, CheckValuesAndTableEntries)
{
    for (const Check& c : checks())
        EXPECT_EQ(c.compute(), c.expected) << c.name << std::hex << " got 0x" << c.compute();
}

TEST(Checksums, NothingToSumGivesZero)
{
    const std::function<unsigned int(const unsigned char*, int)> sums[] = {UInt8CheckSum, UShortCheckSum,
                                                                           XorUInt8CheckSum, CRC16Calculate};
    for (const auto& sum : sums)
        for (int length : {0, -1, INT_MIN})
            EXPECT_EQ(sum(kDigits, length), 0u) << length;
    const std::vector<unsigned char> ones(300, 0xFF);
    EXPECT_EQ(UShortCheckSum(ones.data(), 300), 300 * 255 - 65536);
}

// Run alone (as CTest runs every test), this is the very first use of every table.
TEST(Checksums, FirstCallsFromSeveralThreadsAgree)
{
    constexpr int kThreads = 8;
    std::atomic<int> ready{0}, wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&] {
            for (++ready; ready.load() < kThreads;)
                std::this_thread::yield();
            for (const Check& c : checks())
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
    ASSERT_NE(crc16, nullptr);
    EXPECT_EQ(crc16(0, 1), 0xC0C1); // the function itself, not another of that name
    dlclose(library);
}
