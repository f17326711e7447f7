#ifndef HOST_TESTS_DRVCTL_RUNNER_H
#define HOST_TESTS_DRVCTL_RUNNER_H

#include "support/checked_process.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>
#include <QElapsedTimer>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <string>
#include <termios.h>
#include <unistd.h>

// drvctl as a user runs it: exit status and what it printed.
struct Outcome {
    int exitCode = -1;
    std::string out;
    std::string err;

    QStringList lines() const { return QString::fromStdString(out).split(QLatin1Char('\n'), Qt::SkipEmptyParts); }
    // The stdout line at index as a JSON object (empty when it is none).
    QJsonObject json(int index) const { return QJsonDocument::fromJson(lines().value(index).toUtf8()).object(); }
};

// Starts drvctl with the plug-in just built, whatever the shell's environment says.
inline void startDrvctl(QProcess* process, const QStringList& arguments)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("DRVCTL_PLUGIN"));
    process->setProcessEnvironment(environment);
    startChecked(*process, QStringLiteral(DRVCTL_PATH), arguments);
}

inline Outcome finish(QProcess* process, int timeoutMs = 20000)
{
    const bool exited = process->waitForFinished(timeoutMs) && process->exitStatus() == QProcess::NormalExit;
    return {exited ? process->exitCode() : -1, process->readAllStandardOutput().toStdString(),
            process->readAllStandardError().toStdString()};
}

inline Outcome drvctl(const QStringList& arguments, const QByteArray& input = QByteArray())
{
    QProcess process; // its destructor kills a drvctl that hangs
    startDrvctl(&process, arguments);
    process.write(input);
    process.closeWriteChannel();
    return finish(&process);
}

// Ctrl-C to a drvctl started here; false when it has no process id of its own
// or has already ended (never signal anything else).
inline bool interrupt(QProcess* process)
{
    const qint64 pid = process->processId();
    return pid > 1 && process->state() == QProcess::Running && ::kill(static_cast<pid_t>(pid), SIGINT) == 0;
}

// The same, once it has printed its first line.
inline bool interruptAfterFirstLine(QProcess* process)
{
    return process->waitForReadyRead(10000) && interrupt(process);
}

// drvctl with a pseudo-terminal for stdin and stdout, as a person at a terminal
// runs it; stderr apart. The test types keys and reads the screen.
class DrvctlOnTerminal {
public:
    explicit DrvctlOnTerminal(const QStringList& arguments)
        : master(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC))
    {
        char name[128] = {0};
        if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0 || ptsname_r(master, name, sizeof name) != 0)
            return;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove(QStringLiteral("DRVCTL_PLUGIN"));
        environment.insert(QStringLiteral("TERM"), QStringLiteral("dumb")); // redraws without cursor addressing
        process.setProcessEnvironment(environment);
        process.setStandardInputFile(QLatin1String(name));
        process.setStandardOutputFile(QLatin1String(name));
        startChecked(process, QStringLiteral(DRVCTL_PATH), arguments);
    }
    ~DrvctlOnTerminal()
    {
        if (master >= 0)
            close(master);
    }
    DrvctlOnTerminal(const DrvctlOnTerminal&) = delete;
    DrvctlOnTerminal& operator=(const DrvctlOnTerminal&) = delete;

    // Keys as typed once libedit reads them (the terminal out of canonical mode):
    // typed earlier, the terminal's own line discipline would take them.
    bool type(const QByteArray& keys)
    {
        QElapsedTimer clock;
        clock.start();
        termios mode{};
        while (tcgetattr(master, &mode) == 0 && (mode.c_lflag & ICANON) != 0 && clock.elapsed() < 10000)
            usleep(1000);
        return write(master, keys.constData(), keys.size()) == keys.size();
    }
    // The screen from the last call on, up to and with `text` (everything that came
    // when it does not come within timeoutMs).
    QByteArray readUntil(const QByteArray& text, int timeoutMs = 10000)
    {
        QElapsedTimer clock;
        clock.start();
        while (!pending.contains(text) && clock.elapsed() < timeoutMs) {
            pollfd ready{master, POLLIN, 0};
            char chunk[512];
            const ssize_t n = ::poll(&ready, 1, 100) > 0 ? read(master, chunk, sizeof chunk) : 0;
            if (n > 0)
                pending.append(chunk, static_cast<int>(n));
            else if (n < 0)
                break; // drvctl closed the terminal
        }
        const int end = pending.contains(text) ? pending.indexOf(text) + text.size() : pending.size();
        const QByteArray screen = pending.left(end);
        pending.remove(0, end);
        return screen;
    }
    Outcome finish() { return ::finish(&process); }

private:
    int master;
    QProcess process; // its destructor kills a drvctl that hangs
    QByteArray pending;
};

#endif
