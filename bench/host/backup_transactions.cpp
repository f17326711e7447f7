// What a backup of the example map costs on the line: the transactions drvctl
// backup makes and their line time at 9600 baud, beside the fewest reads the
// map allows (a read per run of named registers, split at the Modbus limits).
// Goal: exactly the fewest.
#include "parameters/register_map.h"
#include "rtu/rtu_frame.h"
#include "rtu/rtu_limits.h"
#include "simulator/servo_line.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <cstdio>
#include <map>
#include <set>

namespace {

// A run of consecutive named registers (or bits) of one table needs
// ceil(length / limit) reads; unnamed registers end a run.
int fewestReads(const RegisterMap& map)
{
    std::map<Area, std::set<int>> named;
    for (const Parameter& p : map.parameters)
        for (int k = 0; k < p.width(); ++k)
            named[tableOf(p.address.area)].insert(p.address.number + k);
    int reads = 0;
    for (const auto& table : named) {
        const int limit = isBitArea(table.first) ? Rtu::MaxBitsPerRead : Rtu::MaxRegistersPerRead;
        int run = 0, previous = -2;
        for (int number : table.second) {
            if (number != previous + 1 && run > 0) {
                reads += (run + limit - 1) / limit;
                run = 0;
            }
            ++run;
            previous = number;
        }
        reads += (run + limit - 1) / limit;
    }
    return reads;
}

// Bytes of the reply to a read request.
int replyBytes(const std::vector<uint8_t>& request)
{
    return Rtu::normalReplyLength(request[1], request[4] << 8 | request[5]);
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    RegisterMap map;
    QStringList faults;
    if (!loadRegisterMap(QStringLiteral(EXAMPLE_MAP_PATH), &map, &faults)) {
        std::fprintf(stderr, "%s\n", qPrintable(faults.join(QLatin1Char('\n'))));
        return 1;
    }
    ServoLine line;
    std::string error;
    if (!line.start(&error)) {
        std::fprintf(stderr, "%s\n", error.c_str());
        return 1;
    }
    QTemporaryDir dir;
    QProcess drvctl;
    drvctl.start(QStringLiteral(DRVCTL_PATH), {QStringLiteral("backup"), QStringLiteral("--map"), QStringLiteral(EXAMPLE_MAP_PATH),
                                               QStringLiteral("--device"), QString::fromStdString(line.devicePath()),
                                               QStringLiteral("-o"), dir.filePath(QStringLiteral("set.json"))});
    if (!drvctl.waitForFinished(60000) || drvctl.exitCode() != 0) {
        std::fprintf(stderr, "drvctl backup failed: %s\n", drvctl.readAllStandardError().constData());
        return 1;
    }
    // 11-bit characters at 9600 baud, 3.5 characters of silence before each frame.
    constexpr double CharacterMs = 11 * 1000.0 / 9600;
    int transactions = 0;
    double lineMs = 0;
    for (const std::vector<uint8_t>& request : line.requests()) {
        ++transactions;
        lineMs += (static_cast<double>(request.size()) + replyBytes(request) + 2 * 3.5) * CharacterMs;
    }
    const int fewest = fewestReads(map);
    std::printf("backup of %s: %zu parameters\n", qPrintable(map.name), map.parameters.size());
    std::printf("  %-28s %12s %18s\n", "", "transactions", "line time 9600 Bd");
    std::printf("  %-28s %12d %15.1f ms\n", "drvctl backup", transactions, lineMs);
    std::printf("  %-28s %12d\n", "fewest the map allows", fewest);
    std::printf("  %-28s %12zu\n", "one read per parameter", map.parameters.size());
    std::printf("goal (exactly the fewest): %s\n", transactions == fewest ? "met" : "missed");
    return transactions == fewest ? 0 : 1;
}
