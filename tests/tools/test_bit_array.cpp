#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <vector>

#include "tools/bit_array.h"

namespace {

QByteArray hex(const char* text)
{
    return QByteArray::fromHex(text);
}

struct InPlaceCase {
    const char* name;
    const char* input;
    std::function<void(QByteArray&)> change;
    const char* expected;
};

void expectInPlace(const InPlaceCase& c)
{
    QByteArray bits = hex(c.input);
    c.change(bits);
    EXPECT_EQ(bits.toHex(), hex(c.expected).toHex()) << c.name;
}

} // namespace

TEST(BitArray, SingleBitsOfValuesRespectTheWidth)
{
    using UShort = unsigned short;
    using UChar = unsigned char;
    EXPECT_EQ(setBit(UShort(1), 15), 32769);
    EXPECT_EQ(setBit(UShort(1), 16), 1);
    EXPECT_EQ(setBit(UChar(0), 7), 0x80);
    EXPECT_EQ(setBit(UChar(0), 8), 0);
    EXPECT_EQ(setBit(0u, 31), 0x80000000u);
    EXPECT_EQ(setBit(0u, 32), 0u);
    EXPECT_EQ(clearBit(UShort(0xFFFF), 0), 0xFFFE);
    EXPECT_EQ(clearBit(UShort(0xFFFF), 16), 0xFFFF);
    EXPECT_EQ(clearBit(UChar(0xFF), 7), 0x7F);
    EXPECT_EQ(clearBit(UChar(0xFF), 200), 0xFF);
    EXPECT_EQ(clearBit(0xFFFFFFFFu, 31), 0x7FFFFFFFu);
    EXPECT_EQ(clearBit(0xFFFFFFFFu, 65535), 0xFFFFFFFFu);
    EXPECT_TRUE(getBit(UChar(0x80), 7));
    EXPECT_FALSE(getBit(UChar(0xFF), 8));
    EXPECT_TRUE(getBit(UShort(0x8000), 15));
    EXPECT_FALSE(getBit(UShort(0xFFFF), 16));
    EXPECT_TRUE(getBit(0x80000000u, 31));
    EXPECT_FALSE(getBit(0xFFFFFFFFu, 32));
}

TEST(BitArray, GetBitOfByteArray)
{
    const QByteArray bits = hex("0580");
    EXPECT_TRUE(getBit(bits, 2));
    EXPECT_FALSE(getBit(bits, 1));
    EXPECT_TRUE(getBit(bits, 0));
    EXPECT_TRUE(getBit(bits, 15));
    EXPECT_FALSE(getBit(bits, -1));
    EXPECT_FALSE(getBit(bits, 16));
    EXPECT_FALSE(getBit(QByteArray(), 0));
    const unsigned char raw[] = {0x05, 0x80};
    EXPECT_TRUE(getBit(raw, 2));
    EXPECT_TRUE(getBit(raw, 15));
    EXPECT_FALSE(getBit(raw, 14));
    EXPECT_FALSE(getBit(raw, -1));
    EXPECT_FALSE(getBit(static_cast<const unsigned char*>(nullptr), 0));
}

TEST(BitArray, SetBitOfByteArray)
{
    const InPlaceCase cases[] = {
        {"index 9 grows by one byte", "00", [](QByteArray& b) { setBit(b, 9, true); }, "0002"},
        {"index 8 on empty is too far", "", [](QByteArray& b) { setBit(b, 8, true); }, ""},
        {"index 0 on empty grows", "", [](QByteArray& b) { setBit(b, 0, true); }, "01"},
        {"clearing inside", "ff", [](QByteArray& b) { setBit(b, 3, false); }, "f7"},
        {"setting inside", "00ff", [](QByteArray& b) { setBit(b, 7, true); }, "80ff"},
        {"index two bytes out", "00", [](QByteArray& b) { setBit(b, 16, true); }, "00"},
        {"negative index", "00", [](QByteArray& b) { setBit(b, -1, true); }, "00"},
        {"clearing past end still grows", "ff", [](QByteArray& b) { setBit(b, 8, false); }, "ff00"},
    };
    for (const InPlaceCase& c : cases)
        expectInPlace(c);

    unsigned char raw[] = {0x00, 0xFF};
    setBit(raw, 9, false);
    setBit(raw, 0, true);
    setBit(raw, -1, true);
    setBit(static_cast<unsigned char*>(nullptr), 3, true);
    EXPECT_EQ(raw[0], 0x01);
    EXPECT_EQ(raw[1], 0xFD);
}

