#ifndef HOST_PARAMETERS_CHART_APPLICATION_H
#define HOST_PARAMETERS_CHART_APPLICATION_H

#include <QGuiApplication>
#include <memory>

// The application a chart is drawn in: painting text needs a QGuiApplication,
// on the offscreen platform unless QT_QPA_PLATFORM names another, so that no
// display is ever needed. Its start-up warning about XDG_RUNTIME_DIR is dropped.
std::unique_ptr<QGuiApplication> makeChartApplication(int& argc, char** argv);

#endif
