// Register image and host order conversions.
#include <cstring>
#include <functional>
#include <gtest/gtest.h>

#include "tools/byte_order.h"
#include "tools_test_support.h"

TEST(ByteOrder, ConversionsProduceTheExactBytes)
{
    const auto fromShorts = [](int count) {
        return [count](QByteArray in) { return fromBigEndianUShortArray(raw(in), count); };
    };
    const auto fromLongs = [](int count) {
        return [count](QByteArray in) { return fromBigEndianULongArray(raw(in), count); };
    };
    const auto inPlace = [](void (*swap)(QByteArray&)) { return [swap](QByteArray in) { swap(in); return in; }; };
    const struct {
        const char* name;
        std::function<QByteArray(QByteArray)> convert;
        const char* input;
        const char* expected;
    } cases[] = {
        {"fromShorts x2", fromShorts(2), "1234abcd", "3412cdab"},
        {"fromShorts reads only count units", fromShorts(1), "1234abcd", "3412"},
        {"fromShorts count 0", fromShorts(0), "1234", ""},
        {"fromShorts count -1", fromShorts(-1), "1234", ""},
        {"fromLongs high word first", fromLongs(1), "12345678", "78563412"},
        {"fromLongs count -1", fromLongs(-1), "12345678", ""},
        {"toShorts empty", toBigEndianUShortArray, "", ""},
        {"toShorts low word first", toBigEndianUShortArray, "78563412", "56781234"},
        {"toShorts odd length pads before the swap", toBigEndianUShortArray, "123456", "34120056"},
        {"toLongs high word first", toBigEndianULongArray, "78563412", "12345678"},
        {"toLongs 5 bytes", toBigEndianULongArray, "0102030405", "0403020100000005"},
        {"toLongs 3 bytes, pad first", toBigEndianULongArray, "010203", "00030201"},
        {"To16 odd", To16bitsData, "010203", "01020300"},
        {"To32 5 bytes", To32bitsData, "0102030405", "0102030405000000"},
        {"To64 5 bytes", To64bitsData, "0102030405", "0102030405000000"},
        {"To64 8 bytes", To64bitsData, "0102030405060708", "0102030405060708"},
        {"reverse", reverseArray, "010203", "030201"},
        {"in-place shorts", inPlace(toLittleEndianUShortArray), "12345678", "34127856"},
        {"in-place shorts keep an odd tail", inPlace(toLittleEndianUShortArray), "123456", "341256"},
        {"in-place longs", inPlace(toLittleEndianULongArray), "0102030405060708", "0403020108070605"},
        {"in-place longs keep a part unit", inPlace(toLittleEndianULongArray), "010203040506", "040302010506"},
        {"append 4660", [](QByteArray in) { appendBigEndianUShort(in, 4660); return in; }, "ff", "ff1234"},
        {"wordToByteArray", [](QByteArray) { return wordToByteArray(0x1234); }, "", "3412"},
        {"shortToByteArray -2", [](QByteArray) { return shortToByteArray(-2); }, "", "feff"},
        {"intToByteArray", [](QByteArray) { return intToByteArray(0x12345678); }, "", "78563412"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(hexOf(c.convert(hex(c.input))), c.expected) << c.name;
    EXPECT_TRUE(fromBigEndianUShortArray(nullptr, 4).isEmpty());
    EXPECT_TRUE(fromBigEndianULongArray(nullptr, 4).isEmpty());
}

TEST(ByteOrder, HostValuesFromBytes)
{
    const struct {
        const char* input;
        int asInt;
        unsigned short asWord;
        short asShort;
    } cases[] = {
        {"", 0, 0, 0},           {"ff", 255, 255, 255},           {"ffff", 65535, 65535, -1},
        {"010203", 197121, 0x0201, 0x0201}, {"0000008099", -2147483647 - 1, 0, 0}, {"0080", 0x8000, 0x8000, -32768},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(QByteArrayToInt(hex(c.input)), c.asInt) << c.input;
        EXPECT_EQ(QByteArrayToWord(hex(c.input)), c.asWord) << c.input;
        EXPECT_EQ(QByteArrayToShort(hex(c.input)), c.asShort) << c.input;
    }
}

TEST(ByteOrder, IsBigEndianMatchesTheStoredRepresentation)
{
    const unsigned short one = 1;
    unsigned char stored[sizeof one];
    std::memcpy(stored, &one, sizeof one);
    EXPECT_EQ(isBigEndian(), stored[0] == 0);
}