TEST(BitArray, CopyBits)
{
    struct Case {
        const char* name;
        const char* dest;
        const char* source;
        int destStart;
        int count;
        const char* expected;
    };
    const Case cases[] = {
        {"bits 3..6 set", "00", "0f", 3, 4, "78"},
        {"bits 3..6 cleared", "ff", "f0", 3, 4, "87"},
        {"source read from bit 0", "0000", "0300", 8, 2, "0003"},
        {"grows across the end", "00", "0f", 6, 4, "c003"},
        {"source bits past its end are 0", "ff", "01", 0, 8, "01"},
        {"count 0", "00", "ff", 0, 0, "00"},
        {"negative count", "00", "ff", 0, -4, "00"},
        {"start far past the end", "00", "ff", 24, 8, "00"},
        {"negative start writes only from bit 0", "00", "ff", -2, 4, "03"},
    };
    for (const Case& c : cases) {
        QByteArray dest = hex(c.dest);
        QByteArray source = hex(c.source);
        CopyBits(dest, source, c.destStart, c.count);
        EXPECT_EQ(dest.toHex(), hex(c.expected).toHex()) << c.name;
    }
    QByteArray bits = hex("ff00");
    CopyBits(bits, bits, 2147483640, 100);
    EXPECT_EQ(bits, hex("ff00"));
}

TEST(BitArray, ExpandBitsToBytes)
{
    EXPECT_EQ(ExpandBitsToBytes(hex("a5"), 0, 8), hex("0100010000010001"));
    EXPECT_EQ(ExpandBitsToBytes(hex("a5"), 4, 6), hex("000100010000"));
    EXPECT_EQ(ExpandBitsToBytes(hex("00ff"), 7, 2), hex("0001"));
    EXPECT_EQ(ExpandBitsToBytes(hex("ff"), 65535, 3), hex("000000"));
    EXPECT_TRUE(ExpandBitsToBytes(hex("ff"), 0, 0).isEmpty());
    EXPECT_TRUE(ExpandBitsToBytes(hex("ff"), 0, -1).isEmpty());
}

TEST(BitArray, FitAndClearUnnecessaryBits)
{
    const InPlaceCase cases[] = {
        {"fit 9", "ffffff", [](QByteArray& b) { FitBitArray(b, 9); }, "ffff"},
        {"fit 16", "ffffff", [](QByteArray& b) { FitBitArray(b, 16); }, "ffff"},
        {"fit 0", "ff", [](QByteArray& b) { FitBitArray(b, 0); }, ""},
        {"fit negative", "ff", [](QByteArray& b) { FitBitArray(b, -5); }, ""},
        {"fit grows with zeros", "ff", [](QByteArray& b) { FitBitArray(b, 17); }, "ff0000"},
        {"clear 11", "ffff", [](QByteArray& b) { clearUnnecessaryBits(b, 11); }, "ff07"},
        {"clear 16", "ffff", [](QByteArray& b) { clearUnnecessaryBits(b, 16); }, "ffff"},
        {"clear 1", "ffff", [](QByteArray& b) { clearUnnecessaryBits(b, 1); }, "01ff"},
        {"clear byte just past end", "ffff", [](QByteArray& b) { clearUnnecessaryBits(b, 17); }, "ffff00"},
        {"clear further out", "ffff", [](QByteArray& b) { clearUnnecessaryBits(b, 25); }, "ffff"},
        {"clear 0", "ff", [](QByteArray& b) { clearUnnecessaryBits(b, 0); }, "ff"},
        {"clear negative", "ff", [](QByteArray& b) { clearUnnecessaryBits(b, -3); }, "ff"},
    };
    for (const InPlaceCase& c : cases)
        expectInPlace(c);
}

TEST(BitArray, RightShiftNBits)
{
    const InPlaceCase cases[] = {
        {"register 1234 by 4", "3412", [](QByteArray& b) { RightShiftNBits(b, 4); }, "2301"},
        {"register 1234 by 12", "3412", [](QByteArray& b) { RightShiftNBits(b, 12); }, "0134"},
        {"by 7 across bytes", "ff01", [](QByteArray& b) { RightShiftNBits(b, 7); }, "0300"},
        {"by 8 rotates whole bytes", "aabbcc", [](QByteArray& b) { RightShiftNBits(b, 8); }, "bbccaa"},
        {"by 9 shifts only the first bytes", "010203", [](QByteArray& b) { RightShiftNBits(b, 9); }, "810101"},
        {"by 0", "3412", [](QByteArray& b) { RightShiftNBits(b, 0); }, "3412"},
        {"negative", "3412", [](QByteArray& b) { RightShiftNBits(b, -1); }, "3412"},
        {"whole length clears", "3412", [](QByteArray& b) { RightShiftNBits(b, 16); }, "0000"},
        {"far beyond clears", "3412", [](QByteArray& b) { RightShiftNBits(b, 1000); }, "0000"},
        {"empty small shift", "", [](QByteArray& b) { RightShiftNBits(b, 3); }, ""},
        {"empty large shift", "", [](QByteArray& b) { RightShiftNBits(b, 40); }, ""},
    };
    for (const InPlaceCase& c : cases)
        expectInPlace(c);
}

