// Arbitrary bytes as a saved parameter set: refused with a reason or taken; a set
// taken is saved and read back as the same set, and equals itself when compared.
#include <cstddef>
#include <cstdint>

#include "parameters/parameter_set.h"
#include "parameters/set_diff.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#include <sanitizer/lsan_interface.h>
#define LEAKS_UNCHECKED(statement) (__lsan_disable(), (statement), __lsan_enable())
#endif
#endif
#ifndef LEAKS_UNCHECKED
#define LEAKS_UNCHECKED(statement) (statement)
#endif

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray json(reinterpret_cast<const char*>(data), static_cast<int>(size));
    ParameterSet set;
    QString error;
    // Qt 5.15's JSON parser leaks the earlier value of a key given twice
    // ({"raw":[1],"raw":1}): not ours to free, so the checker looks away from the
    // arbitrary input's parse; the parse of our own output below is checked.
    bool taken = false;
    LEAKS_UNCHECKED(taken = parseParameterSet(json, QStringLiteral("fuzz.json"), &set, &error));
    if (!taken) {
        if (error.isEmpty())
            __builtin_trap();
        return 0;
    }
    ParameterSet again;
    if (!parseParameterSet(parameterSetJson(set), QStringLiteral("again.json"), &again, &error)
        || again.entries.size() != set.entries.size() || again.station != set.station)
        __builtin_trap();
    for (int i = 0; i < set.entries.size(); ++i) {
        if (again.entries[i].name != set.entries[i].name || again.entries[i].raw != set.entries[i].raw)
            __builtin_trap();
        set.entries[i].valueText();
    }
    if (!compareSets(set, again, true).differences.empty())
        __builtin_trap();
    return 0;
}
