#include <gtest/gtest.h>

#include <cstdarg>
#include <cstring>
#include <string>

#include "tools/data_pack.h"

namespace {

constexpr unsigned char kUntouched = 0xEE;
constexpr int kBufferSize = 24;

struct Packed {
    int result = 0;
    QByteArray buffer; // a buffer of kBufferSize bytes that held kUntouched before
    QByteArray array;
};

// Runs both packers over the same arguments through their argument-list forms.
Packed packBoth(const char* format, ...)
{
    Packed packed;
    unsigned char buffer[kBufferSize];
    std::memset(buffer, kUntouched, sizeof buffer);
    va_list args;
    va_start(args, format);
    va_list again;
    va_copy(again, args);
    packed.result = VDataPack(buffer, format, args);
    packed.array = VByteArrayPack(format, again);
    va_end(again);
    va_end(args);
    packed.buffer = QByteArray(reinterpret_cast<const char*>(buffer), sizeof buffer);
    return packed;
}

QByteArray hex(const char* text)
{
    return QByteArray::fromHex(text);
}

std::string hexOf(const QByteArray& bytes)
{
    return bytes.toHex().toStdString();
}

QByteArray untouchedAfter(const QByteArray& head)
{
    return head + QByteArray(kBufferSize - head.size(), static_cast<char>(kUntouched));
}

struct ValueCase {
    const char* format;
    int values[4];
    const char* buffer; // expected leading bytes; the rest must be untouched
    int result;
    const char* array; // "" for an empty array
};

} // namespace

TEST(DataPack, SingleLettersFromIntValues)
{
    const ValueCase cases[] = {
        {"CnN", {0x1FF, 0x1234, 0x12345678}, "ff123412345678", 7, "ff123412345678"},
        {"vV", {0x1234, 0x12345678}, "341278563412", 6, "341278563412"},
        {"Ss", {0xABCD, 0x12345}, "cdab4523", 4, "cdab4523"},
        {"cC", {0x1234, -1}, "34ff", 2, "34ff"},
        {"n", {0x12345}, "2345", 2, "2345"},
        {"IiLl", {0x01020304, 0x05060708, -2, 0x7F}, "0403020108070605feffffff7f000000", 16,
         "0403020108070605feffffff7f000000"},
        {"N", {-1}, "ffffffff", 4, "ffffffff"},
        {"CXC", {1, 2}, "01ee02", 3, "010002"},
        {"x", {}, "00", 1, "00"},
        {"X", {}, "ee", 1, "00"},
        {"2xC", {7}, "000007", 3, ""},
        {"2X", {}, "eeee", 2, ""},
        {"3XC", {9}, "eeeeee09", 4, ""},
        {"0xC", {5}, "05", 1, ""},
        {"0XC", {5}, "05", 1, ""},
    };
    for (const ValueCase& c : cases) {
        const Packed packed = packBoth(c.format, c.values[0], c.values[1], c.values[2], c.values[3]);
        EXPECT_EQ(packed.result, c.result) << c.format;
        EXPECT_EQ(hexOf(packed.buffer), hexOf(untouchedAfter(hex(c.buffer)))) << c.format;
        EXPECT_EQ(hexOf(packed.array), hexOf(hex(c.array))) << c.format;
    }
}