TEST(BitArray, RightShiftMovesEveryBitDownByN)
{
    const QByteArray patterns[] = {hex("a5c33c5a0f"), hex("0123456789abcdef"), hex("ff"), hex("8001")};
    for (const QByteArray& original : patterns) {
        const int total = 8 * original.size();
        for (int n = 0; n < total; ++n) {
            QByteArray shifted = original;
            RightShiftNBits(shifted, n);
            ASSERT_EQ(shifted.size(), original.size());
            for (int i = 0; i < total - n; ++i)
                ASSERT_EQ(getBit(shifted, i), getBit(original, i + n))
                    << original.toHex().constData() << " n " << n << " bit " << i;
        }
    }
}

TEST(BitArray, RotateArray)
{
    struct Case {
        const char* name;
        int first;
        int second;
        std::vector<unsigned char> expected;
    };
    // The last element is a guard that no rotation may reach.
    const Case cases[] = {
        {"2 then 3", 2, 3, {3, 4, 5, 1, 2, 6}},
        {"1 then 1", 1, 1, {2, 1, 3, 4, 5, 6}},
        {"4 then 1", 4, 1, {5, 1, 2, 3, 4, 6}},
        {"first empty", 0, 5, {1, 2, 3, 4, 5, 6}},
        {"second empty", 5, 0, {1, 2, 3, 4, 5, 6}},
        {"negative first", -1, 3, {1, 2, 3, 4, 5, 6}},
        {"negative second", 3, -1, {1, 2, 3, 4, 5, 6}},
    };
    for (const Case& c : cases) {
        std::vector<unsigned char> data = {1, 2, 3, 4, 5, 6};
        RotateArray(data.data(), c.first, c.second);
        EXPECT_EQ(data, c.expected) << c.name;
    }
}

TEST(BitArray, SizeArithmeticRoundsUp)
{
    EXPECT_EQ(NumOfBitsToNumOfWords(15, 2), 2u);
    EXPECT_EQ(NumOfBitsToNumOfWords(0, 16), 1u);
    EXPECT_EQ(NumOfBitsToNumOfWords(0, 0), 0u);
    EXPECT_EQ(NumOfBitsToNumOfWords(0, 17), 2u);
    EXPECT_EQ(NumOfBitsToNumOfBytes(7, 2), 2u);
    EXPECT_EQ(NumOfBitsToNumOfBytes(0, 8), 1u);
    EXPECT_EQ(NumOfBitsToNumOfBytes(0xFFFFFFFFu, 1), 0x20000000u);
    EXPECT_EQ(NumOfBitsToNumOfDWords(31, 2), 2u);
    EXPECT_EQ(NumOfBitsToNumOfDWords(0, 32), 1u);
    EXPECT_EQ(NumOfBytesToNumOfWords(3), 2u);
    EXPECT_EQ(NumOfBytesToNumOfWords(0xFFFFFFFFu), 0x80000000u);
    EXPECT_EQ(NumOfBytesToNumOfDWords(5), 2u);
    EXPECT_EQ(NumOfBytesToNumOfDWords(4), 1u);
    EXPECT_EQ(NumOfBytesToNumOfQuadWords(9), 2u);
    EXPECT_EQ(NumOfBytesToNumOfQuadWords(0), 0u);
}

TEST(BitArray, AnyIndexOrCountStaysInsideTheArray)
{
    // Run under the sanitizer build, this catches any access outside the arrays.
    for (int length = 0; length <= 3; ++length) {
        const QByteArray original(length, '\x5a');
        for (int i = -20; i <= 40; ++i) {
            const int grown = (i >= 0 && i / 8 == length) ? length + 1 : length;
            QByteArray bits = original;
            setBit(bits, i, true);
            EXPECT_EQ(bits.size(), grown) << "setBit " << length << " " << i;
            bits = original;
            clearUnnecessaryBits(bits, i);
            EXPECT_EQ(bits.size(), i % 8 != 0 ? grown : length) << "clear " << length << " " << i;
            bits = original;
            RightShiftNBits(bits, i);
            EXPECT_EQ(bits.size(), length) << "shift " << length << " " << i;
            bits = original;
            QByteArray source = original;
            CopyBits(bits, source, i, 12);
            EXPECT_LE(bits.size(), std::max(length, (i + 12 + 7) / 8)) << "copy " << length << " " << i;
            EXPECT_EQ(ExpandBitsToBytes(original, static_cast<unsigned short>(std::max(i, 0)), i).size(),
                      std::max(i, 0));
        }
    }
}
