// Setting up a drvctl run: plug-in, simulated line, port.
#include "drvctl/session.h"
#include "drvctl/exit_codes.h"
#include "drvctl/plugin_loading.h"
#include "interface/driver_interface.h"
#include "port/serial_port.h"
#include "simulator/servo_line.h"
#include "tools/driver_setting.h"

#include <cerrno>
#include <csignal>
#include <ctime>

namespace {

sigset_t stopSignals()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    return set;
}

} // namespace

void holdStopSignals()
{
    const sigset_t set = stopSignals();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

bool waitForStopSignal(int timeoutMs)
{
    const sigset_t set = stopSignals();
    if (timeoutMs < 0) {
        int signal = 0;
        return sigwait(&set, &signal) == 0;
    }
    timespec wait{timeoutMs / 1000, (timeoutMs % 1000) * 1000000L};
    for (;;) {
        const int got = sigtimedwait(&set, nullptr, &wait);
        if (got > 0)
            return true;
        if (errno != EINTR)
            return false; // EAGAIN: the time is up
    }
}

Session::Session(const Invocation& invocation) : request(invocation), out(invocation.json) {}

Session::~Session()
{
    port.reset();
    simulatedLine.reset();
    // The root object belongs to the loader's library; it goes with the process.
}

int Session::run()
{
    if (request.command == QLatin1String("simulate"))
        return simulate();
    int status = loadDriver();
    if (status != ExitSuccess)
        return status;
    if (request.command == QLatin1String("info"))
        return info();
    status = openPort();
    if (status != ExitSuccess)
        return status;
    if (request.command == QLatin1String("read"))
        return read();
    if (request.command == QLatin1String("write"))
        return write();
    if (request.command == QLatin1String("shell"))
        return shell();
    return poll();
}

int Session::loadDriver()
{
    QString error;
    driver = loadDriverPlugin(loader, choosePluginPath(request.plugin), &error);
    return driver ? ExitSuccess : out.failure(error, ExitSetup);
}

int Session::startSimulatedLine()
{
    simulatedLine = std::make_unique<ServoLine>(std::vector<int>(request.stations.begin(), request.stations.end()));
    simulatedLine->setEcho(request.lineEchoes);
    std::string error;
    if (!simulatedLine->start(&error))
        return out.failure(QStringLiteral("cannot start the simulated line: %1").arg(QString::fromStdString(error)), ExitSetup);
    return ExitSuccess;
}

int Session::openPort()
{
    SerialPortOptions options;
    const QString lineText = request.line.isEmpty() ? driver->getStringBasedDefaultDriverSetting() : request.line;
    QString error;
    if (!parseLineSettings(lineText, &options.line, &error))
        return request.line.isEmpty() ? out.failure(error, ExitSetup) : Output::usage(error, request.command);

    std::unique_ptr<DriverSetting> defaults(driver->getDefaultDriverSetting());
    if (defaults)
        options.applyDriverSetting(*defaults);
    if (request.station >= 0)
        options.stationId = request.station;
    if (request.retry >= 0)
        options.retry = request.retry;
    if (request.delay >= 0)
        options.delayMs = request.delay;
    if (request.timeout >= 0)
        options.timeoutMs = request.timeout;
    options.echoMode = request.discardEcho ? EchoMode::On : EchoMode::Auto;
    options.interFrameGap = request.gap;
    options.requireRs485 = request.requireRs485;

    if (request.device.isEmpty()) {
        const int status = startSimulatedLine();
        if (status != ExitSuccess)
            return status;
        options.device = QString::fromStdString(simulatedLine->devicePath());
    } else {
        options.device = request.device;
    }

    port = std::make_unique<SerialPort>(options);
    if (request.trace)
        port->setTraceSink([](const QString& line) { std::fprintf(stderr, "%s\n", line.toLocal8Bit().constData()); });
    if (!port->open())
        return out.failure(port->errorString(), ExitSetup);
    if (request.trace && !port->rs485Status().isEmpty())
        out.note(QStringLiteral("drvctl: ") + port->rs485Status());
    driver->initialize(port.get());
    return ExitSuccess;
}
