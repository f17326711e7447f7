// The framing of requests from any bytes: the length told from a request's first
// bytes reads only the bytes it is given and stays the same as more bytes come,
// and the simulated line's RequestAssembler, fed the same bytes in chunks the
// input chooses, gives only whole requests, each in the order its bytes came.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "common/fuzz_check.h"
#include "rtu/rtu_frame.h"
#include "simulator/request_assembler.h"

namespace {

void checkLengths(const uint8_t* data, size_t size)
{
    int known = Rtu::NeedMoreBytes;
    for (size_t available = 0; available <= size; ++available) {
        // Exactly the bytes seen so far, so a read past them is an address error.
        const std::vector<uint8_t> seen(data, data + available);
        const int length = Rtu::requestLength(seen.data(), available);
        FUZZ_REQUIRE(length == Rtu::NeedMoreBytes || length == Rtu::UnknownLength || (length >= 8 && length <= 9 + 255),
                     "a request length fits an RTU frame");
        if (known != Rtu::NeedMoreBytes)
            FUZZ_REQUIRE(length == known, "more bytes do not change a known length");
        if (length != Rtu::NeedMoreBytes && available >= 2) {
            const unsigned function = data[1];
            const bool fixed = function >= 1 && function <= 6;
            const bool counted = function == 15 || function == 16;
            FUZZ_REQUIRE(fixed ? length == 8 : counted ? length == 9 + data[6] : length == Rtu::UnknownLength,
                         "length by function code");
        }
        known = length;
    }
}

// The first byte chooses the chunk sizes (1 to 16) and where the line falls silent.
void checkAssembly(const uint8_t* data, size_t size)
{
    if (size < 1)
        return;
    const unsigned pattern = data[0];
    RequestAssembler assembler;
    RequestAssembler::Frames frames;
    size_t fed = 0, given = 0;
    for (size_t at = 1, chunk = 0; at < size; ++chunk) {
        const size_t length = std::min(size - at, static_cast<size_t>(1 + ((pattern + chunk * 7) % 16)));
        const RequestAssembler::Frames got = assembler.take(data + at, length);
        frames.insert(frames.end(), got.begin(), got.end());
        at += length;
        fed += length;
        if ((pattern >> (chunk % 8)) & 1) {
            const RequestAssembler::Frames ended = assembler.silence();
            frames.insert(frames.end(), ended.begin(), ended.end());
            FUZZ_REQUIRE(!assembler.holding(), "a silence leaves nothing held");
        }
    }
    for (const auto& frame : frames) {
        const int length = Rtu::requestLength(frame.data(), frame.size());
        FUZZ_REQUIRE(Rtu::crcMatches(frame.data(), frame.size()), "every request has a good CRC");
        FUZZ_REQUIRE(length == Rtu::UnknownLength || length == static_cast<int>(frame.size()),
                     "a request of known layout is exactly that long");
        given += frame.size();
    }
    FUZZ_REQUIRE(given <= fed, "no byte is given twice");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    checkLengths(data, size);
    checkAssembly(data, size);
    return 0;
}
