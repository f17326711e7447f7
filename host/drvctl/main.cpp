#include "drvctl/exit_codes.h"
#include "drvctl/invocation.h"
#include "drvctl/output.h"
#include "drvctl/session.h"

#include <QCoreApplication>
#include <cstdio>

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    Invocation invocation;
    QString text;
    switch (parseCommandLine(application.arguments(), &invocation, &text)) {
    case ParseOutcome::Help:
        std::fputs(text.toLocal8Bit().constData(), stdout);
        return ExitSuccess;
    case ParseOutcome::Error:
        if (application.arguments().size() < 2) {
            std::fputs(text.toLocal8Bit().constData(), stderr);
            return ExitUsage;
        }
        return Output::usage(text, invocation.command);
    case ParseOutcome::Run:
        break;
    }
    // Before the simulated line's thread exists, so Ctrl-C reaches only our wait.
    if (invocation.command == QLatin1String("poll") || invocation.command == QLatin1String("simulate"))
        holdStopSignals();
    Session session(invocation);
    return session.run();
}
