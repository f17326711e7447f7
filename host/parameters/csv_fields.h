#ifndef PARAMETERS_CSV_FIELDS_H
#define PARAMETERS_CSV_FIELDS_H

#include <QString>
#include <QStringList>
#include <QVector>

// One field of a CSV line and the column (from 1) where it starts.
struct CsvField {
    QString text;
    int column = 1;
};

// Splits a line at commas; a field in double quotes may hold commas and "" for
// a quote, as spreadsheets write them. False with the column of an unterminated
// quote (the fields up to it are kept).
bool splitCsvLine(const QString& line, QVector<CsvField>* fields, int* badColumn);
// A field as a spreadsheet reads it back: quoted when it holds a comma, a quote
// or a line break.
QString csvQuoted(const QString& text);
QString csvLine(const QStringList& fields);

#endif
