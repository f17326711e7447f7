// Setting up a drvctl run: plug-in, simulated line, port, then the command.
#include "drvctl/session.h"
#include "drvctl/command_table.h"
#include "drvctl/exit_codes.h"
#include "drvctl/fault_switches.h"
#include "drvctl/plugin_loading.h"
#include "drvctl/stop_signals.h"
#include "drvctl/trace_capture.h"
#include "interface/driver_interface.h"
#include "simulator/servo_line.h"
#include "tools/driver_setting.h"

#include <cstdio>

namespace {

// --echo's words; the parser lets no other through.
EchoMode echoModeNamed(const QString& name)
{
    return name == QLatin1String("on") ? EchoMode::On : name == QLatin1String("off") ? EchoMode::Off : EchoMode::Auto;
}

} // namespace

Session::Session(const Invocation& invocation) : setup(invocation), out(invocation.json), tracing(invocation.trace) {}

Session::~Session()
{
    ownPort.reset();
    if (capture)
        capture->finish();
    simulatedLine.reset();
    // The root object belongs to the loader's library; it goes with the process.
}

void Session::attach(DriverInterface* attachedDriver, AbstractDeviceInterface* attachedPort)
{
    driver = attachedDriver;
    port = attachedPort;
}

int Session::run()
{
    const CommandDefinition* definition = findCommand(setup.command);
    if (definition == nullptr)
        return out.usage(QStringLiteral("unknown command: %1").arg(setup.command), QString());
    // Before the simulated line's thread exists, so that Ctrl-C reaches only our wait.
    if (definition->stopsOnCtrlC)
        holdStopSignals();
    if (definition->needs != Needs::Nothing) {
        const int status = loadDriver();
        if (status != ExitSuccess)
            return status;
    }
    if (definition->needs == Needs::Line) {
        LineSettings line;
        int status = lineSettings(&line);
        if (status == ExitSuccess && setup.device.isEmpty())
            status = startSimulatedLine(&line);
        if (status == ExitSuccess)
            status = openPort(line);
        if (status != ExitSuccess)
            return status;
    }
    return (this->*definition->run)(setup);
}

int Session::loadDriver()
{
    QString error;
    driver = loadDriverPlugin(loader, choosePluginPath(setup.plugin), &error);
    return driver ? ExitSuccess : out.failure(error, ExitSetup);
}

// The one start-up path of the simulated line, for simulate, monitor and every
// command that runs without --device.
int Session::startSimulatedLine(const LineSettings* settings)
{
    simulatedLine = std::make_unique<ServoLine>(std::vector<int>(setup.stations.begin(), setup.stations.end()));
    if (settings)
        simulatedLine->setLineSettings(settings->baud, settings->stopBits);
    simulatedLine->setEcho(setup.lineEchoes);
    simulatedLine->setMotion(setup.motion);
    for (int id : simulatedLine->stationIds()) {
        StationFaults faults;
        for (const FaultSwitch& fault : setup.faults)
            if (fault.station == 0 || fault.station == id)
                applyFaultSwitch(fault, &faults);
        if (faults.any())
            simulatedLine->setFaults(id, faults);
    }
    std::string error;
    if (!simulatedLine->start(&error))
        return out.failure(QStringLiteral("cannot start the simulated line: %1").arg(QString::fromStdString(error)), ExitSetup);
    return ExitSuccess;
}

// --line, or the driver's own default line.
int Session::lineSettings(LineSettings* settings)
{
    const QString text = setup.line.isEmpty() && driver ? driver->getStringBasedDefaultDriverSetting() : setup.line;
    QString error;
    if (text.isEmpty() || parseLineSettings(text, settings, &error))
        return ExitSuccess;
    return setup.line.isEmpty() ? out.failure(error, ExitSetup) : out.usage(error, setup.command);
}

int Session::openPort(const LineSettings& line)
{
    SerialPortOptions options;
    options.line = line;
    std::unique_ptr<DriverSetting> defaults(driver ? driver->getDefaultDriverSetting() : nullptr);
    if (defaults)
        options.applyDriverSetting(*defaults);
    options.echoMode = echoModeNamed(setup.echo);
    options.interFrameGap = setup.gap;
    options.requireRs485 = setup.requireRs485;

    options.device = simulatedLine ? QString::fromStdString(simulatedLine->devicePath()) : setup.device;

    if (!setup.pcapFile.isEmpty() && !capture) {
        capture = std::make_unique<TraceCapture>();
        QString error;
        if (!capture->open(setup.pcapFile, &error))
            return out.failure(error, ExitSetup);
    }
    ownPort = std::make_unique<SerialPort>(options);
    port = ownPort.get();
    // A shell line may ask for the trace of its own frames.
    if (setup.trace || setup.command == QLatin1String("shell")) {
        ownPort->setTraceSink([this](const QString& line) {
            if (tracing)
                std::fprintf(stderr, "%s\n", line.toLocal8Bit().constData());
        });
    }
    if (capture)
        ownPort->setTraceByteSink(capture->byteSink());
    if (!ownPort->open())
        return out.failure(ownPort->errorString(), ExitSetup);
    if (setup.trace && !ownPort->rs485Status().isEmpty())
        out.note(QStringLiteral("drvctl: ") + ownPort->rs485Status());
    baseline = ownPort->options();
    useTransactionSettings(setup);
    if (driver)
        driver->initialize(port);
    return ExitSuccess;
}

void Session::useTransactionSettings(const Invocation& request)
{
    if (!ownPort)
        return;
    const auto chosen = [](int line, int session, int driverDefault) {
        return line >= 0 ? line : session >= 0 ? session : driverDefault;
    };
    ownPort->setStationId(chosen(request.station, setup.station, baseline.stationId));
    ownPort->setRetry(chosen(request.retry, setup.retry, baseline.retry));
    ownPort->setDelay(chosen(request.delay, setup.delay, baseline.delayMs));
    ownPort->setTimeoutMs(chosen(request.timeout, setup.timeout, baseline.timeoutMs));
}
