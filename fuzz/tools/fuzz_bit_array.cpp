// Bit arrays: every operation on any array, index and count, checked bit by bit
// against the array before it; raw-pointer forms get buffers of exactly their size.
#include <QByteArray>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <fuzzer/FuzzedDataProvider.h>
#include <vector>

#include "common/fuzz_check.h"
#include "tools/bit_array.h"

namespace {

bool bitOf(const QByteArray& bits, long long i)
{
    return i >= 0 && i / 8 < bits.size() && ((static_cast<unsigned char>(bits.at(int(i / 8))) >> (i % 8)) & 1);
}

QByteArray bytesOf(FuzzedDataProvider& input)
{
    const std::string s = input.ConsumeRandomLengthString(64);
    return QByteArray(s.data(), static_cast<int>(s.size()));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider input(data, size);
    const QByteArray original = bytesOf(input);
    const int bitCount = 8 * original.size();
    const int index = input.ConsumeIntegralInRange<int>(-9, bitCount + 17);
    const int count = input.ConsumeBool() ? input.ConsumeIntegralInRange<int>(-9, bitCount + 17) : input.ConsumeIntegral<int>();

    for (int i = -3; i < bitCount + 9; ++i)
        FUZZ_REQUIRE(getBit(original, i) == bitOf(original, i), "getBit of an array");

    QByteArray set = original;
    const bool value = input.ConsumeBool();
    setBit(set, index, value);
    const bool grows = index >= bitCount && index < bitCount + 8;
    FUZZ_REQUIRE(set.size() == original.size() + (grows ? 1 : 0), "setBit grows by the byte just past the end only");
    for (int i = 0; i < 8 * set.size(); ++i)
        FUZZ_REQUIRE(bitOf(set, i) == (i == index && index >= 0 && (index < bitCount || grows) ? value : bitOf(original, i)),
                     "setBit changes one bit");

    std::vector<unsigned char> raw(original.begin(), original.end());
    if (index >= 0 && index < bitCount) {
        setBit(raw.data(), index, value);
        FUZZ_REQUIRE(QByteArray(reinterpret_cast<const char*>(raw.data()), int(raw.size())) == set, "raw setBit");
        FUZZ_REQUIRE(getBit(raw.data(), index) == value, "raw getBit");
    }

    QByteArray dest = bytesOf(input);
    const QByteArray destBefore = dest;
    QByteArray source = original;
    const int destStart = input.ConsumeIntegralInRange<int>(-3, 8 * dest.size() + 9);
    // Copying may grow the destination bit by bit: keep the count to what a frame holds.
    const int copyCount = count > 4096 ? 4096 : count;
    CopyBits(dest, source, destStart, copyCount);
    FUZZ_REQUIRE(source == original, "CopyBits leaves the source");
    for (long long i = 0; i < 8LL * dest.size(); ++i) {
        const long long k = i - destStart;
        const bool copied = copyCount > 0 && k >= 0 && k < copyCount;
        FUZZ_REQUIRE(bitOf(dest, i) == (copied ? bitOf(original, k) : bitOf(destBefore, i)), "CopyBits");
    }

    const unsigned short start = input.ConsumeIntegral<unsigned short>();
    const int expandCount = count > 4096 ? 4096 : count;
    const QByteArray expanded = ExpandBitsToBytes(original, start, expandCount);
    FUZZ_REQUIRE(expanded.size() == (expandCount > 0 ? expandCount : 0), "one byte per bit");
    for (int k = 0; k < expanded.size(); ++k)
        FUZZ_REQUIRE(expanded.at(k) == (bitOf(original, start + k) ? 1 : 0), "expanded bit");

    QByteArray fitted = original;
    const int fitCount = count > 1 << 20 ? 1 << 20 : count;
    FitBitArray(fitted, fitCount);
    const int fittedSize = fitCount <= 0 ? 0 : (fitCount + 7) / 8;
    FUZZ_REQUIRE(fitted.size() == fittedSize, "FitBitArray size");
    FUZZ_REQUIRE(fitted.left(original.size()) == original.left(fittedSize), "FitBitArray keeps bytes");

    QByteArray cleared = original;
    clearUnnecessaryBits(cleared, count);
    for (long long i = 0; i < 8LL * cleared.size(); ++i) {
        const bool above = count > 0 && count % 8 != 0 && i / 8 == count / 8 && i % 8 >= count % 8;
        FUZZ_REQUIRE(bitOf(cleared, i) == (above ? false : bitOf(original, i)), "clearUnnecessaryBits");
    }
    FUZZ_REQUIRE(cleared.size() - original.size() <= 1, "clearUnnecessaryBits adds one byte at most");

    QByteArray shifted = original;
    const int shift = input.ConsumeIntegralInRange<int>(-2, bitCount + 9);
    RightShiftNBits(shifted, shift);
    FUZZ_REQUIRE(shifted.size() == original.size(), "shifting keeps the length");
    for (int i = 0; shift >= 0 && i < bitCount - shift; ++i)
        FUZZ_REQUIRE(bitOf(shifted, i) == bitOf(original, i + shift), "RightShiftNBits");

    std::vector<unsigned char> rotated(original.begin(), original.end());
    const int first = input.ConsumeIntegralInRange<int>(0, original.size());
    RotateArray(rotated.data(), first, original.size() - first);
    const QByteArray expectedRotation = original.mid(first) + original.left(first);
    FUZZ_REQUIRE(QByteArray(reinterpret_cast<const char*>(rotated.data()), int(rotated.size())) == expectedRotation,
                 "RotateArray");

    const unsigned a = input.ConsumeIntegral<unsigned>(), b = input.ConsumeIntegral<unsigned>();
    const unsigned long long bits = static_cast<unsigned long long>(a) + b;
    if (bits <= UINT_MAX - 31) {
        FUZZ_REQUIRE(NumOfBitsToNumOfBytes(a, b) == (bits + 7) / 8 && NumOfBitsToNumOfWords(a, b) == (bits + 15) / 16
                         && NumOfBitsToNumOfDWords(a, b) == (bits + 31) / 32,
                     "bit counts round up");
    }
    FUZZ_REQUIRE(NumOfBytesToNumOfWords(a) == (a / 2 + a % 2) && NumOfBytesToNumOfDWords(a) == (a / 4 + (a % 4 != 0))
                     && NumOfBytesToNumOfQuadWords(a) == (a / 8 + (a % 8 != 0)),
                 "byte counts round up");

    const unsigned short bit = input.ConsumeIntegralInRange<unsigned short>(0, 40);
    const unsigned int word = input.ConsumeIntegral<unsigned int>();
    const unsigned char u8 = static_cast<unsigned char>(word);
    const unsigned short u16 = static_cast<unsigned short>(word);
    FUZZ_REQUIRE(getBit(setBit(u8, bit), bit) == (bit < 8) && getBit(setBit(u16, bit), bit) == (bit < 16)
                     && getBit(setBit(word, bit), bit) == (bit < 32) && !getBit(clearBit(word, bit), bit),
                 "single bits of a value");
    FUZZ_REQUIRE((bit < 8 || setBit(u8, bit) == u8) && (bit < 16 || clearBit(u16, bit) == u16)
                     && (setBit(word, bit) | (bit < 32 ? 1u << bit : 0u)) == setBit(word, bit),
                 "bits outside the width change nothing");
    return 0;
}
