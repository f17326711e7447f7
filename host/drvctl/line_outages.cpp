#include "drvctl/line_outages.h"
#include "drvctl/output.h"
#include "drvctl/stop_signals.h"
#include "port/line_port.h"
#include "port/monotonic_clock.h"

namespace {

constexpr int ReopenEveryMs = 1000;

QString seconds(long long ns)
{
    return QString::number(static_cast<double>(ns) / 1e9, 'f', 1);
}

} // namespace

bool LineOutages::waitForLine(LinePort& port, const Output& out)
{
    ++outages;
    const long long since = monotonicNs();
    const QString path = port.name();
    if (out.json())
        out.object(QJsonObject{{QStringLiteral("lineLost"), path}, {QStringLiteral("error"), port.lostReason()}});
    else
        out.note(QStringLiteral("drvctl: line lost: %1: %2; opening it again every second, Ctrl-C stops")
                     .arg(path, port.lostReason()));
    bool back = false;
    while (!back && !waitForStopSignal(ReopenEveryMs))
        back = port.open();
    const long long lostNs = monotonicNs() - since;
    withoutNs += lostNs;
    if (!back)
        return false;
    if (out.json())
        out.object(QJsonObject{{QStringLiteral("lineBack"), path},
                               {QStringLiteral("withoutLineS"), static_cast<double>(lostNs) / 1e9}});
    else
        out.note(QStringLiteral("drvctl: line back: %1 after %2 s").arg(path, seconds(lostNs)));
    return true;
}

QString LineOutages::summaryText() const
{
    if (outages == 0)
        return QString();
    return QStringLiteral("line lost %1 time(s), %2 s without a line").arg(outages).arg(seconds(withoutNs));
}

void LineOutages::addTo(QJsonObject* summary) const
{
    summary->insert(QStringLiteral("lineLost"), outages);
    summary->insert(QStringLiteral("withoutLineS"), static_cast<double>(withoutNs) / 1e9);
}
