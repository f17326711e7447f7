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
    QJsonArray ids;
    QStringList names;
    for (int id : simulatedLine->stationIds()) {
        ids.append(id);
        names << QString::number(id);
    }
    const QString path = QString::fromStdString(simulatedLine->devicePath());
    out.result(QJsonObject{{QStringLiteral("device"), path}, {QStringLiteral("stations"), ids}}, path);
    out.note(QStringLiteral("simulated servos %1 answer on %2 at %3; Ctrl-C stops")
                 .arg(names.join(QStringLiteral(", ")), path,
                      request.line.isEmpty() ? QStringLiteral("any line settings") : line.toString()));
    waitForStopSignal(-1);
    return ExitSuccess;
}
