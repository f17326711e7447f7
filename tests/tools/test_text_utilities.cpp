#include <gtest/gtest.h>

#include "tools/text_utilities.h"

namespace {

struct HexCase {
    const char* text;
    int length;
    unsigned int expected;
};

struct AddressCase {
    const char* text;
    int base;
    int expected;
};

} // namespace

TEST(HexToUInt, ReadsAtMostLengthCharacters)
{
    const HexCase cases[] = {
        {"1F", 2, 31},        {"0x1F", 4, 31},     {"0X1f", 4, 31},         {"ff", 2, 255},
        {"1G", 2, 0},         {"1234", 2, 0x12},   {"12", 5, 0x12},         {"0", 1, 0},
        {"0x", 2, 0},         {"0012", 4, 0x12},   {"123456789", 9, 0x23456789u},
        {"", 4, 0},           {"AB", 0, 0},        {"AB", -3, 0},           {"0x1F", 3, 1},
        {"0xZZ", 4, 0},       {"0", 5, 0},
    };
    for (const HexCase& c : cases)
        EXPECT_EQ(HexToUInt(c.text, c.length), c.expected) << c.text << " length " << c.length;
    EXPECT_EQ(HexToUInt(nullptr, 4), 0u);
}

TEST(ExtractPLCDeviceAddress, TakesTheNumberFromItsFirstDigit)
{
    const AddressCase cases[] = {
        {"HR100", 10, 100}, {"HR100.3", 10, 0}, {"HR", 10, 0},   {"X1F", 16, 31},
        {"D100", 16, 53504}, {"Y17", 8, 15},    {"Y18", 8, 0},    {"HR100", 2, -1},
        {"HR100", 0, -1},   {"", 10, 0},
    };
    for (const AddressCase& c : cases) {
        EXPECT_EQ(ExtractPLCDeviceAddress(QByteArray(c.text), c.base), c.expected) << c.text << " base " << c.base;
        EXPECT_EQ(ExtractPLCDeviceAddress(QString::fromLatin1(c.text), c.base), c.expected) << c.text;
    }
}

TEST(ExtractPrefixSymbol, TakesLeadingLettersAndUnderscores)
{
    EXPECT_EQ(ExtractPrefixSymbol(QStringLiteral("HR100")), QByteArray("HR"));
    EXPECT_EQ(ExtractPrefixSymbol(QStringLiteral("FN6HR100")), QByteArray("FN"));
    EXPECT_EQ(ExtractPrefixSymbol(QStringLiteral("_AB1")), QByteArray("_AB"));
    EXPECT_EQ(ExtractPrefixSymbol(QStringLiteral("1HR")), QByteArray());
    EXPECT_EQ(ExtractPrefixSymbol(QByteArray("DO")), QByteArray("DO"));
    EXPECT_EQ(ExtractPrefixSymbol(QByteArray()), QByteArray());
}

TEST(DumpByteArray, HexThenTextUpToTheFirstZero)
{
    EXPECT_EQ(dumpByteArray(QByteArray()), QStringLiteral("() : "));
    EXPECT_EQ(dumpByteArray(QByteArray::fromHex("3a3031")), QStringLiteral("(0X3a 0X30 0X31 ) : :01"));
    EXPECT_EQ(dumpByteArray(QByteArray::fromHex("0a")), QStringLiteral("(0Xa ) : \n"));
    EXPECT_EQ(dumpByteArray(QByteArray::fromHex("4100ff42")), QStringLiteral("(0X41 0X0 0Xff 0X42 ) : A"));
}
