#include "parameters/csv_log.h"
#include "parameters/csv_fields.h"

#include <QLocale>
#include <QRegularExpression>
#include <cmath>
#include <limits>

namespace {

const char* const TimeColumn = "time";
const char* const ErrorColumn = "error";

// "speed (rpm)" to speed and rpm.
void splitHeader(const QString& header, QString* label, QString* unit)
{
    static const QRegularExpression withUnit(QStringLiteral("^(.*\\S)\\s+\\(([^()]*)\\)$"));
    const QRegularExpressionMatch match = withUnit.match(header.trimmed());
    *label = match.hasMatch() ? match.captured(1) : header.trimmed();
    *unit = match.hasMatch() ? match.captured(2) : QString();
}

} // namespace

QString logColumnHeader(const QString& label, const QString& unit)
{
    return unit.isEmpty() ? label : QStringLiteral("%1 (%2)").arg(label, unit);
}

bool CsvLogWriter::open(const QString& path, const QStringList& labels, const QStringList& units, QString* error)
{
    file.setFileName(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text)) {
        *error = QStringLiteral("%1: %2").arg(path, file.errorString());
        return false;
    }
    QStringList header{QLatin1String(TimeColumn)};
    for (int i = 0; i < labels.size(); ++i)
        header << logColumnHeader(labels[i], units.value(i));
    header << QLatin1String(ErrorColumn);
    return writeRow(QDateTime(), header, QString(), error);
}

bool CsvLogWriter::writeRow(const QDateTime& time, const QStringList& cells, const QString& errors, QString* error)
{
    QStringList fields = cells;
    if (time.isValid()) {
        fields.prepend(time.toString(Qt::ISODateWithMs));
        fields << errors;
    }
    const QByteArray line = (csvLine(fields) + QLatin1Char('\n')).toUtf8();
    if (file.write(line) != line.size() || !file.flush()) {
        *error = QStringLiteral("%1: %2").arg(file.fileName(), file.errorString());
        return false;
    }
    return true;
}

bool readCsvLog(const QString& path, TrendLog* log, QString* error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        *error = QStringLiteral("%1: %2").arg(path, file.errorString());
        return false;
    }
    TrendLog result;
    int lineNumber = 0;
    int columns = 0;
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine()).remove(QLatin1Char('\n')).remove(QLatin1Char('\r'));
        ++lineNumber;
        if (line.isEmpty())
            continue;
        QVector<CsvField> fields;
        int badColumn = 0;
        if (!splitCsvLine(line, &fields, &badColumn)) {
            // A last row cut off by Ctrl-C in the middle of a quote: the rows before it count.
            if (file.atEnd() && lineNumber > 1)
                break;
            *error = QStringLiteral("%1:%2:%3: a quote that does not end").arg(path).arg(lineNumber).arg(badColumn);
            return false;
        }
        if (lineNumber == 1) {
            if (fields.size() < 3 || fields.first().text != QLatin1String(TimeColumn) || fields.last().text != QLatin1String(ErrorColumn)) {
                *error = QStringLiteral("%1:1:1: not a poll log (the header is time,COLUMN...,error)").arg(path);
                return false;
            }
            columns = fields.size() - 2;
            for (int c = 1; c <= columns; ++c) {
                QString label, unit;
                splitHeader(fields[c].text, &label, &unit);
                result.labels << label;
                result.units << unit;
            }
            result.values.resize(columns);
            continue;
        }
        const QDateTime time = QDateTime::fromString(fields.first().text, Qt::ISODateWithMs);
        if (!time.isValid() || fields.size() != columns + 2) {
            *error = QStringLiteral("%1:%2:1: not a row of this log (a time, %3 value(s) and an error)").arg(path).arg(lineNumber).arg(columns);
            return false;
        }
        result.times << time;
        for (int c = 0; c < columns; ++c) {
            bool ok = false;
            const double v = QLocale::c().toDouble(fields[c + 1].text.trimmed(), &ok);
            result.values[c] << (ok ? v : std::numeric_limits<double>::quiet_NaN());
        }
        result.errors << fields.last().text;
    }
    if (columns == 0) {
        *error = QStringLiteral("%1: empty, not a poll log").arg(path);
        return false;
    }
    *log = result;
    return true;
}
