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
        if (application.arguments().size() < 2) { // no command at all: the general help
            std::fputs(text.toLocal8Bit().constData(), stderr);
            return ExitUsage;
        }
        return Output(invocation.json).usage(text, invocation.command);
    case ParseOutcome::Run:
        break;
    }
    Session session(invocation);
    return session.run();
}
