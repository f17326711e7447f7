// Setting up a drvctl run: plug-in, simulated line, port, then the command.
#include "drvctl/session.h"
#include "drvctl/command_table.h"
#include "drvctl/exit_codes.h"
#include "drvctl/fault_switches.h"
#include "drvctl/plugin_loading.h"
#include "drvctl/stop_signals.h"
#include "drvctl/trace_capture.h"
#include "interface/driver_interface.h"
#include "port/network_endpoints.h"
#include "port/port_for_record.h"
#include "port/serial_port.h"
#include "simulator/servo_line.h"
#include "tools/device_setting.h"
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
    simulatedLine.reset();
    // The root object belongs to the loader's library; it goes with the process.
}

void Session::attach(DriverInterface* attachedDriver, AbstractDeviceInterface* attachedPort)
{
    driver = attachedDriver;
    port = attachedPort;
    linePort = dynamic_cast<LinePort*>(attachedPort);
}

int Session::run()
{
    const CommandDefinition* definition = findCommand(setup.command);
    if (definition == nullptr)
        return out.usage(QStringLiteral("unknown command: %1").arg(setup.command), QString());
    // Before the simulated line's thread exists, so that Ctrl-C reaches only our wait.
    if (definition->stopsOnCtrlC)
        holdStopSignals();
    if (!setup.map.isEmpty()) {
        const int status = loadMap(setup.map);
        if (status != ExitSuccess)
            return status;
    }
    if (definition->needs == Needs::Driver) {
        const int status = loadDriver();
        if (status != ExitSuccess)
            return status;
    }
    if (definition->needs == Needs::Line) {
        const int status = setUpLine();
        if (status != ExitSuccess)
            return status;
    }
    const int status = (this->*definition->run)(setup);
    if (capture)
        capture->finish();
    const int written = outputStatus();
    return status == ExitSuccess ? written : status;
}

int Session::outputStatus()
{
    if (capture && capture->failed())
        return out.failure(capture->error(), ExitSetup);
    const QString failure = outputFailure();
    if (!failure.isEmpty()) // stdout cannot take it: stderr can
        return Output(false).failure(failure, ExitSetup);
    return ExitSuccess;
}

int Session::setUpLine()
{
    int status = loadDriver();
    LineSettings line;
    if (status == ExitSuccess)
        status = lineSettings(&line);
    if (status == ExitSuccess && setup.device.isEmpty())
        status = startSimulatedLine(&line);
    if (status == ExitSuccess)
        status = openPort(line);
    return status;
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
    simulatedLine->setInstant(setup.instant);
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

    DeviceSetting record(SerialDevice, QString(), 0, 0, 0, 0);
    QString error;
    const QString device = simulatedLine ? QString::fromStdString(simulatedLine->devicePath()) : setup.device;
    if (!deviceSettingFor(device, line, &record, &error))
        return out.usage(error, setup.command);

    if (!setup.pcapFile.isEmpty() && !capture) {
        capture = std::make_unique<TraceCapture>();
        if (!capture->open(setup.pcapFile, &error))
            return out.failure(error, ExitSetup);
    }
    auto opened = portForRecord(record, options);
    const SerialPort* serial = opened.get();
    ownPort = std::move(opened);
    port = linePort = ownPort.get();
    ownPort->setStopFd(stopSignalFd());
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
    if (setup.trace && !serial->rs485Status().isEmpty())
        out.note(QStringLiteral("drvctl: ") + serial->rs485Status());
    baseline = ownPort->transactionSettings();
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

long long Session::takeLineTime()
{
    if (linePort == nullptr)
        return 0;
    const long long ns = linePort->lineTimeNs();
    linePort->resetLineTime();
    return ns;
}
