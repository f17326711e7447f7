// Format-string packers and unpacker.
#include <cstdarg>
#include <cstring>
#include <gtest/gtest.h>
#include "tools/data_pack.h"
#include "tools_test_support.h"

namespace {
const unsigned short kWords[] = {0x0102, 0x0304, 0x0506};
const unsigned int kDWords[] = {0x01020304, 0x05060708};
// Both packers over the same arguments, through their argument-list forms.
int packBoth(QByteArray* buffer, QByteArray* array, const char* format, ...)
{
    va_list args, again;
    va_start(args, format);
    va_copy(again, args);
    const int result = VDataPack(reinterpret_cast<unsigned char*>(buffer->data()), format, args);
    *array = VByteArrayPack(format, again);
    va_end(again);
    va_end(args);
    return result;
}
} // namespace

TEST(DataPack, BothPackersAndTheUnpackerOfCountedItems)
{
    // buffer: its leading bytes, the rest still EE as before; array: "" when empty.
    const struct { const char* format; int v[4]; const void* from; const char* buffer; int result; const char* array; }
    cases[] = {
        {"CnN", {0x1FF, 0x1234, 0x12345678}, nullptr, "ff123412345678", 7, "ff123412345678"},
        {"vV", {0x1234, 0x12345678}, nullptr, "341278563412", 6, "341278563412"},
        {"Ssc", {0xABCD, 0x12345, 0x1234}, nullptr, "cdab452334", 5, "cdab452334"},
        {"IiLl", {0x01020304, 0x05060708, -2, 0x7F}, nullptr, "0403020108070605feffffff7f000000", 16,
         "0403020108070605feffffff7f000000"},
        {"CxXC", {1, 2}, nullptr, "0100ee02", 4, "01000002"},
        {"2xC", {7}, nullptr, "000007", 3, ""}, {"3XC", {9}, nullptr, "eeeeee09", 4, ""}, {"0XC", {5}, 0, "05", 1, ""},
        {"3n", {}, kWords, "010203040506", 6, "010203040506"},
        {"3v", {}, kWords, "020104030605", 6, "020104030605"},
        {"2N", {}, kDWords, "0102030405060708", 8, "0102030405060708"},
        {"2V", {}, kDWords, "0403020108070605", 8, "0403020108070605"},
        {"2c", {}, "ab", "6162", 2, "6162"},
        {"", {1}, nullptr, "", 0, ""},       {" C", {1}, nullptr, "", 0, ""},   {"C ", {1, 2}, nullptr, "01", 0, ""},
        {"0C", {1}, nullptr, "", -1, ""},    {"3S", {}, kWords, "", -1, ""},    {"C3", {1}, nullptr, "01", -1, ""},
        {"99999999999X", {}, nullptr, "", -1, ""}, {"1073741824N", {}, kDWords, "", -1, ""},
        {"C2147483000X2147483000X", {1}, nullptr, "01", -1, ""},
    };
    for (const auto& c : cases) {
        QByteArray buffer(24, '\xee'), array;
        const int result = c.from ? packBoth(&buffer, &array, c.format, c.from)
                                    : packBoth(&buffer, &array, c.format, c.v[0], c.v[1], c.v[2], c.v[3]);
        EXPECT_EQ(result, c.result) << '"' << c.format << '"';
        EXPECT_EQ(hexOf(buffer), hexOf(hex(c.buffer).leftJustified(24, '\xee'))) << '"' << c.format << '"';
        EXPECT_EQ(hexOf(array), c.array) << '"' << c.format << '"';
        unsigned char back[16] = {};
        if (c.from && c.result > 0) { // unpacking the bytes gives the elements back
            EXPECT_EQ(DataUnpack(raw(buffer), c.format, back), c.result) << c.format;
            EXPECT_EQ(std::memcmp(back, c.from, c.result), 0) << c.format;
        }
    }
    EXPECT_EQ(hexOf(ByteArrayPack("CnN", 0x1FF, 0x1234, 0x12345678)), "ff123412345678");
    EXPECT_EQ(DataPack(nullptr, "C", 1), -1);
}

TEST(DataUnpack, SingleLettersAndFaults)
{
    unsigned char c = 0;
    unsigned short s = 0, v = 0;
    unsigned int i = 0, l = 0;
    EXPECT_EQ(DataUnpack(raw(hex("1234ff00000100")), "nXN", &s, &i), 7);
    EXPECT_TRUE(s == 0x1234 && i == 0x00000100u);
    EXPECT_EQ(DataUnpack(raw(hex("0102030405060708090a0b0c0d0e0f")), "cxsvXiL", &c, &s, &v, &i, &l), 15);
    EXPECT_TRUE(c == 0x01 && s == 0x0403 && v == 0x0605 && i == 0x0b0a0908u && l == 0x0f0e0d0cu);
    const struct { const char* format; int result; } cases[] = {
        {"", 0},    {"0X", 0},  {"4X", 4},  {"3x", 3},  {" ", -1},  {"C ", -1}, {"Q", -1},
        {"0C", -1}, {"3S", -1}, {"C3", -1}, {"99999999999X", -1},   {"2147483000X2147483000X", -1}};
    const unsigned char data[8] = {0xAB, 0xCD};
    for (const auto& k : cases) {
        unsigned char scratch[32] = {}; // room for any one item
        EXPECT_EQ(DataUnpack(data, k.format, scratch, scratch), k.result) << '"' << k.format << '"';
    }
    EXPECT_EQ(DataUnpack(data, "C ", &c), -1);
    EXPECT_EQ(c, 0xAB) << "items before the fault keep what they stored";
    EXPECT_TRUE(DataUnpack(data, "2n", static_cast<void*>(nullptr)) == -1 && DataUnpack(nullptr, "C", &c) == -1);
}
