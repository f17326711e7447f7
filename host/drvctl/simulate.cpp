// drvctl simulate: the simulated line alone, for other programs to talk to.
#include "drvctl/exit_codes.h"
#include "drvctl/session.h"
#include "drvctl/stop_signals.h"
#include "simulator/servo_line.h"

#include <QJsonArray>
#include <QStringList>

int Session::simulate(const Invocation& request)
{
    LineSettings line;
    int status = lineSettings(&line);
    if (status == ExitSuccess)
        status = startSimulatedLine(request.line.isEmpty() ? nullptr : &line);
    if (status != ExitSuccess)
        return status;
    std::string error;
    const QString tap = QString::fromStdString(simulatedLine->openTap(&error));
    if (tap.isEmpty())
        return out.failure(QStringLiteral("cannot open the simulated line's tap: %1").arg(QString::fromStdString(error)), ExitSetup);
    QJsonArray ids;
    QStringList names;
    for (int id : simulatedLine->stationIds()) {
        ids.append(id);
        names << QString::number(id);
    }
    const QString path = QString::fromStdString(simulatedLine->devicePath());
    QJsonObject served{{QStringLiteral("device"), path}, {QStringLiteral("tap"), tap}, {QStringLiteral("stations"), ids}};
    QStringList text{path, QStringLiteral("tap: %1").arg(tap)};
    if (request.listenPort >= 0) {
        // A device server's line is set on the server: --line, or the driver's line.
        const QString address = QString::fromStdString(
            simulatedLine->listen(request.listenHost.toStdString(), request.listenPort, line, &error));
        if (address.isEmpty())
            return out.failure(QStringLiteral("cannot serve the simulated line over TCP: %1").arg(QString::fromStdString(error)), ExitSetup);
        served.insert(QStringLiteral("listen"), address);
        text << QStringLiteral("listen: %1").arg(address);
    }
    out.result(served, text.join(QLatin1Char('\n')));
    out.note(QStringLiteral("simulated servos %1 answer on %2 at %3%4; the tap %5 only listens (drvctl monitor "
                            "--device %5: a monitor on %2 itself would take the bytes meant for the master); "
                            "Ctrl-C stops")
                 .arg(names.join(QStringLiteral(", ")), path,
                      request.line.isEmpty() ? QStringLiteral("any line settings") : line.toString(),
                      request.instant ? QStringLiteral(", at once") : QStringLiteral(", at the line's pace"), tap));
    waitForStopSignal(-1);
    return ExitSuccess;
}
