// drvctl diff: two saved sets, or a set and a station read now, by name.
#include "drvctl/exit_codes.h"
#include "drvctl/session.h"
#include "parameters/parameter_transfer.h"
#include "parameters/set_diff.h"

#include <QFileInfo>

int Session::diff(const Invocation& request)
{
    ParameterSet left, right;
    QString error;
    const QString leftPath = request.arguments.constFirst();
    if (!loadParameterSet(leftPath, &left, &error))
        return out.usage(error, request.command);
    QString rightLabel;
    if (request.arguments.size() == 2) {
        if (request.station >= 0)
            return out.usage(QStringLiteral("diff compares two sets or a set with --station, not both"), request.command);
        if (!loadParameterSet(request.arguments[1], &right, &error))
            return out.usage(error, request.command);
        rightLabel = QFileInfo(request.arguments[1]).fileName();
    } else {
        int status = loadMapOf(left, QStringLiteral("diff with a station"), request);
        if (status == ExitSuccess)
            status = setUpLine();
        if (status != ExitSuccess)
            return status;
        if (!backupParameters(*parameterLine(), map, port->getStationId(), &right, &error))
            return parameterFailure(QString(), error, request.command, Direction::Read);
        rightLabel = QStringLiteral("station %1").arg(right.station);
    }
    const QString leftLabel = QFileInfo(leftPath).fileName();
    const SetComparison comparison = compareSets(left, right, request.all);
    out.result(comparisonJson(comparison, leftLabel, rightLabel), comparisonText(comparison, leftLabel, rightLabel));
    return comparison.differences.empty() ? ExitSuccess : ExitDriverFailure;
}
