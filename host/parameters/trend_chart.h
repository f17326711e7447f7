#ifndef PARAMETERS_TREND_CHART_H
#define PARAMETERS_TREND_CHART_H

#include <QString>

#include "parameters/csv_log.h"

// Draws a poll log as a trend chart: a panel per unit, one line per column, a
// shared time axis, the unit beside each value axis, a legend, and failed reads
// marked (a red band at the round, a cross on the panel's floor where the value
// is missing). A .svg path is written as SVG, any other as PNG. Painting text
// needs a QGuiApplication (drvctl makes one for the commands that draw).
bool renderTrendChart(const TrendLog& log, const QString& title, const QString& path, QString* error);

#endif
