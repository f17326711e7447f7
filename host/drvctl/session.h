#ifndef DRVCTL_SESSION_H
#define DRVCTL_SESSION_H

#include <QByteArray>
#include <QPluginLoader>
#include <memory>

#include "drvctl/invocation.h"
#include "drvctl/output.h"

class DriverInterface;
class SerialPort;
class ServoLine;

// One drvctl run: the driver plug-in, the line (a serial device or a simulated
// one started here) and the command on top of them.
class Session {
public:
    explicit Session(const Invocation& invocation);
    ~Session();

    int run();

private:
    // Setting up; each returns an exit status (ExitSuccess to go on).
    int loadDriver();
    int startSimulatedLine();
    int openPort();

    int info();
    int read();
    int write();
    int poll();
    int simulate();
    int shell();
    // One command line read by the shell, on the session's driver and line.
    int shellLine(const QString& line);

    // One driver read; false leaves the driver's error text.
    bool readValues(const QString& address, int dataType, QByteArray* data);
    int dataTypeFor(const QString& address) const;
    int hexDigitsFor(int dataType) const;

    Invocation request;
    Output out;
    QPluginLoader loader;
    DriverInterface* driver = nullptr;
    std::unique_ptr<ServoLine> simulatedLine;
    std::unique_ptr<SerialPort> port;
};

// Blocks until Ctrl-C or SIGTERM, or at most timeoutMs (-1: no limit); true when stopped.
bool waitForStopSignal(int timeoutMs);
// Makes SIGINT and SIGTERM wait for waitForStopSignal; call before any thread starts.
void holdStopSignals();

#endif
