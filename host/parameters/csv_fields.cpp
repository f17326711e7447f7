#include "parameters/csv_fields.h"

bool splitCsvLine(const QString& line, QVector<CsvField>* fields, int* badColumn)
{
    fields->clear();
    int i = 0;
    const int n = line.size();
    for (;;) {
        CsvField field;
        field.column = i + 1;
        if (i < n && line.at(i) == QLatin1Char('"')) {
            ++i;
            for (;;) {
                if (i >= n) {
                    *badColumn = field.column;
                    return false;
                }
                if (line.at(i) == QLatin1Char('"')) {
                    if (i + 1 < n && line.at(i + 1) == QLatin1Char('"')) {
                        field.text += QLatin1Char('"');
                        i += 2;
                        continue;
                    }
                    ++i;
                    break;
                }
                field.text += line.at(i++);
            }
            // Anything between the closing quote and the comma is kept as written.
            while (i < n && line.at(i) != QLatin1Char(','))
                field.text += line.at(i++);
        } else {
            while (i < n && line.at(i) != QLatin1Char(','))
                field.text += line.at(i++);
        }
        fields->append(field);
        if (i >= n)
            return true;
        ++i; // the comma
    }
}

QString csvQuoted(const QString& text)
{
    if (!text.contains(QLatin1Char(',')) && !text.contains(QLatin1Char('"')) && !text.contains(QLatin1Char('\n'))
        && !text.contains(QLatin1Char('\r')))
        return text;
    QString quoted = text;
    quoted.replace(QLatin1Char('"'), QLatin1String("\"\""));
    return QLatin1Char('"') + quoted + QLatin1Char('"');
}

QString csvLine(const QStringList& fields)
{
    QStringList quoted;
    quoted.reserve(fields.size());
    for (const QString& field : fields)
        quoted << csvQuoted(field);
    return quoted.join(QLatin1Char(','));
}
