// Bits of values and of byte arrays, and the size arithmetic.
#include <climits>
#include <gtest/gtest.h>
#include "tools/bit_array.h"
#include "tools_test_support.h"

TEST(BitArray, SingleBitsExpansionAndSizes)
{
    EXPECT_EQ(setBit(static_cast<unsigned short>(1), 15), 32769);
    EXPECT_EQ(setBit(static_cast<unsigned short>(1), 16), 1);
    EXPECT_EQ(setBit(static_cast<unsigned char>(0), 8), 0);
    EXPECT_EQ(clearBit(0xFFFFFFFFu, 31), 0x7FFFFFFFu);
    EXPECT_FALSE(getBit(0xFFFFFFFFu, 32));
    const QByteArray bits = hex("0580");
    const struct { int index; bool set; } reads[] = {{2, true}, {1, false}, {0, true}, {15, true}, {14, false}};
    for (const auto& c : reads) {
        EXPECT_EQ(getBit(bits, c.index), c.set) << c.index;
        EXPECT_EQ(getBit(raw(bits), c.index), c.set) << c.index;
    }
    EXPECT_FALSE(getBit(bits, -1) || getBit(bits, 16) || getBit(raw(bits), -1) || getBit(QByteArray(), 0));
    EXPECT_EQ(hexOf(ExpandBitsToBytes(hex("a5"), 0, 8)), "0100010000010001");
    EXPECT_EQ(hexOf(ExpandBitsToBytes(hex("a5"), 4, 6)), "000100010000");
    EXPECT_EQ(hexOf(ExpandBitsToBytes(hex("ff"), 65535, 3)), "000000");
    EXPECT_TRUE(ExpandBitsToBytes(hex("ff"), 0, -1).isEmpty());
    EXPECT_EQ(NumOfBitsToNumOfWords(15, 2), 2u);
    EXPECT_EQ(NumOfBitsToNumOfWords(0, 16), 1u);
    EXPECT_EQ(NumOfBitsToNumOfWords(0, 0), 0u);
    EXPECT_EQ(NumOfBitsToNumOfBytes(0xFFFFFFFFu, 1), 0x20000000u);
    EXPECT_EQ(NumOfBitsToNumOfDWords(31, 2), 2u);
    EXPECT_EQ(NumOfBytesToNumOfWords(0xFFFFFFFFu), 0x80000000u);
    EXPECT_EQ(NumOfBytesToNumOfDWords(5), 2u);
    EXPECT_EQ(NumOfBytesToNumOfQuadWords(9), 2u);
}

TEST(BitArray, InPlaceChanges)
{
    using B = QByteArray&;
    const struct { const char* name; const char* input; void (*change)(B); const char* expected; } cases[] = {
        {"setBit 9 grows by one byte", "00", [](B b) { setBit(b, 9, true); }, "0002"},
        {"clearing just past the end grows too", "ff", [](B b) { setBit(b, 8, false); }, "ff00"},
        {"setBit two bytes out", "00", [](B b) { setBit(b, 16, true); }, "00"},
        {"setBit negative", "00", [](B b) { setBit(b, -1, true); }, "00"},
        {"copy 0F to bits 3..6", "00", [](B b) { QByteArray s = hex("0f"); CopyBits(b, s, 3, 4); }, "78"},
        {"copy clears bits 3..6", "ff", [](B b) { QByteArray s = hex("f0"); CopyBits(b, s, 3, 4); }, "87"},
        {"copy across the end", "00", [](B b) { QByteArray s = hex("0f"); CopyBits(b, s, 6, 4); }, "c003"},
        {"copy far past the end", "00", [](B b) { QByteArray s = hex("ff"); CopyBits(b, s, 24, 8); }, "00"},
        {"copy onto itself near INT_MAX", "ff00", [](B b) { CopyBits(b, b, INT_MAX - 7, 100); }, "ff00"},
        {"fit 9", "ffffff", [](B b) { FitBitArray(b, 9); }, "ffff"},
        {"fit 16", "ffffff", [](B b) { FitBitArray(b, 16); }, "ffff"},
        {"fit 0", "ff", [](B b) { FitBitArray(b, 0); }, ""},
        {"fit 17 grows with zeros", "ff", [](B b) { FitBitArray(b, 17); }, "ff0000"},
        {"clear above 11", "ffff", [](B b) { clearUnnecessaryBits(b, 11); }, "ff07"},
        {"clear above 16", "ffff", [](B b) { clearUnnecessaryBits(b, 16); }, "ffff"},
        {"clear above 17 grows", "ffff", [](B b) { clearUnnecessaryBits(b, 17); }, "ffff00"},
        {"clear above -3", "ff", [](B b) { clearUnnecessaryBits(b, -3); }, "ff"},
        {"shift 1234 by 4", "3412", [](B b) { RightShiftNBits(b, 4); }, "2301"},
        {"shift 1234 by 12", "3412", [](B b) { RightShiftNBits(b, 12); }, "0134"},
        {"shift by 8 rotates", "aabbcc", [](B b) { RightShiftNBits(b, 8); }, "bbccaa"},
        {"shift by 9", "010203", [](B b) { RightShiftNBits(b, 9); }, "810101"},
        {"shift by -1", "3412", [](B b) { RightShiftNBits(b, -1); }, "3412"},
        {"shift by the whole length", "3412", [](B b) { RightShiftNBits(b, 16); }, "0000"},
        {"shift far beyond", "3412", [](B b) { RightShiftNBits(b, 1000); }, "0000"},
    };
    for (const auto& c : cases) {
        QByteArray bits = hex(c.input);
        c.change(bits);
        EXPECT_EQ(hexOf(bits), c.expected) << c.name;
    }
}
