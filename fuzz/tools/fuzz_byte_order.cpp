// Byte-order conversions on any bytes: raw-pointer forms read exactly the bytes
// their count covers, conversions there and back give the input again.
#include <QByteArray>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "common/fuzz_check.h"
#include "tools/byte_order.h"

namespace {

QByteArray padded(const QByteArray& data, int unit)
{
    return data + QByteArray((unit - data.size() % unit) % unit, '\0');
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<int>(size));
    // A heap copy of exactly the input, so a read past it is an address error.
    const std::vector<unsigned char> exact(data, data + size);
    const int n = static_cast<int>(size);

    const QByteArray words = fromBigEndianUShortArray(exact.data(), n / 2);
    FUZZ_REQUIRE(words.size() == n / 2 * 2 && toBigEndianUShortArray(words) == bytes.left(n / 2 * 2),
                 "16-bit register image there and back");
    const QByteArray longs = fromBigEndianULongArray(exact.data(), n / 4);
    FUZZ_REQUIRE(longs.size() == n / 4 * 4 && toBigEndianULongArray(longs) == bytes.left(n / 4 * 4),
                 "32-bit register image there and back");
    FUZZ_REQUIRE(toBigEndianUShortArray(bytes) == fromBigEndianUShortArray(
                     reinterpret_cast<const unsigned char*>(padded(bytes, 2).constData()), (n + 1) / 2),
                 "a 16-bit swap is its own inverse, the pad byte first");
    FUZZ_REQUIRE(toBigEndianULongArray(bytes) == reverseArray(padded(bytes, 4).left(4)) + toBigEndianULongArray(padded(bytes, 4).mid(4)),
                 "32-bit units reverse one by one");
    FUZZ_REQUIRE(reverseArray(reverseArray(bytes)) == bytes, "reversal twice");

    QByteArray inPlace = bytes;
    toLittleEndianUShortArray(inPlace);
    FUZZ_REQUIRE(inPlace.size() == n, "in-place swaps keep the length");
    toLittleEndianUShortArray(inPlace);
    FUZZ_REQUIRE(inPlace == bytes, "in-place 16-bit swap twice");
    toLittleEndianULongArray(inPlace);
    toLittleEndianULongArray(inPlace);
    FUZZ_REQUIRE(inPlace == bytes, "in-place 32-bit swap twice");

    const int unitSizes[] = {2, 4, 8};
    const QByteArray filled[] = {To16bitsData(bytes), To32bitsData(bytes), To64bitsData(bytes)};
    for (int k = 0; k < 3; ++k)
        FUZZ_REQUIRE(filled[k] == padded(bytes, unitSizes[k]), "filling appends zero bytes to whole units");

    const int value = QByteArrayToInt(bytes);
    FUZZ_REQUIRE(intToByteArray(value) == (n == 0 ? QByteArray(4, '\0') : padded(bytes.left(4), 4)),
                 "an int reads the first four bytes, low byte first");
    FUZZ_REQUIRE(QByteArrayToInt(intToByteArray(value)) == value, "int there and back");
    FUZZ_REQUIRE(wordToByteArray(QByteArrayToWord(bytes)) == padded(bytes.left(2), 2) + QByteArray(n == 0 ? 2 : 0, '\0'),
                 "a word reads the first two bytes");
    FUZZ_REQUIRE(shortToByteArray(QByteArrayToShort(bytes)) == wordToByteArray(QByteArrayToWord(bytes)),
                 "short and word read the same bits");
    QByteArray appended = bytes;
    appendBigEndianUShort(appended, QByteArrayToWord(bytes));
    FUZZ_REQUIRE(appended.size() == n + 2 && toBigEndianUShortArray(appended.right(2)) == wordToByteArray(QByteArrayToWord(bytes)),
                 "appended high byte first");
    return 0;
}
