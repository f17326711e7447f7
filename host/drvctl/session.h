#ifndef DRVCTL_SESSION_H
#define DRVCTL_SESSION_H

#include <QByteArray>
#include <QPluginLoader>
#include <memory>

#include "addresses/transfer_plan.h"
#include "drvctl/invocation.h"
#include "drvctl/output.h"
#include "parameters/register_map.h"
#include "port/line_port.h"
#include "port/line_settings.h"

#include <QList>
#include <QVector>

class AbstractDeviceInterface;
class ParameterLine;
struct ParameterSet;
class DriverInterface;
class ServoLine;
class TraceCapture;
struct CommandDefinition;

// One drvctl run: the driver plug-in, the line (a serial device or a simulated
// one started here) and the commands run on top of them: one, or one per shell line.
class Session {
public:
    explicit Session(const Invocation& invocation);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Sets up what the command needs and runs it; returns the exit status.
    int run();
    // Runs commands on a driver and port that the caller owns and keeps open,
    // instead of loading and opening them (benchmarks).
    void attach(DriverInterface* driver, AbstractDeviceInterface* port);
    // One shell line on this session's driver and line; returns its exit status.
    int runShellLine(const QString& line);

    // The commands, as the command table names them.
    int version(const Invocation& request);
    int info(const Invocation& request);
    int read(const Invocation& request);
    int write(const Invocation& request);
    int poll(const Invocation& request);
    int scan(const Invocation& request);
    int monitor(const Invocation& request);
    int simulate(const Invocation& request);
    int shell(const Invocation& request);
    int backup(const Invocation& request);
    int restore(const Invocation& request);
    int diff(const Invocation& request);
    int plot(const Invocation& request);

private:
    // The shell's lines from libedit, on a terminal.
    int shellOnTerminal();

    // Setting up; each returns an exit status (ExitSuccess to go on).
    int loadDriver();
    // Without --device; answers at `settings` only, or at any with nullptr.
    int startSimulatedLine(const LineSettings* settings);
    int lineSettings(LineSettings* settings);
    int openPort(const LineSettings& line);
    // Nanoseconds on the line of the transfers since the last call (0 on an attached port).
    long long takeLineTime();
    // The capture file and stdout still take what is written; else the failure (exit 1).
    int outputStatus();
    // The port takes the command's station, retry, delay and time-out, or those the
    // session was started with, or the driver's defaults.
    void useTransactionSettings(const Invocation& request);

    // Plug-in, line and port as a command that Needs::Line has them.
    int setUpLine();

    // How a read or write went: done, refused before anything was sent (exit 2),
    // failed in the driver (exit 1), the line lost under it (exit 3), or stopped
    // by Ctrl-C (exit 130); the text says why.
    enum class Transfer { Done, Refused, Failed, LineLost, Interrupted };
    // What a one-shot command prints and returns for a transfer that did not succeed.
    int transferFailure(Transfer outcome, const QString& error, const QString& command);
    // After the driver reported an error: was it the line, or Ctrl-C? The error
    // then says so instead of the driver's text.
    Transfer driverFailure(QString* error) const;
    // A parameter command's failure, `context` before the reason: as a read's or
    // a write's, the line lost is exit 3 and Ctrl-C exit 130, with what was done by then.
    int parameterFailure(const QString& context, QString error, const QString& command, Direction direction);
    // Reads the address in as many driver commands as the Modbus limits ask for and
    // joins the values.
    Transfer readValues(const Invocation& request, const QString& address, TransferPlan* plan, QList<qint64>* values,
                        QString* error);
    Transfer writeValues(const Invocation& request, TransferPlan* plan, QString* error);
    // The driver's own registers HR60000..HR60009, read from its table: no line traffic.
    QVector<quint16> driverTable();
    void traceSplit(const TransferPlan& plan, bool read) const;

    // --map (parameters.cpp): loaded before the command runs; a bad map is exit 2.
    int loadMap(const QString& path);
    // Without --map, the map the set was made with, where it was then; `what` names
    // the command in the refusal.
    int loadMapOf(const ParameterSet& set, const QString& what, const Invocation& request);
    // The parameter an argument names, or nullptr for an address (with a map
    // checked here; a bad one leaves the usage error's exit status in *status).
    const Parameter* parameterOrAddress(const QString& argument, int* status);
    int readNamed(const Invocation& request, const Parameter& parameter);
    int writeNamed(const Invocation& request, const Parameter& parameter);
    std::unique_ptr<ParameterLine> parameterLine();

    Invocation setup; // the command line that started the session
    Output out;
    QPluginLoader loader;
    DriverInterface* driver = nullptr;
    std::unique_ptr<ServoLine> simulatedLine;
    std::unique_ptr<LinePort> ownPort;
    AbstractDeviceInterface* port = nullptr; // ownPort, or one attached
    LinePort* linePort = nullptr;            // the same, when it is one
    TransactionSettings baseline;            // what useTransactionSettings falls back to
    std::unique_ptr<TraceCapture> capture;   // --pcap
    bool tracing = false;                    // --trace of the session, or of the shell line running
    RegisterMap map;                         // --map, when given
};

#endif
