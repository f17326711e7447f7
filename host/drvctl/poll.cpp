// drvctl poll: the same reads round after round, like ping, with a summary at the end.
#include "addresses/transfer_plan.h"
#include "drvctl/exit_codes.h"
#include "drvctl/line_outages.h"
#include "drvctl/round_trip_stats.h"
#include "drvctl/session.h"
#include "drvctl/stop_signals.h"
#include "drvctl/value_codec.h"
#include "interface/driver_interface.h"
#include "parameters/csv_log.h"
#include "parameters/parameter_transfer.h"
#include "parameters/trend_chart.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QJsonArray>
#include <QStringList>
#include <cmath>
#include <vector>

namespace {

QString milliseconds(double ms)
{
    return QString::number(ms, 'f', 3);
}

// One address or parameter of the poll and what its read gave this round.
struct PollColumn {
    QString label;
    const Parameter* parameter = nullptr; // a name of the map, else an address
    QString text;                         // for the line and the log
    double number = NAN;                  // for the chart
    QJsonValue json;
};

} // namespace

int Session::poll(const Invocation& request)
{
    const QStringList& addresses = request.arguments;
    std::vector<PollColumn> columns;
    QStringList units;
    for (const QString& address : addresses) {
        int status = ExitSuccess;
        PollColumn column;
        column.label = address;
        column.parameter = parameterOrAddress(address, &status);
        if (status != ExitSuccess)
            return status;
        units << (column.parameter ? column.parameter->unit : QString());
        columns.push_back(column);
    }
    const bool logging = !request.csvFile.isEmpty() || !request.plotFile.isEmpty();
    if (logging && request.count != 1)
        return out.usage(QStringLiteral("--csv and --plot take one value per address (no --elements)"), request.command);
    CsvLogWriter log;
    QString logError;
    if (!request.csvFile.isEmpty() && !log.open(request.csvFile, addresses, units, &logError))
        return out.failure(logError, ExitSetup);
    TrendLog trend;
    trend.labels = addresses;
    trend.units = units;
    trend.values.resize(addresses.size());
    const std::unique_ptr<ParameterLine> parameters = parameterLine();

    std::vector<int> failures(static_cast<size_t>(addresses.size()), 0);
    RoundTripStats roundTrips;
    LineOutages outages;
    int rounds = 0;
    bool stopped = false;
    int status = ExitSuccess;
    while (!stopped) {
        QElapsedTimer roundClock;
        roundClock.start();
        const QDateTime now = QDateTime::currentDateTime();
        QStringList text{now.toString(QStringLiteral("hh:mm:ss.zzz"))};
        QJsonObject values;
        QStringList errors;
        std::vector<int> failed(columns.size(), 0);
        Transfer outcome = Transfer::Done;
        for (size_t i = 0; i < columns.size(); ++i) {
            PollColumn& column = columns[i];
            takeLineTime();
            QString error;
            bool ok = false;
            if (column.parameter) {
                RawValues raw;
                ok = readParameter(*parameters, *column.parameter, &raw, &error);
                outcome = ok ? Transfer::Done : driverFailure(&error);
                if (ok) {
                    decodeParameter(*column.parameter, raw, &column.number);
                    column.text = formatParameterValue(*column.parameter, column.number);
                    QJsonArray rawJson;
                    for (quint16 r : raw)
                        rawJson.append(r);
                    column.json = QJsonObject{{QStringLiteral("value"), column.number},
                                              {QStringLiteral("unit"), column.parameter->unit},
                                              {QStringLiteral("raw"), rawJson}};
                }
            } else {
                TransferPlan plan;
                QList<qint64> decoded;
                outcome = readValues(request, column.label, &plan, &decoded, &error);
                if (outcome == Transfer::Refused)
                    return out.usage(error, request.command);
                ok = outcome == Transfer::Done;
                if (ok) {
                    column.text = valuesText(plan.dataType, decoded, request.hex);
                    column.number = decoded.isEmpty() ? NAN : static_cast<double>(decoded.first());
                    column.json = valuesJson(decoded);
                }
            }
            if (outcome == Transfer::LineLost || outcome == Transfer::Interrupted)
                break; // not the servo's failure: this round does not count
            if (ok) {
                roundTrips.add(static_cast<double>(takeLineTime()) / 1e6);
                text << QStringLiteral("%1=%2").arg(column.label, withUnit(column.text, units[static_cast<int>(i)]));
                values.insert(column.label, column.json);
            } else {
                failed[i] = 1;
                column.text.clear();
                column.number = NAN;
                text << QStringLiteral("%1=(%2)").arg(column.label, error);
                values.insert(column.label, QJsonObject{{QStringLiteral("error"), error}});
                errors << QStringLiteral("%1: %2").arg(column.label, error);
            }
        }
        if (outcome == Transfer::Interrupted)
            break;
        if (outcome == Transfer::LineLost) {
            stopped = !outages.waitForLine(*linePort, out);
            continue;
        }
        ++rounds;
        for (size_t i = 0; i < failures.size(); ++i)
            failures[i] += failed[i];
        out.result(QJsonObject{{QStringLiteral("round"), rounds},
                               {QStringLiteral("time"), now.toString(Qt::ISODateWithMs)},
                               {QStringLiteral("values"), values}},
                   text.join(QStringLiteral("  ")));
        if (logging) {
            QStringList cells;
            trend.times << now;
            trend.errors << errors.join(QStringLiteral("; "));
            for (size_t i = 0; i < columns.size(); ++i) {
                cells << columns[i].text;
                trend.values[static_cast<int>(i)] << columns[i].number;
            }
            if (!request.csvFile.isEmpty() && !log.writeRow(now, cells, trend.errors.last(), &logError))
                return out.failure(logError, ExitSetup);
        }
        if ((status = outputStatus()) != ExitSuccess)
            return status;
        if (request.rounds > 0 && rounds >= request.rounds)
            break;
        stopped = waitForStopSignal(static_cast<int>(std::max<qint64>(0, request.intervalMs - roundClock.elapsed())));
    }
    stopped = stopped || waitForStopSignal(0);

    int failed = 0;
    QJsonObject failuresJson;
    QStringList summary{QStringLiteral("--- %1 round(s) of %2 ---").arg(rounds).arg(addresses.join(QLatin1Char(' ')))};
    for (int i = 0; i < addresses.size(); ++i) {
        const int f = failures[static_cast<size_t>(i)];
        failed += f;
        failuresJson.insert(addresses[i], f);
        summary << QStringLiteral("%1: %2 read(s), %3 failed").arg(addresses[i]).arg(rounds).arg(f);
    }
    QJsonObject object{{QStringLiteral("summary"), true},
                       {QStringLiteral("rounds"), rounds},
                       {QStringLiteral("interrupted"), stopped},
                       {QStringLiteral("failures"), failuresJson}};
    if (outages.any()) {
        outages.addTo(&object);
        summary << outages.summaryText();
    }
    if (!roundTrips.empty()) {
        object.insert(QStringLiteral("roundTripMs"),
                      QJsonObject{{QStringLiteral("min"), roundTrips.min()},
                                  {QStringLiteral("avg"), roundTrips.average()},
                                  {QStringLiteral("max"), roundTrips.max()},
                                  {QStringLiteral("p99"), roundTrips.percentile(99)}});
        summary << QStringLiteral("round trip min/avg/max/p99 = %1/%2/%3/%4 ms")
                       .arg(milliseconds(roundTrips.min()), milliseconds(roundTrips.average()),
                            milliseconds(roundTrips.max()), milliseconds(roundTrips.percentile(99)));
    }
    if (!request.plotFile.isEmpty()) {
        QString error;
        if (!renderTrendChart(trend, QStringLiteral("poll %1").arg(addresses.join(QLatin1Char(' '))), request.plotFile, &error))
            return out.failure(error, ExitSetup);
        object.insert(QStringLiteral("chart"), request.plotFile);
        summary << QStringLiteral("chart: %1").arg(request.plotFile);
    }
    out.result(object, summary.join(QLatin1Char('\n')));
    // Like ping: a failure only when no read at all succeeded.
    return failed == rounds * addresses.size() ? ExitDriverFailure : ExitSuccess;
}
