#ifndef HOST_TESTS_DRVCTL_RUNNER_H
#define HOST_TESTS_DRVCTL_RUNNER_H

#include "support/checked_process.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>
#include <csignal>
#include <string>

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

#endif
