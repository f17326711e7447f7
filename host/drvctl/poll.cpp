// drvctl poll: the same reads round after round, like ping, with a summary at the end.
#include "drvctl/exit_codes.h"
#include "drvctl/round_trip_stats.h"
#include "drvctl/session.h"
#include "drvctl/stop_signals.h"
#include "drvctl/transfer_plan.h"
#include "drvctl/value_codec.h"
#include "interface/driver_interface.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QStringList>
#include <vector>

namespace {

QString milliseconds(double ms)
{
    return QString::number(ms, 'f', 3);
}

} // namespace

int Session::poll(const Invocation& request)
{
    const QStringList& addresses = request.arguments;
    std::vector<int> failures(static_cast<size_t>(addresses.size()), 0);
    RoundTripStats roundTrips;
    int rounds = 0;
    bool stopped = false;
    while (!stopped) {
        QElapsedTimer roundClock;
        roundClock.start();
        const QDateTime now = QDateTime::currentDateTime();
        QStringList text{now.toString(QStringLiteral("hh:mm:ss.zzz"))};
        QJsonObject values;
        for (int i = 0; i < addresses.size(); ++i) {
            const QString& address = addresses[i];
            QElapsedTimer clock;
            clock.start();
            TransferPlan plan;
            QList<qint64> decoded;
            QString error;
            const Transfer outcome = readValues(request, address, &plan, &decoded, &error);
            if (outcome == Transfer::Refused)
                return out.usage(error, request.command);
            if (outcome == Transfer::Done) {
                roundTrips.add(static_cast<double>(clock.nsecsElapsed()) / 1e6);
                text << QStringLiteral("%1=%2").arg(address, valuesText(plan.dataType, decoded, request.hex));
                values.insert(address, valuesJson(decoded));
            } else {
                ++failures[static_cast<size_t>(i)];
                text << QStringLiteral("%1=(%2)").arg(address, error);
                values.insert(address, QJsonObject{{QStringLiteral("error"), error}});
            }
        }
        ++rounds;
        out.result(QJsonObject{{QStringLiteral("round"), rounds},
                               {QStringLiteral("time"), now.toString(Qt::ISODateWithMs)},
                               {QStringLiteral("values"), values}},
                   text.join(QStringLiteral("  ")));
        if (request.rounds > 0 && rounds >= request.rounds)
            break;
        stopped = waitForStopSignal(static_cast<int>(std::max<qint64>(0, request.intervalMs - roundClock.elapsed())));
    }

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
    out.result(object, summary.join(QLatin1Char('\n')));
    // Like ping: a failure only when no read at all succeeded.
    return failed == rounds * addresses.size() ? ExitDriverFailure : ExitSuccess;
}
