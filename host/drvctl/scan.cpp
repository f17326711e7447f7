// drvctl scan: which stations answer, and with --lines at which line settings.
#include "drvctl/exit_codes.h"
#include "drvctl/session.h"
#include "drvctl/stop_signals.h"
#include "drvctl/transfer_plan.h"
#include "drvctl/value_codec.h"
#include "interface/driver_interface.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QStringList>
#include <cstdio>
#include <unistd.h>
#include <vector>

namespace {

constexpr int ProbeTimeoutMs = 100; // a servo answers a one-register read within a few ms

struct Answer {
    int station;
    QString line;
    double roundTripMs;
    QString exception; // "0x02", or empty for a normal reply
    QList<qint64> values;
};

// Every common setting of a servo line, line type and data bits as given.
std::vector<LineSettings> lineCandidates(const LineSettings& base, bool all)
{
    if (!all)
        return {base};
    std::vector<LineSettings> candidates;
    for (int baud : {9600, 19200, 38400, 57600, 115200})
        for (char parity : {'N', 'E', 'O'})
            for (int stopBits : {1, 2}) {
                LineSettings s = base;
                s.baud = baud;
                s.parity = parity;
                s.stopBits = stopBits;
                candidates.push_back(s);
            }
    return candidates;
}

// "exception code:0x02 (read ...)": the station is there, it only refused the probe.
QString exceptionIn(const QString& error)
{
    const QLatin1String marker("exception code:");
    return error.startsWith(marker) ? error.mid(marker.size()).section(QLatin1Char(' '), 0, 0) : QString();
}

// One line on a terminal, rewritten in place: position, found so far, time left.
void showProgress(int done, int total, int found, qint64 elapsedMs)
{
    constexpr int Width = 30;
    const int filled = total > 0 ? Width * done / total : Width;
    const qint64 leftMs = done > 0 ? elapsedMs * (total - done) / done : 0;
    std::fprintf(stderr, "\r[%s%s] %d/%d  found %d  %llds left\033[K", QByteArray(filled, '#').constData(),
                 QByteArray(Width - filled, '-').constData(), done, total, found,
                 static_cast<long long>((leftMs + 999) / 1000));
    std::fflush(stderr);
}

// What answered, a line each under a header.
QString answersTable(const std::vector<Answer>& found, const QString& probe, int dataType)
{
    const auto row = [](const QString& station, const QString& line, const QString& roundTrip, const QString& answer) {
        return QStringLiteral("%1  %2  %3  %4").arg(station, 7).arg(line, -20).arg(roundTrip, 10).arg(answer);
    };
    QStringList table{row(QStringLiteral("station"), QStringLiteral("line"), QStringLiteral("round trip"), QStringLiteral("answer"))};
    for (const Answer& a : found)
        table << row(QString::number(a.station), a.line, QStringLiteral("%1 ms").arg(a.roundTripMs, 0, 'f', 1),
                     a.exception.isEmpty() ? QStringLiteral("%1 = %2").arg(probe, valuesText(dataType, a.values, false))
                                           : QStringLiteral("exception %1").arg(a.exception));
    return table.join(QLatin1Char('\n'));
}

QJsonArray answersJson(const std::vector<Answer>& found)
{
    QJsonArray answers;
    for (const Answer& a : found) {
        QJsonObject entry{{QStringLiteral("station"), a.station},
                          {QStringLiteral("line"), a.line},
                          {QStringLiteral("roundTripMs"), a.roundTripMs}};
        if (a.exception.isEmpty())
            entry.insert(QStringLiteral("values"), valuesJson(a.values));
        else
            entry.insert(QStringLiteral("exception"), a.exception);
        answers.append(entry);
    }
    return answers;
}

} // namespace

int Session::scan(const Invocation& request)
{
    // --ids names the stations to probe; a --station beside it would be silently ignored.
    if (request.station >= 0)
        return out.usage(QStringLiteral("scan probes the stations of --ids, not --station"), request.command);
    LineSettings base;
    int status = lineSettings(&base);
    if (status != ExitSuccess)
        return status;
    if (request.device.isEmpty()) {
        status = startSimulatedLine(&base);
        if (status != ExitSuccess)
            return status;
    }
    const std::vector<LineSettings> lines = lineCandidates(base, request.scanLines);
    QList<int> ids = request.scanIds;
    if (ids.isEmpty())
        for (int id = 1; id <= 247; ++id)
            ids << id;
    Invocation probe = request;
    probe.count = 1;
    if (probe.retry < 0)
        probe.retry = 0;
    if (probe.timeout < 0)
        probe.timeout = ProbeTimeoutMs;
    TransferPlan plan;
    QString error;
    if (!planTransfer(request.probe, -1, 1, Direction::Read, &plan, &error))
        return out.usage(error, request.command);
    const int dataType = plan.dataType;

    const bool progress = isatty(STDERR_FILENO) != 0;
    const int total = static_cast<int>(lines.size()) * ids.size();
    QElapsedTimer clock;
    clock.start();
    std::vector<Answer> found;
    int done = 0;
    bool stopped = false;
    for (const LineSettings& line : lines) {
        if (stopped)
            break;
        status = openPort(line);
        if (status != ExitSuccess)
            return status;
        for (int id : ids) {
            if ((stopped = waitForStopSignal(0)))
                break;
            if (progress)
                showProgress(done, total, static_cast<int>(found.size()), clock.elapsed());
            probe.station = id;
            useTransactionSettings(probe);
            QElapsedTimer roundTrip;
            roundTrip.start();
            QList<qint64> values;
            const Transfer outcome = readValues(probe, request.probe, &plan, &values, &error);
            const double ms = static_cast<double>(roundTrip.nsecsElapsed()) / 1e6;
            if (outcome == Transfer::Refused)
                return out.usage(error, request.command);
            const QString exception = outcome == Transfer::Done ? QString() : exceptionIn(error);
            if (outcome == Transfer::Done || !exception.isEmpty())
                found.push_back({id, line.toString(), ms, exception, values});
            ++done;
        }
    }
    if (progress)
        std::fputs("\r\033[K", stderr);

    const QString tally = QStringLiteral("%1 answered, %2 of %3 probe(s) in %4 s%5")
                              .arg(found.size())
                              .arg(done)
                              .arg(total)
                              .arg(static_cast<double>(clock.elapsed()) / 1000.0, 0, 'f', 1)
                              .arg(stopped ? QStringLiteral(", stopped") : QString());
    QJsonObject summary{{QStringLiteral("ok"), !found.empty()},
                        {QStringLiteral("probed"), done},
                        {QStringLiteral("interrupted"), stopped},
                        {QStringLiteral("found"), answersJson(found)}};
    if (found.empty()) {
        const QString message = QStringLiteral("nothing answered (%1)").arg(tally);
        if (!out.json())
            return out.failure(message, ExitDriverFailure);
        summary.insert(QStringLiteral("error"), message);
        summary.insert(QStringLiteral("exit"), ExitDriverFailure);
        out.result(summary, QString());
        return ExitDriverFailure;
    }
    out.result(summary, answersTable(found, request.probe, dataType) + QLatin1Char('\n') + tally);
    return ExitSuccess;
}

