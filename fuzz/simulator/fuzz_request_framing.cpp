// The simulated line's framing of requests from any bytes: it reads only the
// bytes it is given, and a length once known stays the same as more bytes come.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "common/fuzz_check.h"
#include "simulator/request_framing.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    int known = RequestFraming::NeedMoreBytes;
    for (size_t available = 0; available <= size; ++available) {
        // Exactly the bytes seen so far, so a read past them is an address error.
        const std::vector<uint8_t> seen(data, data + available);
        const int length = RequestFraming::expectedLength(seen.data(), available);
        FUZZ_REQUIRE(length == RequestFraming::NeedMoreBytes || length == RequestFraming::UnknownLength
                         || (length >= 8 && length <= 9 + 255),
                     "a request length fits an RTU frame");
        if (known != RequestFraming::NeedMoreBytes)
            FUZZ_REQUIRE(length == known, "more bytes do not change a known length");
        if (length != RequestFraming::NeedMoreBytes && available >= 2) {
            const unsigned function = data[1];
            const bool fixed = function >= 1 && function <= 6;
            const bool counted = function == 15 || function == 16;
            FUZZ_REQUIRE(fixed ? length == 8 : counted ? length == 9 + data[6] : length == RequestFraming::UnknownLength,
                         "length by function code");
        }
        known = length;
    }
    return 0;
}
