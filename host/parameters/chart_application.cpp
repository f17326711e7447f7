#include "parameters/chart_application.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#define CHART_LSAN_DISABLE() __lsan_disable()
#define CHART_LSAN_ENABLE() __lsan_enable()
#else
#define CHART_LSAN_DISABLE()
#define CHART_LSAN_ENABLE()
#endif

std::unique_ptr<QGuiApplication> makeChartApplication(int& argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QtMessageHandler previous = qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    // Qt's offscreen platform leaves its screen behind when the application
    // ends: not ours to free, so the leak checker is told to look away.
    CHART_LSAN_DISABLE();
    auto application = std::make_unique<QGuiApplication>(argc, argv);
    CHART_LSAN_ENABLE();
    qInstallMessageHandler(previous);
    return application;
}
