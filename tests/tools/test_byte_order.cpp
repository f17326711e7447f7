#include <gtest/gtest.h>

#include <cstring>
#include <functional>

#include "tools/byte_order.h"

namespace {

QByteArray hex(const char* text)
{
    return QByteArray::fromHex(text);
}

const unsigned char* raw(const QByteArray& bytes)
{
    return reinterpret_cast<const unsigned char*>(bytes.constData());
}

struct ArrayCase {
    const char* name;
    std::function<QByteArray(const QByteArray&)> convert;
    const char* input;
    const char* expected;
};

} // namespace

TEST(ByteOrder, ConversionsProduceTheExactBytes)
{
    const auto fromShorts = [](int count) {
        return [count](const QByteArray& in) { return fromBigEndianUShortArray(raw(in), count); };
    };
    const auto fromLongs = [](int count) {
        return [count](const QByteArray& in) { return fromBigEndianULongArray(raw(in), count); };
    };
    const auto inPlace = [](void (*swap)(QByteArray&)) {
        return [swap](QByteArray data) { swap(data); return data; };
    };
    const ArrayCase cases[] = {
        {"fromShorts 1234abcd x2", fromShorts(2), "1234abcd", "3412cdab"},
        {"fromShorts reads only count units", fromShorts(1), "1234abcd", "3412"},
        {"fromShorts count 0", fromShorts(0), "1234", ""},
        {"fromShorts count -1", fromShorts(-1), "1234", ""},
        {"fromLongs 12345678 x1", fromLongs(1), "12345678", "78563412"},
        {"fromLongs x2", fromLongs(2), "0102030405060708", "0403020108070605"},
        {"fromLongs count 0", fromLongs(0), "12345678", ""},
        {"fromLongs count -3", fromLongs(-3), "12345678", ""},
        {"toShorts empty", toBigEndianUShortArray, "", ""},
        {"toShorts 78563412 low word first", toBigEndianUShortArray, "78563412", "56781234"},
        {"toShorts odd pads before swap", toBigEndianUShortArray, "123456", "34120056"},
        {"toShorts single byte", toBigEndianUShortArray, "ab", "00ab"},
        {"toLongs 78563412 high word first", toBigEndianULongArray, "78563412", "12345678"},
        {"toLongs 5 bytes", toBigEndianULongArray, "0102030405", "0403020100000005"},
        {"toLongs 3 bytes pad first", toBigEndianULongArray, "010203", "00030201"},
        {"toLongs empty", toBigEndianULongArray, "", ""},
        {"To16 odd", To16bitsData, "010203", "01020300"},
        {"To16 even", To16bitsData, "0102", "0102"},
        {"To32 5 bytes", To32bitsData, "0102030405", "0102030405000000"},
        {"To32 empty", To32bitsData, "", ""},
        {"To64 5 bytes", To64bitsData, "0102030405", "0102030405000000"},
        {"To64 8 bytes", To64bitsData, "0102030405060708", "0102030405060708"},
        {"To64 9 bytes", To64bitsData, "010203040506070809",
         "01020304050607080900000000000000"},
        {"reverse", reverseArray, "010203", "030201"},
        {"reverse empty", reverseArray, "", ""},
        {"in-place shorts", inPlace(toLittleEndianUShortArray), "12345678", "34127856"},
        {"in-place shorts keep odd tail", inPlace(toLittleEndianUShortArray), "123456", "341256"},
        {"in-place shorts one byte", inPlace(toLittleEndianUShortArray), "12", "12"},
        {"in-place shorts empty", inPlace(toLittleEndianUShortArray), "", ""},
        {"in-place longs", inPlace(toLittleEndianULongArray), "0102030405060708", "0403020108070605"},
        {"in-place longs keep tail", inPlace(toLittleEndianULongArray), "010203040506", "040302010506"},
        {"in-place longs three bytes", inPlace(toLittleEndianULongArray), "010203", "010203"},
    };
    for (const ArrayCase& c : cases)
        EXPECT_EQ(c.convert(hex(c.input)).toHex(), hex(c.expected).toHex()) << c.name;
    EXPECT_TRUE(fromBigEndianUShortArray(nullptr, 4).isEmpty());
    EXPECT_TRUE(fromBigEndianULongArray(nullptr, 4).isEmpty());
}

TEST(ByteOrder, AppendBigEndianUShortAppendsHighByteFirst)
{
    QByteArray data = hex("ff");
    appendBigEndianUShort(data, 4660);
    appendBigEndianUShort(data, 0x00FF);
    EXPECT_EQ(data, hex("ff123400ff"));
}

TEST(ByteOrder, HostValuesFromBytes)
{
    struct Case {
        const char* input;
        int asInt;
        unsigned short asWord;
        short asShort;
    };
    const Case cases[] = {
        {"", 0, 0, 0},
        {"ff", 255, 255, 255},
        {"ffff", 65535, 65535, -1},
        {"3412", 0x1234, 0x1234, 0x1234},
        {"010203", 197121, 0x0201, 0x0201},
        {"78563412", 0x12345678, 0x5678, 0x5678},
        {"0000008099", -2147483647 - 1, 0, 0},
        {"ffffffff", -1, 65535, -1},
        {"0080", 0x8000, 0x8000, -32768},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(QByteArrayToInt(hex(c.input)), c.asInt) << c.input;
        EXPECT_EQ(QByteArrayToWord(hex(c.input)), c.asWord) << c.input;
        EXPECT_EQ(QByteArrayToShort(hex(c.input)), c.asShort) << c.input;
    }
}

TEST(ByteOrder, HostValuesToBytes)
{
    EXPECT_EQ(wordToByteArray(0x1234), hex("3412"));
    EXPECT_EQ(shortToByteArray(-2), hex("feff"));
    EXPECT_EQ(shortToByteArray(0x0102), hex("0201"));
    EXPECT_EQ(intToByteArray(0x12345678), hex("78563412"));
    EXPECT_EQ(intToByteArray(-2), hex("feffffff"));
    EXPECT_EQ(QByteArrayToInt(intToByteArray(-123456789)), -123456789);
}

TEST(ByteOrder, IsBigEndianMatchesTheStoredRepresentation)
{
    const unsigned short one = 1;
    unsigned char stored[sizeof one];
    std::memcpy(stored, &one, sizeof one);
    EXPECT_EQ(isBigEndian(), stored[0] == 0);
}
