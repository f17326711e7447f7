// drvctl shell: several commands on one driver object and one line, so that what
// the driver keeps between commands (the station list behind HR60000..HR60010)
// and what the simulated servos hold carry from one command to the next.
#include "drvctl/exit_codes.h"
#include "drvctl/session.h"
#include "port/serial_port.h"

#include <QRegularExpression>
#include <QTextStream>
#include <algorithm>
#include <cstdio>

int Session::shell()
{
    QTextStream input(stdin);
    int worst = ExitSuccess;
    QString line;
    while (input.readLineInto(&line)) {
        const QString command = line.section(QLatin1Char('#'), 0, 0).trimmed();
        if (command.isEmpty())
            continue;
        if (!out.json()) {
            std::printf("drvctl> %s\n", command.toLocal8Bit().constData());
            std::fflush(stdout);
        }
        worst = std::max(worst, shellLine(command));
    }
    return worst;
}

int Session::shellLine(const QString& line)
{
    QStringList arguments{QStringLiteral("drvctl")};
    arguments << line.split(QRegularExpression(QStringLiteral("\\s+")), Qt::SkipEmptyParts);
    Invocation step;
    QString text;
    switch (parseCommandLine(arguments, &step, &text)) {
    case ParseOutcome::Help:
        std::fputs(text.toLocal8Bit().constData(), stdout);
        return ExitSuccess;
    case ParseOutcome::Error:
        return Output::usage(text, step.command);
    case ParseOutcome::Run:
        break;
    }
    if (step.command != QLatin1String("info") && step.command != QLatin1String("read")
        && step.command != QLatin1String("write"))
        return Output::usage(QStringLiteral("%1 is not available in the shell").arg(step.command), QString());

    // A line's own station, retry, delay and time-out hold for that line only.
    const SerialPortOptions before = port->options();
    if (step.station >= 0)
        port->setStationId(step.station);
    if (step.retry >= 0)
        port->setRetry(step.retry);
    if (step.delay >= 0)
        port->setDelay(step.delay);
    if (step.timeout >= 0)
        port->setTimeoutMs(step.timeout);
    const Invocation outer = request;
    request.command = step.command;
    request.arguments = step.arguments;
    request.dataType = step.dataType;
    request.count = step.count;
    request.hex = step.hex;

    const int status = step.command == QLatin1String("info") ? info()
                       : step.command == QLatin1String("read") ? read()
                                                                : write();
    request = outer;
    port->setStationId(before.stationId);
    port->setRetry(before.retry);
    port->setDelay(before.delayMs);
    port->setTimeoutMs(before.timeoutMs);
    return status;
}
