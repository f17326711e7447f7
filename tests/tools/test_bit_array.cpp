// Bits of values and of byte arrays, and the size arithmetic.
#include <climits>
#include <functional>
#include <gtest/gtest.h>
#include <vector>

#include "tools/bit_array.h"
#include "tools_test_support.h"

TEST(BitArray, SingleBitsOfValuesRespectTheWidth)
{
    using UShort = unsigned short;
    using UChar = unsigned char;
    EXPECT_EQ(setBit(UShort(1), 15), 32769);
    EXPECT_EQ(setBit(UShort(1), 16), 1);
    EXPECT_EQ(setBit(UChar(0), 8), 0);
    EXPECT_EQ(setBit(0u, 31), 0x80000000u);
    EXPECT_EQ(clearBit(UChar(0xFF), 7), 0x7F);
    EXPECT_EQ(clearBit(0xFFFFFFFFu, 65535), 0xFFFFFFFFu);
    EXPECT_TRUE(getBit(UShort(0x8000), 15));
    EXPECT_FALSE(getBit(UChar(0xFF), 8));
}

TEST(BitArray, GetBitOfBytes)
{
    const QByteArray bits = hex("0580");
    const unsigned char* rawBits = raw(bits);
    const struct {
        int index;
        bool set;
    } cases[] = {{2, true}, {1, false}, {0, true}, {15, true}, {14, false}, {-1, false}, {16, false}};
    for (const auto& c : cases) {
        EXPECT_EQ(getBit(bits, c.index), c.set) << c.index;
        EXPECT_TRUE(c.index >= 16 || getBit(rawBits, c.index) == c.set) << c.index;
    }
    EXPECT_FALSE(getBit(QByteArray(), 0));
    EXPECT_FALSE(getBit(static_cast<const unsigned char*>(nullptr), 0));
}

TEST(BitArray, InPlaceChanges)
{
    using Bits = QByteArray&;
    const struct {
        const char* name;
        const char* input;
        std::function<void(Bits)> change;
        const char* expected;
    } cases[] = {
        {"setBit 9 grows by one byte", "00", [](Bits b) { setBit(b, 9, true); }, "0002"},
        {"clearing just past the end grows too", "ff", [](Bits b) { setBit(b, 8, false); }, "ff00"},
        {"clearing inside", "ff", [](Bits b) { setBit(b, 3, false); }, "f7"},
        {"setBit two bytes out", "00", [](Bits b) { setBit(b, 16, true); }, "00"},
        {"setBit negative", "00", [](Bits b) { setBit(b, -1, true); }, "00"},
        {"copy 0F to bits 3..6", "00", [](Bits b) { QByteArray s = hex("0f"); CopyBits(b, s, 3, 4); }, "78"},
        {"copy clears bits 3..6", "ff", [](Bits b) { QByteArray s = hex("f0"); CopyBits(b, s, 3, 4); }, "87"},
        {"copy across the end", "00", [](Bits b) { QByteArray s = hex("0f"); CopyBits(b, s, 6, 4); }, "c003"},
        {"copy count -4", "00", [](Bits b) { QByteArray s = hex("ff"); CopyBits(b, s, 0, -4); }, "00"},
        {"copy far past the end", "00", [](Bits b) { QByteArray s = hex("ff"); CopyBits(b, s, 24, 8); }, "00"},
        {"copy onto itself near INT_MAX", "ff00", [](Bits b) { CopyBits(b, b, INT_MAX - 7, 100); }, "ff00"},
        {"fit 9", "ffffff", [](Bits b) { FitBitArray(b, 9); }, "ffff"},
        {"fit 16", "ffffff", [](Bits b) { FitBitArray(b, 16); }, "ffff"},
        {"fit 0", "ff", [](Bits b) { FitBitArray(b, 0); }, ""},
        {"fit 17 grows with zeros", "ff", [](Bits b) { FitBitArray(b, 17); }, "ff0000"},
        {"clear above 11", "ffff", [](Bits b) { clearUnnecessaryBits(b, 11); }, "ff07"},
        {"clear above 16", "ffff", [](Bits b) { clearUnnecessaryBits(b, 16); }, "ffff"},
        {"clear above 17 grows", "ffff", [](Bits b) { clearUnnecessaryBits(b, 17); }, "ffff00"},
        {"clear above 25", "ffff", [](Bits b) { clearUnnecessaryBits(b, 25); }, "ffff"},
        {"clear above -3", "ff", [](Bits b) { clearUnnecessaryBits(b, -3); }, "ff"},
        {"shift 1234 by 4", "3412", [](Bits b) { RightShiftNBits(b, 4); }, "2301"},
        {"shift 1234 by 12", "3412", [](Bits b) { RightShiftNBits(b, 12); }, "0134"},
        {"shift by 8 rotates", "aabbcc", [](Bits b) { RightShiftNBits(b, 8); }, "bbccaa"},
        {"shift by 9", "010203", [](Bits b) { RightShiftNBits(b, 9); }, "810101"},
        {"shift by -1", "3412", [](Bits b) { RightShiftNBits(b, -1); }, "3412"},
        {"shift by the whole length", "3412", [](Bits b) { RightShiftNBits(b, 16); }, "0000"},
        {"shift far beyond", "3412", [](Bits b) { RightShiftNBits(b, 1000); }, "0000"},
        {"shift empty", "", [](Bits b) { RightShiftNBits(b, 40); }, ""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(changed(c.input, c.change), c.expected) << c.name;
}

TEST(BitArray, RightShiftMovesEveryBitDownByN)
{
    const QByteArray original = hex("a5c33c5a0f");
    for (int n = 0; n < 40; ++n) {
        QByteArray shifted = original;
        RightShiftNBits(shifted, n);
        for (int i = 0; i < 40 - n; ++i)
            ASSERT_EQ(getBit(shifted, i), getBit(original, i + n)) << "n " << n << " bit " << i;
    }
}

TEST(BitArray, ExpandRotateAndSizes)
{
    EXPECT_EQ(hexOf(ExpandBitsToBytes(hex("a5"), 0, 8)), "0100010000010001");
    EXPECT_EQ(hexOf(ExpandBitsToBytes(hex("a5"), 4, 6)), "000100010000");
    EXPECT_EQ(hexOf(ExpandBitsToBytes(hex("ff"), 65535, 3)), "000000");
    EXPECT_TRUE(ExpandBitsToBytes(hex("ff"), 0, -1).isEmpty());

    std::vector<unsigned char> data = {1, 2, 3, 4, 5, 6}; // the 6 is a guard that no rotation may reach
    RotateArray(data.data(), 2, 3);
    EXPECT_EQ(data, (std::vector<unsigned char>{3, 4, 5, 1, 2, 6}));

    EXPECT_EQ(NumOfBitsToNumOfWords(15, 2), 2u);
    EXPECT_EQ(NumOfBitsToNumOfWords(0, 16), 1u);
    EXPECT_EQ(NumOfBitsToNumOfWords(0, 0), 0u);
    EXPECT_EQ(NumOfBitsToNumOfBytes(7, 2), 2u);
    EXPECT_EQ(NumOfBitsToNumOfBytes(0xFFFFFFFFu, 1), 0x20000000u);
    EXPECT_EQ(NumOfBitsToNumOfDWords(31, 2), 2u);
    EXPECT_EQ(NumOfBytesToNumOfWords(0xFFFFFFFFu), 0x80000000u);
    EXPECT_EQ(NumOfBytesToNumOfDWords(5), 2u);
    EXPECT_EQ(NumOfBytesToNumOfQuadWords(9), 2u);
}
