// Data lengths of host commands for any data type and count: never negative,
// exactly the bytes the count needs, and ToSafeData cuts or pads to that length.
#include <QByteArray>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <fuzzer/FuzzedDataProvider.h>

#include "common/fuzz_check.h"
#include "tools/command_helpers.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider input(data, size);
    const int dataType = input.ConsumeIntegralInRange<int>(-2, 9);
    const int count = input.ConsumeBool() ? input.ConsumeIntegralInRange<int>(-20, 20) : input.ConsumeIntegral<int>();
    const std::string bytes = input.ConsumeRemainingBytesAsString();
    const QByteArray payload(bytes.data(), static_cast<int>(bytes.size()));
    const CommunicatorCommand command(dataType, count, QStringLiteral("HR1"));

    const long long length = GetSafeDataLen(command);
    FUZZ_REQUIRE(length >= 0, "a data length is never negative");
    const long long n = count;
    long long width = 0; // bytes per element; -1 for bits
    switch (dataType) {
    case Bit: case BitBlock: width = -1; break;
    case Byte: case Block: width = 1; break;
    case Word: width = 2; break;
    case DoubleWord: width = 4; break;
    case QuadWord: width = 8; break;
    default: width = 0; break;
    }
    if (n <= 0 || width == 0)
        FUZZ_REQUIRE(length == 0, "no elements, no data");
    else if (width < 0)
        FUZZ_REQUIRE(length * 8 >= n && (length - 1) * 8 < n, "bits fill whole bytes");
    else if (n * width <= INT_MAX)
        FUZZ_REQUIRE(length == n * width, "elements times their width");

    if (length > (1 << 20))
        return 0;
    const QByteArray safe = ToSafeData(command, payload);
    FUZZ_REQUIRE(safe.size() == length, "ToSafeData gives the data length");
    FUZZ_REQUIRE(safe.left(payload.size()) == payload.left(static_cast<int>(length)), "ToSafeData keeps the data");
    FUZZ_REQUIRE(safe.mid(payload.size()) == QByteArray(safe.size() - qMin(safe.size(), payload.size()), '\0'),
                 "ToSafeData pads with zero bytes");
    FUZZ_REQUIRE(getBitData(payload) == (!payload.isEmpty() && (payload.at(0) & 1)), "getBitData");
    return 0;
}
