// drvctl backup: every parameter of the map, with the fewest reads, into a set file.
#include "drvctl/exit_codes.h"
#include "drvctl/session.h"
#include "parameters/parameter_transfer.h"

#include <QElapsedTimer>
#include <cstdio>
#include <unistd.h>

namespace {

void showProgress(int done, int total)
{
    constexpr int Width = 30;
    const int filled = total > 0 ? done * Width / total : Width;
    std::fprintf(stderr, "\rbackup [%s%s] %d/%d read(s)", QByteArray(filled, '#').constData(),
                 QByteArray(Width - filled, '.').constData(), done, total);
    std::fflush(stderr);
}

} // namespace

int Session::backup(const Invocation& request)
{
    if (map.parameters.empty())
        return out.usage(QStringLiteral("backup needs a map: --map FILE or DRVCTL_MAP"), request.command);
    if (request.output.isEmpty())
        return out.usage(QStringLiteral("backup needs -o SET.json"), request.command);
    const bool progress = isatty(STDERR_FILENO) != 0 && !out.json();
    QElapsedTimer clock;
    clock.start();
    ParameterSet set;
    QString error;
    int reads = 0;
    const bool ok = backupParameters(*parameterLine(), map, port->getStationId(), &set, &error, [&](int done, int total) {
        reads = done;
        if (progress)
            showProgress(done, total);
    });
    if (progress)
        std::fputs("\r\033[K", stderr);
    if (!ok)
        return parameterFailure(QStringLiteral("backup of station %1 failed after %2 read(s): ").arg(port->getStationId()).arg(reads),
                                error, request.command, Direction::Read);
    if (!saveParameterSet(request.output, set, &error))
        return out.failure(error, ExitSetup);
    const double seconds = static_cast<double>(clock.elapsed()) / 1000.0;
    out.result(QJsonObject{{QStringLiteral("ok"), true},
                           {QStringLiteral("file"), request.output},
                           {QStringLiteral("station"), set.station},
                           {QStringLiteral("parameters"), set.entries.size()},
                           {QStringLiteral("reads"), reads},
                           {QStringLiteral("seconds"), seconds}},
               QStringLiteral("%1 parameter(s) of station %2 saved to %3 (%4 read(s), %5 s)")
                   .arg(set.entries.size())
                   .arg(set.station)
                   .arg(request.output)
                   .arg(reads)
                   .arg(seconds, 0, 'f', 2));
    return ExitSuccess;
}
