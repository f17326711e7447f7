#include "drvctl/exit_codes.h"
#include "drvctl/invocation.h"
#include "drvctl/output.h"
#include "drvctl/session.h"
#include "parameters/chart_application.h"

#include <QGuiApplication>
#include <cstdio>
#include <cstring>
#include <memory>

namespace {

// Charts paint text, which needs a QGuiApplication: only the commands that draw get one.
bool drawsChart(int argc, char* argv[])
{
    for (int i = 1; i < argc && std::strcmp(argv[i], "--") != 0; ++i)
        if ((i == 1 && std::strcmp(argv[i], "plot") == 0) || std::strcmp(argv[i], "--plot") == 0 || std::strcmp(argv[i], "-plot") == 0)
            return true;
    return false;
}

} // namespace

int main(int argc, char* argv[])
{
    std::unique_ptr<QCoreApplication> owner;
    if (drawsChart(argc, argv))
        owner = makeChartApplication(argc, argv);
    else
        owner = std::make_unique<QCoreApplication>(argc, argv);
    QCoreApplication& application = *owner;
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
