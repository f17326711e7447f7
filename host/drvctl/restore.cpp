// drvctl restore: a saved set written back in map order, then read back and compared.
#include "drvctl/exit_codes.h"
#include "drvctl/session.h"
#include "parameters/parameter_transfer.h"
#include "parameters/set_diff.h"

#include <QJsonArray>

int Session::restore(const Invocation& request)
{
    ParameterSet set;
    QString error;
    if (!loadParameterSet(request.arguments.constFirst(), &set, &error))
        return out.usage(error, request.command);
    const int status = loadMapOf(set, QStringLiteral("restore"), request);
    if (status != ExitSuccess)
        return status;
    std::vector<RestoreStep> steps;
    QStringList notes;
    if (!planRestore(map, set, request.force, &steps, &notes, &error))
        return out.usage(error, request.command);
    for (const QString& note : notes)
        out.note(QStringLiteral("drvctl: ") + note);
    const int station = port->getStationId();

    if (request.dryRun) {
        QStringList lines;
        QJsonArray writes;
        for (const RestoreStep& step : steps) {
            lines << QStringLiteral("would write ") + restoreStepText(step);
            writes.append(QJsonObject{{QStringLiteral("name"), step.parameter->name}, {QStringLiteral("value"), step.expected.value}});
        }
        lines << QStringLiteral("%1 parameter(s) to station %2; nothing written (--dry-run)").arg(steps.size()).arg(station);
        out.result(QJsonObject{{QStringLiteral("ok"), true}, {QStringLiteral("dryRun"), true}, {QStringLiteral("writes"), writes}},
                   lines.join(QLatin1Char('\n')));
        return ExitSuccess;
    }

    const std::unique_ptr<ParameterLine> line = parameterLine();
    int written = 0;
    if (!writeRestoreSteps(*line, steps, &written, &error))
        return parameterFailure(QStringLiteral("restore to station %1 stopped after %2 of %3 write(s): ").arg(station).arg(written).arg(steps.size()),
                                error, request.command, Direction::Write);

    // Read back what was written and compare it with what the set asked for.
    std::vector<const Parameter*> parameters;
    ParameterSet expected;
    for (const RestoreStep& step : steps) {
        parameters.push_back(step.parameter);
        expected.entries << step.expected;
    }
    ParameterSet found;
    if (!readParameterSet(*line, parameters, &found.entries, &error))
        return parameterFailure(QStringLiteral("%1 parameter(s) written to station %2, but the read-back failed: ").arg(written).arg(station),
                                error, request.command, Direction::Read);
    const QString stationLabel = QStringLiteral("station %1").arg(station);
    const SetComparison comparison = compareSets(expected, found, true);
    QJsonObject object = comparisonJson(comparison, QStringLiteral("set"), stationLabel);
    object.insert(QStringLiteral("written"), written);
    out.result(object, QStringLiteral("%1 parameter(s) written to station %2 in map order; read back: %3")
                           .arg(written)
                           .arg(station)
                           .arg(comparisonText(comparison, QStringLiteral("set"), stationLabel)));
    return comparison.differences.empty() ? ExitSuccess : ExitDriverFailure;
}
