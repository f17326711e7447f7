// Register image and host order conversions: one named test per conversion row.
#include <functional>
#include <ostream>
#include <gtest/gtest.h>
#include <string>
#include "tools/byte_order.h"
#include "tools_test_support.h"

namespace {

using B = QByteArray;

struct Conversion {
    const char* name; // also the test's name
    std::function<B(B)> convert;
    const char* input;
    const char* expected;
};

const Conversion conversions[] = {
    {"fromShorts_x2", [](B b) { return fromBigEndianUShortArray(raw(b), 2); }, "1234abcd", "3412cdab"},
    {"fromShorts_x1_reads_one_unit", [](B b) { return fromBigEndianUShortArray(raw(b), 1); }, "1234abcd", "3412"},
    {"fromShorts_x_minus_1", [](B b) { return fromBigEndianUShortArray(raw(b), -1); }, "1234", ""},
    {"fromShorts_of_null", [](B) { return fromBigEndianUShortArray(nullptr, 4); }, "", ""},
    {"fromLongs_high_word_first", [](B b) { return fromBigEndianULongArray(raw(b), 1); }, "12345678", "78563412"},
    {"fromLongs_x0", [](B b) { return fromBigEndianULongArray(raw(b), 0); }, "12345678", ""},
    {"toShorts_low_word_first", toBigEndianUShortArray, "78563412", "56781234"},
    {"toShorts_pads_before_the_swap", toBigEndianUShortArray, "123456", "34120056"},
    {"toLongs_high_word_first", toBigEndianULongArray, "78563412", "12345678"},
    {"toLongs_5_bytes", toBigEndianULongArray, "0102030405", "0403020100000005"},
    {"toLongs_3_bytes_pad_first", toBigEndianULongArray, "010203", "00030201"},
    {"To16_odd", To16bitsData, "010203", "01020300"},
    {"To32_5_bytes", To32bitsData, "0102030405", "0102030405000000"},
    {"To64_5_bytes", To64bitsData, "0102030405", "0102030405000000"},
    {"reverse", reverseArray, "010203", "030201"},
    {"in_place_shorts", [](B b) { toLittleEndianUShortArray(b); return b; }, "12345678", "34127856"},
    {"in_place_shorts_odd_tail", [](B b) { toLittleEndianUShortArray(b); return b; }, "123456", "341256"},
    {"in_place_longs", [](B b) { toLittleEndianULongArray(b); return b; }, "0102030405060708", "0403020108070605"},
    {"in_place_longs_tail", [](B b) { toLittleEndianULongArray(b); return b; }, "010203040506", "040302010506"},
    {"append_4660", [](B b) { appendBigEndianUShort(b, 4660); return b; }, "ff", "ff1234"},
    {"wordToByteArray", [](B) { return wordToByteArray(0x1234); }, "", "3412"},
    {"shortToByteArray_minus_2", [](B) { return shortToByteArray(-2); }, "", "feff"},
    {"intToByteArray", [](B) { return intToByteArray(0x12345678); }, "", "78563412"},
};

void PrintTo(const Conversion& c, std::ostream* os) { *os << c.name; }

class ByteOrderConversion : public ::testing::TestWithParam<Conversion> {};

TEST_P(ByteOrderConversion, ProducesTheExactBytes)
{
    EXPECT_EQ(hexOf(GetParam().convert(hex(GetParam().input))), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(ByteOrder, ByteOrderConversion, ::testing::ValuesIn(conversions),
                         [](const ::testing::TestParamInfo<Conversion>& info) { return std::string(info.param.name); });

struct HostValue {
    const char* name;
    const char* input;
    int asInt;
    unsigned short asWord;
    short asShort;
};

const HostValue hostValues[] = {
    {"empty", "", 0, 0, 0},
    {"one_byte", "ff", 255, 255, 255},
    {"ffff", "ffff", 65535, 65535, -1},
    {"three_bytes", "010203", 197121, 0x0201, 0x0201},
    {"five_bytes_take_four", "0000008099", -2147483647 - 1, 0, 0},
    {"sign_bit_of_a_short", "0080", 0x8000, 0x8000, -32768},
};

void PrintTo(const HostValue& c, std::ostream* os) { *os << c.name; }

class ByteOrderHostValue : public ::testing::TestWithParam<HostValue> {};

TEST_P(ByteOrderHostValue, ReadsLittleEndianBytes)
{
    const HostValue& c = GetParam();
    EXPECT_EQ(QByteArrayToInt(hex(c.input)), c.asInt);
    EXPECT_EQ(QByteArrayToWord(hex(c.input)), c.asWord);
    EXPECT_EQ(QByteArrayToShort(hex(c.input)), c.asShort);
}

INSTANTIATE_TEST_SUITE_P(ByteOrder, ByteOrderHostValue, ::testing::ValuesIn(hostValues),
                         [](const ::testing::TestParamInfo<HostValue>& info) { return std::string(info.param.name); });

TEST(ByteOrder, IsBigEndianTellsThisHostsOrder)
{
    const unsigned short one = 1; // big-endian when its first stored byte is the high one
    EXPECT_EQ(isBigEndian(), *reinterpret_cast<const unsigned char*>(&one) == 0);
}

} // namespace
