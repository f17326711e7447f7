#include "monitor/transaction_format.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

namespace {

double seconds(long long ns)
{
    return static_cast<double>(ns) / 1e9;
}

bool hasReply(const MonitoredTransaction& t)
{
    return !t.request.bytes.isEmpty() && !t.reply.bytes.isEmpty();
}

double responseMs(const MonitoredTransaction& t)
{
    return static_cast<double>(t.reply.startNs - t.request.endNs) / 1e6;
}

QString exceptionText(int code)
{
    const QString name = exceptionName(code);
    return QString::asprintf("exception 0x%02X", code) + (name.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(name));
}

} // namespace

QString hexBytes(const QByteArray& bytes)
{
    return QString::fromLatin1(bytes.toHex(' ').toUpper());
}

QString exceptionName(int code)
{
    switch (code) {
    case 1: return QStringLiteral("illegal function");
    case 2: return QStringLiteral("illegal data address");
    case 3: return QStringLiteral("illegal data value");
    case 4: return QStringLiteral("server device failure");
    case 5: return QStringLiteral("acknowledge");
    case 6: return QStringLiteral("server device busy");
    case 8: return QStringLiteral("memory parity error");
    case 10: return QStringLiteral("gateway path unavailable");
    case 11: return QStringLiteral("gateway target device failed to respond");
    default: return QString();
    }
}

QString problemText(const MonitoredTransaction& t)
{
    switch (t.problem) {
    case LineProblem::None: return QString();
    case LineProblem::BadCrc: return QStringLiteral("bad CRC");
    case LineProblem::NoReply: return QStringLiteral("no reply");
    case LineProblem::WrongStation: return QStringLiteral("reply from station %1").arg(t.problemValue);
    case LineProblem::WrongFunction: return QStringLiteral("reply with function %1").arg(t.problemValue);
    case LineProblem::TruncatedFrame:
        return t.expectedLength > 0 ? QStringLiteral("truncated frame (%1 of %2 bytes)").arg(t.problemValue).arg(t.expectedLength)
                                    : QStringLiteral("truncated frame (%1 bytes)").arg(t.problemValue);
    case LineProblem::WrongLength:
        return QStringLiteral("reply of %1 bytes where %2 were expected").arg(t.problemValue).arg(t.expectedLength);
    case LineProblem::ExtraBytes:
        return QStringLiteral("%1 extra byte%2 after the %3")
            .arg(t.problemValue)
            .arg(t.problemValue == 1 ? "" : "s")
            .arg(t.reply.bytes.isEmpty() ? "request" : "reply");
    case LineProblem::NoRequest: return QStringLiteral("frame without a request");
    }
    return QString();
}

QString formatTransaction(const MonitoredTransaction& t)
{
    QString line = QString::asprintf("[%11.6f] ", seconds(t.timeNs));
    line += t.station == 0 ? QStringLiteral("broadcast") : QStringLiteral("station %1").arg(t.station);
    line += QStringLiteral(" fn %1").arg(t.function);
    if (!t.address.isEmpty())
        line += QStringLiteral(" %1 %2 x%3").arg(t.isWrite ? "write" : "read", t.address).arg(t.count);
    QStringList values;
    for (int value : t.values)
        values << QString::number(value);
    if (!values.isEmpty())
        line += QStringLiteral(" = ") + values.join(QLatin1Char(' '));
    const QString separator = values.isEmpty() ? QStringLiteral(": ") : QStringLiteral(", ");
    if (t.problem != LineProblem::None)
        line += separator + problemText(t);
    else if (t.exceptionCode != 0)
        line += separator + exceptionText(t.exceptionCode);
    if (hasReply(t))
        line += QString::asprintf(" (%.1f ms)", responseMs(t));
    return line;
}

QString formatTransactionJson(const MonitoredTransaction& t)
{
    QJsonArray values;
    for (int value : t.values)
        values.append(value);
    QJsonObject object{
        {QStringLiteral("time"), seconds(t.timeNs)},
        {QStringLiteral("station"), t.station},
        {QStringLiteral("function"), t.function},
        {QStringLiteral("operation"), t.address.isEmpty() ? QJsonValue() : QJsonValue(t.isWrite ? "write" : "read")},
        {QStringLiteral("address"), t.address.isEmpty() ? QJsonValue() : QJsonValue(t.address)},
        {QStringLiteral("count"), t.count},
        {QStringLiteral("values"), values},
        {QStringLiteral("exception"), t.exceptionCode != 0 ? QJsonValue(t.exceptionCode) : QJsonValue()},
        {QStringLiteral("problem"), t.problem != LineProblem::None ? QJsonValue(problemText(t)) : QJsonValue()},
        {QStringLiteral("responseMs"), hasReply(t) ? QJsonValue(responseMs(t)) : QJsonValue()},
        {QStringLiteral("request"), hexBytes(t.request.bytes)},
        {QStringLiteral("reply"), hexBytes(t.reply.bytes)},
    };
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}
