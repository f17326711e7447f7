#ifndef DRVCTL_SESSION_H
#define DRVCTL_SESSION_H

#include <QByteArray>
#include <QPluginLoader>
#include <memory>

#include "drvctl/invocation.h"
#include "drvctl/output.h"
#include "port/serial_port.h"

#include <QList>
#include <QVector>

class AbstractDeviceInterface;
class DriverInterface;
class ServoLine;
class TraceCapture;
struct CommandDefinition;
struct TransferPlan;

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

private:
    // The shell's lines from libedit, on a terminal.
    int shellOnTerminal();

    // Setting up; each returns an exit status (ExitSuccess to go on).
    int loadDriver();
    // Without --device; answers at `settings` only, or at any with nullptr.
    int startSimulatedLine(const LineSettings* settings);
    int lineSettings(LineSettings* settings);
    int openPort(const LineSettings& line);
    // The port takes the command's station, retry, delay and time-out, or those the
    // session was started with, or the driver's defaults.
    void useTransactionSettings(const Invocation& request);

    // How a read or write went: done, refused before anything was sent (exit 2), or
    // failed in the driver (exit 1); the text says why.
    enum class Transfer { Done, Refused, Failed };
    // Reads the address in as many driver commands as the Modbus limits ask for and
    // joins the values.
    Transfer readValues(const Invocation& request, const QString& address, TransferPlan* plan, QList<qint64>* values,
                        QString* error);
    Transfer writeValues(const Invocation& request, TransferPlan* plan, QString* error);
    // The driver's own registers HR60000..HR60009, read from its table: no line traffic.
    QVector<quint16> driverTable();
    void traceSplit(const TransferPlan& plan, bool read) const;

    Invocation setup; // the command line that started the session
    Output out;
    QPluginLoader loader;
    DriverInterface* driver = nullptr;
    std::unique_ptr<ServoLine> simulatedLine;
    std::unique_ptr<SerialPort> ownPort;
    AbstractDeviceInterface* port = nullptr; // ownPort, or one attached
    SerialPortOptions baseline;              // what useTransactionSettings falls back to
    std::unique_ptr<TraceCapture> capture;   // --pcap
    bool tracing = false;                    // --trace of the session, or of the shell line running
};

#endif