TEST(DataPack, FaultsGiveTheErrorValueOfEachPacker)
{
    // An unknown character gives 0 from the buffer packer, a faulty counted item -1;
    // the array packer gives an empty array for both.
    const ValueCase cases[] = {
        {"", {1}, "", 0, ""},
        {" C", {1}, "", 0, ""},
        {"C ", {1, 2}, "01", 0, ""},
        {"CQ", {1, 2}, "01", 0, ""},
        {"0C", {1}, "", -1, ""},
        {"3S", {1}, "", -1, ""},
        {"2I", {1}, "", -1, ""},
        {"3Q", {1}, "", -1, ""},
        {"3 ", {1}, "", -1, ""},
        {"C3", {1}, "01", -1, ""},
        {"99999999999X", {}, "", -1, ""},
        {"2147483648x", {}, "", -1, ""},
        {"1073741824N", {}, "", -1, ""},
        {"C2147483000X2147483000X", {1}, "01", -1, ""},
    };
    for (const ValueCase& c : cases) {
        const Packed packed = packBoth(c.format, c.values[0], c.values[1], c.values[2], c.values[3]);
        EXPECT_EQ(packed.result, c.result) << '"' << c.format << '"';
        EXPECT_EQ(hexOf(packed.buffer), hexOf(untouchedAfter(hex(c.buffer)))) << '"' << c.format << '"';
        EXPECT_TRUE(packed.array.isEmpty()) << '"' << c.format << '"';
    }
}

TEST(DataPack, NullPointersAreFaults)
{
    EXPECT_EQ(DataPack(nullptr, "C", 1), -1);
    EXPECT_EQ(DataPack(nullptr, ""), 0);
    unsigned char byte = kUntouched;
    EXPECT_EQ(DataPack(&byte, nullptr), 0);
    EXPECT_EQ(byte, kUntouched);
    EXPECT_TRUE(ByteArrayPack(nullptr).isEmpty());

    const Packed packed = packBoth("C2n", 1, static_cast<const void*>(nullptr));
    EXPECT_EQ(packed.result, -1);
    EXPECT_EQ(hexOf(packed.buffer), hexOf(untouchedAfter(hex("01"))));
    EXPECT_TRUE(packed.array.isEmpty());
}

TEST(DataPack, CountedItemsCopyArraysAsTheyLieInMemory)
{
    const unsigned short words[] = {0x0102, 0x0304, 0x0506};
    const unsigned int dwords[] = {0x01020304, 0x05060708};
    const unsigned char bytes[] = {'a', 'b', 'c'};
    struct ArrayCase {
        const char* format;
        const void* source;
        const char* expected;
    };
    const ArrayCase cases[] = {
        {"3n", words, "010203040506"},      {"3v", words, "020104030605"},
        {"2N", dwords, "0102030405060708"}, {"2V", dwords, "0403020108070605"},
        {"3C", bytes, "616263"},            {"2c", bytes, "6162"},
        {"1n", words, "0102"},
    };
    for (const ArrayCase& c : cases) {
        const Packed packed = packBoth(c.format, c.source);
        const QByteArray expected = hex(c.expected);
        EXPECT_EQ(packed.result, expected.size()) << c.format;
        EXPECT_EQ(hexOf(packed.buffer), hexOf(untouchedAfter(expected))) << c.format;
        EXPECT_EQ(hexOf(packed.array), hexOf(expected)) << c.format;
    }
}

TEST(DataPack, VariadicFormsMatchTheListForms)
{
    unsigned char buffer[7] = {};
    EXPECT_EQ(DataPack(buffer, "CnN", 0x1FF, 0x1234, 0x12345678), 7);
    EXPECT_EQ(hexOf(QByteArray(reinterpret_cast<const char*>(buffer), 7)), "ff123412345678");
    EXPECT_EQ(hexOf(ByteArrayPack("CnN", 0x1FF, 0x1234, 0x12345678)), "ff123412345678");
}

TEST(DataUnpack, SingleLettersStoreThroughTheirPointers)
{
    const QByteArray data = hex("1234ff00000100");
    unsigned short word = 0;
    unsigned int dword = 0;
    EXPECT_EQ(DataUnpack(reinterpret_cast<const unsigned char*>(data.constData()), "nXN", &word, &dword), 7);
    EXPECT_EQ(word, 0x1234);
    EXPECT_EQ(dword, 0x00000100u);

    const QByteArray mixed = hex("0102030405060708090a0b0c0d0e0f10");
    unsigned char c1 = 0;
    unsigned char c2 = 0;
    unsigned short s = 0;
    unsigned short v = 0;
    unsigned int i = 0;
    unsigned int l = 0;
    EXPECT_EQ(DataUnpack(reinterpret_cast<const unsigned char*>(mixed.constData()), "cCsvxiL", &c1, &c2, &s, &v,
                         &i, &l),
              15);
    EXPECT_EQ(c1, 0x01);
    EXPECT_EQ(c2, 0x02);
    EXPECT_EQ(s, 0x0403);
    EXPECT_EQ(v, 0x0605);
    EXPECT_EQ(i, 0x0b0a0908u);
    EXPECT_EQ(l, 0x0f0e0d0cu);
}

