// Register image and host order conversions.
#include <functional>
#include <gtest/gtest.h>
#include "tools/byte_order.h"
#include "tools_test_support.h"

TEST(ByteOrder, ConversionsProduceTheExactBytes)
{
    using B = QByteArray;
    const struct { const char* name; std::function<B(B)> convert; const char* input; const char* expected; } cases[] = {
        {"fromShorts x2", [](B b) { return fromBigEndianUShortArray(raw(b), 2); }, "1234abcd", "3412cdab"},
        {"fromShorts x1 reads one unit", [](B b) { return fromBigEndianUShortArray(raw(b), 1); }, "1234abcd", "3412"},
        {"fromShorts x-1", [](B b) { return fromBigEndianUShortArray(raw(b), -1); }, "1234", ""},
        {"fromShorts of null", [](B) { return fromBigEndianUShortArray(nullptr, 4); }, "", ""},
        {"fromLongs high word first", [](B b) { return fromBigEndianULongArray(raw(b), 1); }, "12345678", "78563412"},
        {"fromLongs x0", [](B b) { return fromBigEndianULongArray(raw(b), 0); }, "12345678", ""},
        {"toShorts low word first", toBigEndianUShortArray, "78563412", "56781234"},
        {"toShorts pads before the swap", toBigEndianUShortArray, "123456", "34120056"},
        {"toLongs high word first", toBigEndianULongArray, "78563412", "12345678"},
        {"toLongs 5 bytes", toBigEndianULongArray, "0102030405", "0403020100000005"},
        {"toLongs 3 bytes, pad first", toBigEndianULongArray, "010203", "00030201"},
        {"To16 odd", To16bitsData, "010203", "01020300"},
        {"To32 5 bytes", To32bitsData, "0102030405", "0102030405000000"},
        {"To64 5 bytes", To64bitsData, "0102030405", "0102030405000000"},
        {"reverse", reverseArray, "010203", "030201"},
        {"in-place shorts", [](B b) { toLittleEndianUShortArray(b); return b; }, "12345678", "34127856"},
        {"in-place shorts, odd tail", [](B b) { toLittleEndianUShortArray(b); return b; }, "123456", "341256"},
        {"in-place longs", [](B b) { toLittleEndianULongArray(b); return b; }, "0102030405060708", "0403020108070605"},
        {"in-place longs, tail", [](B b) { toLittleEndianULongArray(b); return b; }, "010203040506", "040302010506"},
        {"append 4660", [](B b) { appendBigEndianUShort(b, 4660); return b; }, "ff", "ff1234"},
        {"wordToByteArray", [](B) { return wordToByteArray(0x1234); }, "", "3412"},
        {"shortToByteArray -2", [](B) { return shortToByteArray(-2); }, "", "feff"},
        {"intToByteArray", [](B) { return intToByteArray(0x12345678); }, "", "78563412"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(hexOf(c.convert(hex(c.input))), c.expected) << c.name;
    const struct { const char* input; int asInt; unsigned short asWord; short asShort; } hostValues[] = {
        {"", 0, 0, 0},  {"ff", 255, 255, 255},  {"ffff", 65535, 65535, -1},  {"010203", 197121, 0x0201, 0x0201},
        {"0000008099", -2147483647 - 1, 0, 0},  {"0080", 0x8000, 0x8000, -32768}};
    for (const auto& c : hostValues) {
        EXPECT_EQ(QByteArrayToInt(hex(c.input)), c.asInt) << c.input;
        EXPECT_EQ(QByteArrayToWord(hex(c.input)), c.asWord) << c.input;
        EXPECT_EQ(QByteArrayToShort(hex(c.input)), c.asShort) << c.input;
    }
    const unsigned short one = 1; // big-endian when its first stored byte is the high one
    EXPECT_EQ(isBigEndian(), *reinterpret_cast<const unsigned char*>(&one) == 0);
}
