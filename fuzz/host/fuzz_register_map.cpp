// Arbitrary bytes as a register map: refused with at least one fault or taken
// without any; a map taken plans its backup, and every parameter's value goes
// through its text and back without a crash.
#include <cstddef>
#include <cstdint>

#include <QSet>

#include "parameters/backup_plan.h"
#include "parameters/parameter_codec.h"
#include "parameters/register_map.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray content(reinterpret_cast<const char*>(data), static_cast<int>(size));
    RegisterMap map;
    QStringList faults;
    const bool taken = parseRegisterMap(content, QStringLiteral("fuzz.csv"), &map, &faults);
    if (taken != faults.isEmpty())
        __builtin_trap();
    if (!taken)
        return 0;

    std::vector<const Parameter*> parameters;
    QSet<QString> names;
    for (const Parameter& parameter : map.parameters) {
        if (names.contains(parameter.name) || map.find(parameter.name) != &parameter)
            __builtin_trap();
        names.insert(parameter.name);
        parameters.push_back(&parameter);
        const RawValues raw(parameter.width(), 0xA5C3);
        double value = 0;
        if (decodeParameter(parameter, raw, &value)) {
            RawValues written;
            QString error;
            encodeParameter(parameter, formatParameterValue(parameter, value), &written, &error);
        }
    }
    std::vector<BlockRead> plan;
    QString error;
    planBackup(parameters, &plan, &error);
    return 0;
}
