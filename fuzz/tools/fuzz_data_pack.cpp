// Formats built from the input, packed into a buffer of exactly the size the
// format covers (so that any byte past it is an address error), packed into an
// array, unpacked and packed again. The callers' contract is kept: a buffer as
// large as the format says, and one argument of the right kind per item.
#include <QByteArray>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <fuzzer/FuzzedDataProvider.h>
#include <string>
#include <vector>

#include "common/fuzz_check.h"
#include "tools/data_pack.h"

namespace {

const int MaxArguments = 8;
const int ArrayBytes = 4 * 64;

// What the generated format should do: how far it moves, how it ends.
struct Expectation {
    std::string format;
    int length = 0;     // bytes covered before the end or the first error
    int packResult = 0; // buffer packer
    int unpackResult = 0;
    bool arrayPackable = true; // no counted x or X
    bool failed = false;
};

int widthOf(char letter)
{
    switch (letter) {
    case 'S': case 's': case 'v': case 'n': return 2;
    case 'I': case 'L': case 'V': case 'i': case 'l': case 'N': return 4;
    default: return 1;
    }
}

void fail(Expectation& e, const char* text, bool unknownCharacter)
{
    e.format += text;
    e.failed = true;
    e.packResult = unknownCharacter ? 0 : -1;
    e.unpackResult = -1;
}

// arrays: every item that takes an argument is counted (a pointer), otherwise
// every such item is a single letter (an int value, or a pointer when unpacking).
Expectation makeFormat(FuzzedDataProvider& input, bool arrays)
{
    static const char singles[] = "CcSsvnILViNlxX";
    static const char countables[] = "CcvnVNxX";
    Expectation e;
    const int items = input.ConsumeIntegralInRange<int>(0, MaxArguments);
    for (int i = 0; i < items && !e.failed; ++i) {
        const int choice = input.ConsumeIntegralInRange<int>(0, 15);
        if (choice == 0) {
            static const char* const unknown[] = {" ", "Q", ".", "-", "\xff"};
            fail(e, unknown[input.ConsumeIntegralInRange<int>(0, 4)], true);
        } else if (choice == 1) {
            static const char* const faulty[] = {"0C", "3S", "2I", "12", "99999999999C", "4294967297x", "7Q"};
            fail(e, faulty[input.ConsumeIntegralInRange<int>(0, 6)], false);
        } else if (!arrays && choice < 12) {
            const char letter = singles[input.ConsumeIntegralInRange<int>(0, sizeof singles - 2)];
            e.format += letter;
            e.length += widthOf(letter);
        } else {
            // Counted x and X take no argument in either mode.
            const bool skip = !arrays || input.ConsumeBool();
            const char letter = skip ? (input.ConsumeBool() ? 'x' : 'X')
                                     : countables[input.ConsumeIntegralInRange<int>(0, 5)];
            const int count = input.ConsumeIntegralInRange<int>(skip ? 0 : 1, 64);
            e.format += std::to_string(count) + letter;
            e.length += count * widthOf(letter);
            e.arrayPackable = e.arrayPackable && !skip;
        }
    }
    if (!e.failed)
        e.packResult = e.unpackResult = e.length;
    return e;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider input(data, size);
    const bool arrays = input.ConsumeBool();
    const Expectation e = makeFormat(input, arrays);
    const char* format = e.format.c_str();

    int values[MaxArguments];
    static unsigned char sources[MaxArguments][ArrayBytes];
    void* a[MaxArguments];
    for (int i = 0; i < MaxArguments; ++i) {
        values[i] = input.ConsumeIntegral<int>();
        input.ConsumeData(sources[i], ArrayBytes);
        a[i] = sources[i];
    }

    // Exactly the bytes the format covers, zeroed, so a passed-over byte reads 0.
    std::vector<unsigned char> packed(static_cast<size_t>(e.length) + (e.length == 0 ? 1 : 0), 0);
    const int packedLength = arrays
        ? DataPack(packed.data(), format, a[0], a[1], a[2], a[3], a[4], a[5], a[6], a[7])
        : DataPack(packed.data(), format, values[0], values[1], values[2], values[3], values[4], values[5],
                   values[6], values[7]);
    FUZZ_REQUIRE(packedLength == e.packResult, "the buffer packer's result");

    const QByteArray array = arrays
        ? ByteArrayPack(format, a[0], a[1], a[2], a[3], a[4], a[5], a[6], a[7])
        : ByteArrayPack(format, values[0], values[1], values[2], values[3], values[4], values[5], values[6],
                        values[7]);
    if (e.failed || !e.arrayPackable)
        FUZZ_REQUIRE(array.isEmpty(), "the array packer refuses what it cannot pack");
    else
        FUZZ_REQUIRE(array == QByteArray(reinterpret_cast<const char*>(packed.data()), e.length),
                     "both packers give the same bytes");

    // Unpack into zeroed places and pack those again: the same bytes.
    unsigned int places[MaxArguments] = {};
    static unsigned char targets[MaxArguments][ArrayBytes];
    std::memset(targets, 0, sizeof targets);
    void* p[MaxArguments];
    for (int i = 0; i < MaxArguments; ++i)
        p[i] = arrays ? static_cast<void*>(targets[i]) : static_cast<void*>(&places[i]);
    const int unpacked = DataUnpack(packed.data(), format, p[0], p[1], p[2], p[3], p[4], p[5], p[6], p[7]);
    FUZZ_REQUIRE(unpacked == e.unpackResult, "the unpacker's result");
    if (e.failed)
        return 0;
    std::vector<unsigned char> repacked(packed.size(), 0);
    const int repackedLength = arrays
        ? DataPack(repacked.data(), format, p[0], p[1], p[2], p[3], p[4], p[5], p[6], p[7])
        : DataPack(repacked.data(), format, places[0], places[1], places[2], places[3], places[4], places[5],
                   places[6], places[7]);
    FUZZ_REQUIRE(repackedLength == e.length && repacked == packed, "unpacked values pack to the same bytes");
    return 0;
}
