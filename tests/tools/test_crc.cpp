#include <gtest/gtest.h>

#include <dlfcn.h>

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

#include "tools/crc.h"

namespace {

const char kDigits[] = "123456789";

using Update16 = unsigned short (*)(unsigned short, char);

template <typename Crc, typename Step>
Crc foldDigits(Crc start, Step step)
{
    Crc crc = start;
    for (int i = 0; i < 9; ++i)
        crc = step(crc, kDigits[i]);
    return crc;
}

unsigned short sickOfDigits()
{
    unsigned short crc = 0;
    char previous = 0;
    for (int i = 0; i < 9; ++i) {
        crc = update_crc_sick(crc, kDigits[i], previous);
        previous = kDigits[i];
    }
    return crc;
}

// Straight from the definition, one bit at a time, to check the tables against.
unsigned int bitwiseReflected(unsigned int crc, unsigned char b, unsigned int constant)
{
    crc ^= b;
    for (int bit = 0; bit < 8; ++bit)
        crc = (crc & 1u) ? (crc >> 1) ^ constant : crc >> 1;
    return crc;
}

unsigned int bitwiseMsbFirst16(unsigned int crc, unsigned char b)
{
    crc ^= static_cast<unsigned int>(b) << 8;
    for (int bit = 0; bit < 8; ++bit)
        crc = ((crc & 0x8000u) ? (crc << 1) ^ 0x1021u : crc << 1) & 0xFFFFu;
    return crc;
}

struct CheckValue {
    const char* name;
    std::function<unsigned int()> compute;
    unsigned int expected;
};

std::vector<CheckValue> checkValues()
{
    return {
        {"ARC", [] { return foldDigits<unsigned short>(0, update_crc_16); }, 0xBB3D},
        {"MODBUS", [] { return foldDigits<unsigned short>(0xFFFF, update_crc_16); }, 0x4B37},
        {"CCITT from 0", [] { return foldDigits<unsigned short>(0, update_crc_ccitt); }, 0x31C3},
        {"CCITT from FFFF", [] { return foldDigits<unsigned short>(0xFFFF, update_crc_ccitt); }, 0x29B1},
        {"CCITT from 1D0F", [] { return foldDigits<unsigned short>(0x1D0F, update_crc_ccitt); }, 0xE5CC},
        {"KERMIT", [] { return foldDigits<unsigned short>(0, update_crc_kermit); }, 0x2189},
        {"DNP before complement", [] { return foldDigits<unsigned short>(0, update_crc_dnp); }, 0x157D},
        {"DNP", [] { return 0xFFFFu & ~foldDigits<unsigned short>(0, update_crc_dnp); }, 0xEA82},
        {"CRC-32 before complement", [] { return foldDigits<unsigned int>(0xFFFFFFFFu, update_crc_32); }, 0x340BC6D9},
        {"CRC-32", [] { return ~foldDigits<unsigned int>(0xFFFFFFFFu, update_crc_32); }, 0xCBF43926},
        {"SICK", [] { return static_cast<unsigned int>(sickOfDigits()); }, 0xA656},
    };
}

} // namespace

TEST(Crc, CheckValuesOfDigitsOneToNine)
{
    for (const CheckValue& c : checkValues())
        EXPECT_EQ(c.compute(), c.expected) << c.name << std::hex << " got 0x" << c.compute();
}

TEST(Crc, EntryOneOfEveryTable)
{
    // From 0, one byte b gives table entry b for every table-driven update.
    EXPECT_EQ(update_crc_16(0, 1), 0xC0C1);
    EXPECT_EQ(update_crc_ccitt(0, 1), 0x1021);
    EXPECT_EQ(update_crc_kermit(0, 1), 0x1189);
    EXPECT_EQ(update_crc_dnp(0, 1), 0x365E);
    EXPECT_EQ(update_crc_32(0, 1), 0x77073096u);
}

TEST(Crc, ModbusRequestFrame)
{
    // Read 10 holding registers from 0 at station 1: the CRC goes out as C5 CD, low byte first.
    const char frame[] = {0x01, 0x03, 0x00, 0x00, 0x00, 0x0A};
    unsigned short crc = 0xFFFF;
    for (char c : frame)
        crc = update_crc_16(crc, c);
    EXPECT_EQ(crc, 0xCDC5);
}

TEST(Crc, TablesAgreeWithTheBitwiseDefinitionForEveryByte)
{
    struct Reflected {
        const char* name;
        Update16 update;
        unsigned int constant;
    };
    const Reflected reflected[] = {
        {"16", update_crc_16, 0xA001},
        {"kermit", update_crc_kermit, 0x8408},
        {"dnp", update_crc_dnp, 0xA6BC},
    };
    const unsigned int starts[] = {0x0000, 0xFFFF, 0x1D0F, 0x8001};
    for (unsigned int start : starts) {
        for (int value = 0; value < 256; ++value) {
            const unsigned char b = static_cast<unsigned char>(value);
            const char c = static_cast<char>(b);
            for (const Reflected& r : reflected)
                ASSERT_EQ(r.update(static_cast<unsigned short>(start), c), bitwiseReflected(start, b, r.constant))
                    << r.name << " start " << start << " byte " << value;
            ASSERT_EQ(update_crc_ccitt(static_cast<unsigned short>(start), c), bitwiseMsbFirst16(start, b))
                << "ccitt start " << start << " byte " << value;
            const unsigned int start32 = start * 0x10001u;
            ASSERT_EQ(update_crc_32(start32, c), bitwiseReflected(start32, b, 0xEDB88320u))
                << "32 start " << start32 << " byte " << value;
        }
    }
}

TEST(Crc, SickUsesThePreviousByteAsHighHalf)
{
    // 0x8000 shifts out its top bit, so the polynomial comes in: 0x0000 ^ 0x8005.
    EXPECT_EQ(update_crc_sick(0x8000, 0, 0), 0x8005);
    EXPECT_EQ(update_crc_sick(0x0001, 0, 0), 0x0002);
    EXPECT_EQ(update_crc_sick(0, static_cast<char>(0xAB), static_cast<char>(0xCD)), 0xCDAB);
    EXPECT_EQ(update_crc_sick(0xFFFF, static_cast<char>(0xFF), 0), (((0xFFFF << 1) ^ 0x8005) & 0xFFFF) ^ 0xFF);
}

TEST(Crc, FirstCallsFromSeveralThreadsAgree)
{
    constexpr int kThreads = 8;
    std::atomic<int> ready{0};
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&] {
            ++ready;
            while (ready.load() < kThreads)
                std::this_thread::yield();
            for (const CheckValue& c : checkValues())
                if (c.compute() != c.expected)
                    ++wrong;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong.load(), 0);
}

TEST(Crc, UpdatesAreUnmangledInTheSharedLibrary)
{
    void* library = dlopen(DRIVERTOOLS_LIBRARY_PATH, RTLD_NOW);
    ASSERT_NE(library, nullptr) << dlerror();
    const char* const names[] = {"update_crc_16",  "update_crc_kermit", "update_crc_dnp",
                                 "update_crc_ccitt", "update_crc_32",   "update_crc_sick"};
    for (const char* name : names)
        EXPECT_NE(dlsym(library, name), nullptr) << name;
    // The symbol must be the function itself, not an unrelated one of that name.
    auto crc16 = reinterpret_cast<Update16>(dlsym(library, "update_crc_16"));
    ASSERT_NE(crc16, nullptr);
    EXPECT_EQ(crc16(0, 1), 0xC0C1);
    dlclose(library);
}
