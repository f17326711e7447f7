#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "tools/checksum.h"

namespace {

const unsigned char kDigits[] = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};

struct Check {
    const char* name;
    std::function<unsigned int(const unsigned char*, int)> compute;
};

const Check kChecks[] = {
    {"UInt8CheckSum", UInt8CheckSum},
    {"UShortCheckSum", UShortCheckSum},
    {"XorUInt8CheckSum", XorUInt8CheckSum},
    {"CRC16Calculate", CRC16Calculate},
};

} // namespace

TEST(Checksum, DigitsOneToNine)
{
    const unsigned int expected[] = {0xDD, 0x01DD, 0x31, 0xBB3D};
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(kChecks[i].compute(kDigits, 9), expected[i]) << kChecks[i].name;
}

TEST(Checksum, EmptyNegativeOrNullGiveZero)
{
    for (const Check& check : kChecks) {
        EXPECT_EQ(check.compute(kDigits, 0), 0u) << check.name;
        EXPECT_EQ(check.compute(kDigits, -1), 0u) << check.name;
        EXPECT_EQ(check.compute(kDigits, -2147483647 - 1), 0u) << check.name;
        EXPECT_EQ(check.compute(nullptr, 5), 0u) << check.name;
    }
}

TEST(Checksum, OnlyLengthBytesCount)
{
    EXPECT_EQ(UInt8CheckSum(kDigits, 2), 0x31 + 0x32);
    EXPECT_EQ(XorUInt8CheckSum(kDigits, 2), 0x31 ^ 0x32);
}

TEST(Checksum, SumsWrapAtTheirWidth)
{
    const std::vector<unsigned char> ones(300, 0xFF);
    EXPECT_EQ(UInt8CheckSum(ones.data(), 2), 0xFE);
    // 300 * 255 = 76500, and 76500 - 65536 = 10964.
    EXPECT_EQ(UShortCheckSum(ones.data(), 300), 10964);
    EXPECT_EQ(UInt8CheckSum(ones.data(), 300), 76500 % 256);
    EXPECT_EQ(XorUInt8CheckSum(ones.data(), 3), 0xFF);
}

TEST(Checksum, Crc16OfSingleByteIsTableEntry)
{
    const unsigned char one[] = {0x01};
    EXPECT_EQ(CRC16Calculate(one, 1), 0xC0C1);
}
