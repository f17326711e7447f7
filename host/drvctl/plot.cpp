// drvctl plot: a poll log drawn as a trend chart.
#include "drvctl/exit_codes.h"
#include "drvctl/session.h"
#include "parameters/csv_log.h"
#include "parameters/trend_chart.h"

#include <QFileInfo>

int Session::plot(const Invocation& request)
{
    if (request.output.isEmpty())
        return out.usage(QStringLiteral("plot needs -o CHART.png (or .svg)"), request.command);
    TrendLog log;
    QString error;
    if (!readCsvLog(request.arguments.constFirst(), &log, &error))
        return out.usage(error, request.command);
    if (!renderTrendChart(log, QFileInfo(request.arguments.constFirst()).fileName(), request.output, &error))
        return out.failure(error, ExitSetup);
    out.result(QJsonObject{{QStringLiteral("ok"), true}, {QStringLiteral("chart"), request.output}, {QStringLiteral("rounds"), log.times.size()}},
               QStringLiteral("%1 round(s) of %2 drawn to %3").arg(log.times.size()).arg(log.labels.join(QLatin1Char(' ')), request.output));
    return ExitSuccess;
}
