#ifndef HOST_TESTS_MONITOR_TEST_SUPPORT_H
#define HOST_TESTS_MONITOR_TEST_SUPPORT_H

#include "host_test_support.h"
#include "port/line_settings.h"

#include <QRegularExpression>
#include <QString>

namespace monitor_test {

inline LineSettings line9600()
{
    LineSettings line;
    line.baud = 9600; // 11-bit characters of 1.146 ms; 3.5 of them 4.01 ms
    return line;
}

// "[  12.345678] station 1 fn 3 ... (4.1 ms)" without the two times.
inline QString withoutTimes(const QString& line)
{
    QString text = line;
    text.remove(QRegularExpression(QStringLiteral("^\\[ *\\d+\\.\\d{6}\\] ")));
    text.remove(QRegularExpression(QStringLiteral(" \\(\\d+\\.\\d ms\\)$")));
    return text;
}

} // namespace monitor_test

#endif
