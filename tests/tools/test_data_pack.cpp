// Format-string packers and unpacker.
#include <cstdarg>
#include <cstring>
#include <gtest/gtest.h>

#include "tools/data_pack.h"
#include "tools_test_support.h"

namespace {

constexpr char kUntouched = '\xee';
constexpr int kBufferSize = 24;
const unsigned short kWords[] = {0x0102, 0x0304, 0x0506};
const unsigned int kDWords[] = {0x01020304, 0x05060708};
const unsigned char kBytes[] = {'a', 'b', 'c'};

struct Packed {
    int result;
    QByteArray buffer; // kBufferSize bytes that held kUntouched before
    QByteArray array;
};

// Both packers over the same arguments, through their argument-list forms.
Packed packBoth(const char* format, ...)
{
    Packed packed{0, QByteArray(kBufferSize, kUntouched), {}};
    va_list args, again;
    va_start(args, format);
    va_copy(again, args);
    packed.result = VDataPack(reinterpret_cast<unsigned char*>(packed.buffer.data()), format, args);
    packed.array = VByteArrayPack(format, again);
    va_end(again);
    va_end(args);
    return packed;
}

} // namespace

TEST(DataPack, BufferAndArrayPackers)
{
    // buffer: the leading bytes written, the rest must stay untouched; array: "" for an empty one.
    const struct {
        const char* format;
        int values[4];
        const void* source;
        const char* buffer;
        int result;
        const char* array;
    } cases[] = {
        {"CnN", {0x1FF, 0x1234, 0x12345678}, nullptr, "ff123412345678", 7, "ff123412345678"},
        {"vV", {0x1234, 0x12345678}, nullptr, "341278563412", 6, "341278563412"},
        {"Ssc", {0xABCD, 0x12345, 0x1234}, nullptr, "cdab452334", 5, "cdab452334"},
        {"IiLl", {0x01020304, 0x05060708, -2, 0x7F}, nullptr, "0403020108070605feffffff7f000000", 16,
         "0403020108070605feffffff7f000000"},
        {"CxXC", {1, 2}, nullptr, "0100ee02", 4, "01000002"},
        {"2xC", {7}, nullptr, "000007", 3, ""},
        {"3XC", {9}, nullptr, "eeeeee09", 4, ""},
        {"0XC", {5}, nullptr, "05", 1, ""},
        {"3n", {}, kWords, "010203040506", 6, "010203040506"},
        {"3v", {}, kWords, "020104030605", 6, "020104030605"},
        {"2N", {}, kDWords, "0102030405060708", 8, "0102030405060708"},
        {"2V", {}, kDWords, "0403020108070605", 8, "0403020108070605"},
        {"2c", {}, kBytes, "6162", 2, "6162"},
        {"", {1}, nullptr, "", 0, ""},
        {" C", {1}, nullptr, "", 0, ""},
        {"C ", {1, 2}, nullptr, "01", 0, ""},
        {"0C", {1}, nullptr, "", -1, ""},
        {"3S", {}, kWords, "", -1, ""},
        {"C3", {1}, nullptr, "01", -1, ""},
        {"99999999999X", {}, nullptr, "", -1, ""},
        {"1073741824N", {}, kDWords, "", -1, ""},
        {"C2147483000X2147483000X", {1}, nullptr, "01", -1, ""},
    };
    for (const auto& c : cases) {
        const int* v = c.values;
        const Packed packed = c.source ? packBoth(c.format, c.source) : packBoth(c.format, v[0], v[1], v[2], v[3]);
        const QByteArray head = hex(c.buffer);
        EXPECT_EQ(packed.result, c.result) << '"' << c.format << '"';
        EXPECT_EQ(hexOf(packed.buffer), hexOf(head + QByteArray(kBufferSize - head.size(), kUntouched)))
            << '"' << c.format << '"';
        EXPECT_EQ(hexOf(packed.array), c.array) << '"' << c.format << '"';
    }
    unsigned char buffer[7] = {};
    EXPECT_EQ(DataPack(buffer, "CnN", 0x1FF, 0x1234, 0x12345678), 7);
    EXPECT_EQ(std::memcmp(buffer, "\xff\x12\x34\x12\x34\x56\x78", 7), 0);
    EXPECT_EQ(hexOf(ByteArrayPack("CnN", 0x1FF, 0x1234, 0x12345678)), "ff123412345678");
    EXPECT_EQ(DataPack(nullptr, "C", 1), -1);
}

TEST(DataUnpack, StoresThroughItsPointers)
{
    unsigned char c = 0, bytes[3] = {};
    unsigned short s = 0, v = 0, words[2] = {};
    unsigned int i = 0, l = 0, dwords[2] = {};
    EXPECT_EQ(DataUnpack(raw(hex("1234ff00000100")), "nXN", &s, &i), 7);
    EXPECT_EQ(s, 0x1234);
    EXPECT_EQ(i, 0x00000100u);
    const QByteArray data = hex("0102030405060708090a0b0c0d0e0f10");
    EXPECT_EQ(DataUnpack(raw(data), "cxsvXiL", &c, &s, &v, &i, &l), 15);
    EXPECT_EQ(c, 0x01);
    EXPECT_EQ(s, 0x0403);
    EXPECT_EQ(v, 0x0605);
    EXPECT_EQ(i, 0x0b0a0908u);
    EXPECT_EQ(l, 0x0f0e0d0cu);

    const QByteArray counted = hex("1234567890abcdef");
    EXPECT_EQ(DataUnpack(raw(counted), "2n", words), 4);
    EXPECT_EQ(words[0] * 0x10000u + words[1], 0x12345678u);
    EXPECT_EQ(DataUnpack(raw(counted), "2v", words), 4);
    EXPECT_EQ(words[0] * 0x10000u + words[1], 0x34127856u);
    EXPECT_EQ(DataUnpack(raw(counted), "2N", dwords), 8);
    EXPECT_EQ(dwords[1], 0x90abcdefu);
    EXPECT_EQ(DataUnpack(raw(counted), "1V", dwords), 4);
    EXPECT_EQ(dwords[0], 0x78563412u);
    EXPECT_EQ(DataUnpack(raw(counted), "X3c", bytes), 4);
    EXPECT_EQ(std::memcmp(bytes, "\x34\x56\x78", 3), 0);
}

TEST(DataUnpack, FaultsGiveMinusOne)
{
    const struct {
        const char* format;
        int result;
    } cases[] = {
        {"", 0},    {"0X", 0},  {"4X", 4},  {"3x", 3},           {" ", -1},
        {"C ", -1}, {"Q", -1},  {"0C", -1}, {"3S", -1},          {"C3", -1},
        {"99999999999X", -1},   {"2147483000X2147483000X", -1},
    };
    const unsigned char data[8] = {0xAB, 0xCD};
    for (const auto& c : cases) {
        unsigned char scratch[32] = {}; // room for any one item
        EXPECT_EQ(DataUnpack(data, c.format, scratch, scratch), c.result) << '"' << c.format << '"';
    }
    unsigned char first = 0;
    EXPECT_EQ(DataUnpack(data, "C ", &first), -1);
    EXPECT_EQ(first, 0xAB) << "items before the fault keep what they stored";
    EXPECT_EQ(DataUnpack(data, "2n", static_cast<void*>(nullptr)), -1);
    EXPECT_EQ(DataUnpack(nullptr, "C", &first), -1);
}
