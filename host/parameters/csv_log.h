#ifndef PARAMETERS_CSV_LOG_H
#define PARAMETERS_CSV_LOG_H

#include <QDateTime>
#include <QFile>
#include <QString>
#include <QStringList>
#include <QVector>

// A poll's log: a header `time,NAME (UNIT),...,error`, then a row per round with
// its local time (ISO 8601, milliseconds), a cell per column (empty where the
// read failed) and the round's errors in the last cell.
class CsvLogWriter {
public:
    // Creates (or empties) the file and writes the header; `labels` are the
    // columns' names, `units` their units ("" for none).
    bool open(const QString& path, const QStringList& labels, const QStringList& units, QString* error);
    // One round, flushed to the file at once so that it survives Ctrl-C.
    bool writeRow(const QDateTime& time, const QStringList& cells, const QString& errors, QString* error);

private:
    QFile file;
};

// "speed (rpm)", or the label alone without a unit.
QString logColumnHeader(const QString& label, const QString& unit);

// A log read back for a chart.
struct TrendLog {
    QStringList labels;
    QStringList units;
    QVector<QDateTime> times;
    QVector<QVector<double>> values; // per column, a value per row; NaN where it failed
    QStringList errors;              // per row
};

bool readCsvLog(const QString& path, TrendLog* log, QString* error);

#endif
