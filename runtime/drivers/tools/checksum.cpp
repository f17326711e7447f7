#include "tools/checksum.h"

#include "tools/crc.h"

namespace {

template <typename Result, typename Step>
Result fold(const unsigned char* data, int length, Result start, Step step)
{
    if (data == nullptr || length < 1)
        return 0;
    Result value = start;
    for (int i = 0; i < length; ++i)
        value = step(value, data[i]);
    return value;
}

} // namespace

unsigned char UInt8CheckSum(const unsigned char* data, int length)
{
    return fold<unsigned char>(data, length, 0, [](unsigned char sum, unsigned char b) {
        return static_cast<unsigned char>(sum + b);
    });
}

unsigned short UShortCheckSum(const unsigned char* data, int length)
{
    return fold<unsigned short>(data, length, 0, [](unsigned short sum, unsigned char b) {
        return static_cast<unsigned short>(sum + b);
    });
}

unsigned char XorUInt8CheckSum(const unsigned char* data, int length)
{
    return fold<unsigned char>(data, length, 0, [](unsigned char sum, unsigned char b) {
        return static_cast<unsigned char>(sum ^ b);
    });
}

unsigned short CRC16Calculate(const unsigned char* data, int length)
{
    return fold<unsigned short>(data, length, 0, [](unsigned short crc, unsigned char b) {
        return update_crc_16(crc, static_cast<char>(b));
    });
}
