#include "tools/bit_array.h"

#include <algorithm>
#include <climits>

namespace {

template <typename V>
constexpr unsigned int widthOf()
{
    return 8u * sizeof(V);
}

template <typename V>
V withBit(V value, unsigned short bit, bool set)
{
    if (bit >= widthOf<V>())
        return value;
    const V mask = static_cast<V>(V(1) << bit);
    return static_cast<V>(set ? (value | mask) : (value & static_cast<V>(~mask)));
}

template <typename V>
bool bitOf(V value, unsigned short bit)
{
    return bit < widthOf<V>() && ((value >> bit) & 1u) != 0;
}

unsigned char bitMask(int index)
{
    return static_cast<unsigned char>(1u << (index % 8));
}

void assignBit(unsigned char& byte, int index, bool value)
{
    byte = value ? static_cast<unsigned char>(byte | bitMask(index))
                 : static_cast<unsigned char>(byte & ~bitMask(index));
}

unsigned char* bytesOf(QByteArray& bits)
{
    return reinterpret_cast<unsigned char*>(bits.data());
}

// Shifts length bytes towards bit 0 by 0..7 bits; the top n bits of the last byte become 0.
void shiftBytesRight(unsigned char* bytes, int length, int n)
{
    if (length <= 0 || n == 0)
        return;
    bytes[0] = static_cast<unsigned char>(bytes[0] >> n);
    for (int j = 0; j + 1 < length; ++j) {
        bytes[j] = static_cast<unsigned char>(bytes[j] | ((bytes[j + 1] << (8 - n)) & 0xFF));
        bytes[j + 1] = static_cast<unsigned char>(bytes[j + 1] >> n);
    }
}

unsigned int unitsSpanned(unsigned int startBit, unsigned int count, unsigned int unitBits)
{
    // In 64 bits so that startBit + count cannot wrap.
    const unsigned long long bits = static_cast<unsigned long long>(startBit) + count;
    return static_cast<unsigned int>((bits + unitBits - 1) / unitBits);
}

} // namespace

unsigned char setBit(unsigned char value, unsigned short bit) { return withBit(value, bit, true); }
unsigned short setBit(unsigned short value, unsigned short bit) { return withBit(value, bit, true); }
unsigned int setBit(unsigned int value, unsigned short bit) { return withBit(value, bit, true); }
unsigned char clearBit(unsigned char value, unsigned short bit) { return withBit(value, bit, false); }
unsigned short clearBit(unsigned short value, unsigned short bit) { return withBit(value, bit, false); }
unsigned int clearBit(unsigned int value, unsigned short bit) { return withBit(value, bit, false); }
bool getBit(unsigned char value, unsigned short bit) { return bitOf(value, bit); }
bool getBit(unsigned short value, unsigned short bit) { return bitOf(value, bit); }
bool getBit(unsigned int value, unsigned short bit) { return bitOf(value, bit); }

bool getBit(const QByteArray& bits, int index)
{
    if (index < 0 || index / 8 >= bits.size())
        return false;
    return (static_cast<unsigned char>(bits.at(index / 8)) & bitMask(index)) != 0;
}

bool getBit(const unsigned char* bits, int index)
{
    if (bits == nullptr || index < 0)
        return false;
    return (bits[index / 8] & bitMask(index)) != 0;
}

void setBit(QByteArray& bits, int index, bool value)
{
    if (index < 0 || index / 8 > bits.size())
        return;
    if (index / 8 == bits.size())
        bits.append('\0');
    assignBit(bytesOf(bits)[index / 8], index, value);
}

void setBit(unsigned char* bits, int index, bool value)
{
    if (bits == nullptr || index < 0)
        return;
    assignBit(bits[index / 8], index, value);
}

void CopyBits(QByteArray& dest, QByteArray& source, int destStart, int count)
{
    for (int k = 0; k < count; ++k) {
        if (destStart > INT_MAX - k)
            return;
        const int target = destStart + k;
        // Past the byte after the end nothing can be written any more.
        if (target / 8 > dest.size())
            return;
        setBit(dest, target, getBit(source, k));
    }
}

QByteArray ExpandBitsToBytes(const QByteArray& bits, unsigned short start, int count)
{
    if (count <= 0)
        return QByteArray();
    QByteArray result(count, '\0');
    // Bits past the end read as 0; the bound also keeps start + k within int.
    const long long available = std::min<long long>(8LL * bits.size() - start, INT_MAX - start);
    const int copied = static_cast<int>(std::max(0LL, std::min<long long>(count, available)));
    for (int k = 0; k < copied; ++k)
        result[k] = getBit(bits, start + k) ? 1 : 0;
    return result;
}

void FitBitArray(QByteArray& bits, int count)
{
    const int oldSize = bits.size();
    const int newSize = count <= 0 ? 0 : count / 8 + (count % 8 != 0 ? 1 : 0);
    bits.resize(newSize);
    if (newSize > oldSize)
        std::fill(bits.begin() + oldSize, bits.end(), '\0');
}

void clearUnnecessaryBits(QByteArray& bits, int count)
{
    if (count <= 0 || count % 8 == 0)
        return;
    const int byteIndex = count / 8;
    if (byteIndex > bits.size())
        return;
    if (byteIndex == bits.size()) {
        bits.append('\0');
        return;
    }
    unsigned char& byte = bytesOf(bits)[byteIndex];
    byte = static_cast<unsigned char>(byte & ((1u << (count % 8)) - 1u));
}

template <typename T>
void RotateArray(T* data, int first, int second)
{
    if (data == nullptr || first < 0 || second < 0 || first > INT_MAX - second)
        return;
    std::reverse(data, data + first);
    std::reverse(data + first, data + first + second);
    std::reverse(data, data + first + second);
}

template void RotateArray<unsigned char>(unsigned char* data, int first, int second);

void RightShiftNBits(QByteArray& bits, int n)
{
    if (n <= 0)
        return;
    const int length = bits.size();
    const int k = n / 8;
    if (k >= length) {
        bits.fill('\0');
        return;
    }
    unsigned char* bytes = bytesOf(bits);
    const int m = length - k;
    if (k > 0)
        RotateArray(bytes, k, m);
    shiftBytesRight(bytes, m, n % 8);
}

unsigned int NumOfBitsToNumOfBytes(unsigned int startBit, unsigned int count) { return unitsSpanned(startBit, count, 8); }
unsigned int NumOfBitsToNumOfWords(unsigned int startBit, unsigned int count) { return unitsSpanned(startBit, count, 16); }
unsigned int NumOfBitsToNumOfDWords(unsigned int startBit, unsigned int count) { return unitsSpanned(startBit, count, 32); }
unsigned int NumOfBytesToNumOfWords(unsigned int bytes) { return unitsSpanned(0, bytes, 2); }
unsigned int NumOfBytesToNumOfDWords(unsigned int bytes) { return unitsSpanned(0, bytes, 4); }
unsigned int NumOfBytesToNumOfQuadWords(unsigned int bytes) { return unitsSpanned(0, bytes, 8); }