TEST(DataUnpack, SkipsConsumeNoArgument)
{
    const QByteArray data = hex("0102030405");
    const auto* bytes = reinterpret_cast<const unsigned char*>(data.constData());
    unsigned char value = 0;
    EXPECT_EQ(DataUnpack(bytes, "4XC", &value), 5);
    EXPECT_EQ(value, 0x05);
    EXPECT_EQ(DataUnpack(bytes, "3xC", &value), 4);
    EXPECT_EQ(value, 0x04);
    EXPECT_EQ(DataUnpack(bytes, "4X"), 4);
}

TEST(DataUnpack, CountedItemsFillArrays)
{
    const QByteArray data = hex("1234567890abcdef");
    const auto* bytes = reinterpret_cast<const unsigned char*>(data.constData());
    unsigned short words[2] = {};
    EXPECT_EQ(DataUnpack(bytes, "2n", words), 4);
    EXPECT_EQ(words[0], 0x1234);
    EXPECT_EQ(words[1], 0x5678);
    EXPECT_EQ(DataUnpack(bytes, "2v", words), 4);
    EXPECT_EQ(words[0], 0x3412);
    EXPECT_EQ(words[1], 0x7856);
    unsigned int dwords[2] = {};
    EXPECT_EQ(DataUnpack(bytes, "2N", dwords), 8);
    EXPECT_EQ(dwords[0], 0x12345678u);
    EXPECT_EQ(dwords[1], 0x90abcdefu);
    EXPECT_EQ(DataUnpack(bytes, "1V", dwords), 4);
    EXPECT_EQ(dwords[0], 0x78563412u);
    unsigned char copy[3] = {};
    EXPECT_EQ(DataUnpack(bytes, "X3c", copy), 4);
    EXPECT_EQ(hexOf(QByteArray(reinterpret_cast<const char*>(copy), 3)), "345678");
}

TEST(DataUnpack, FaultsGiveMinusOne)
{
    struct ResultCase {
        const char* format;
        int result;
    };
    const ResultCase cases[] = {
        {"", 0},   {"0x", 0},  {"0X", 0},  {"C", 1},   {"C ", -1}, {" ", -1},       {"Q", -1},
        {"0C", -1}, {"3S", -1}, {"2I", -1}, {"C3", -1}, {"3", -1},  {"3?", -1},
        {"99999999999X", -1}, {"2147483000X2147483000X", -1},
    };
    const unsigned char data[8] = {0xAB, 0xCD};
    for (const ResultCase& c : cases) {
        // Every destination points at scratch room large enough for any item.
        unsigned char scratch[32] = {};
        EXPECT_EQ(DataUnpack(data, c.format, scratch, scratch, scratch), c.result) << '"' << c.format << '"';
    }
    unsigned char first = 0;
    EXPECT_EQ(DataUnpack(data, "C ", &first), -1);
    EXPECT_EQ(first, 0xAB) << "items before the fault keep what they stored";
    EXPECT_EQ(DataUnpack(data, "C", static_cast<void*>(nullptr)), -1);
    EXPECT_EQ(DataUnpack(data, "2n", static_cast<void*>(nullptr)), -1);
    EXPECT_EQ(DataUnpack(nullptr, "C", &first), -1);
    EXPECT_EQ(DataUnpack(nullptr, ""), 0);
}
