// drvctl shell: several commands on one driver object and one line, so that what
// the driver keeps between commands (the station list behind HR60000..HR60010)
// and what the simulated servos hold carry from one command to the next.
#include "drvctl/command_table.h"
#include "drvctl/exit_codes.h"
#include "drvctl/session.h"

#include <QTextStream>
#include <algorithm>
#include <cstdio>
#include <unistd.h>

int Session::shell(const Invocation&)
{
    // A person at a terminal gets line editing; a script's lines are echoed after
    // the prompt instead, so that its output reads as a session.
    if (isatty(STDIN_FILENO) && isatty(STDOUT_FILENO))
        return shellOnTerminal();
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
        worst = std::max(worst, runShellLine(command));
    }
    return worst;
}

int Session::runShellLine(const QString& line)
{
    Invocation request;
    QString text;
    switch (parseShellLine(line, &request, &text)) {
    case ParseOutcome::Help:
        std::fputs(text.toLocal8Bit().constData(), stdout);
        return ExitSuccess;
    case ParseOutcome::Error:
        return out.usage(text, request.command);
    case ParseOutcome::Run:
        break;
    }
    // Each line is its own invocation: its options, or the shell's.
    const Output sessionOut = out;
    out = Output(setup.json || request.json);
    tracing = setup.trace || request.trace;
    useTransactionSettings(request);
    const int status = (this->*findCommand(request.command)->run)(request);
    out = sessionOut;
    tracing = setup.trace;
    return status;
}
