#ifndef TESTS_SUPPORT_CHECKED_PROCESS_H
#define TESTS_SUPPORT_CHECKED_PROCESS_H

#include <QProcess>
#include <QString>
#include <QStringList>
#include <cstdio>
#include <cstdlib>

// QProcess kills a child that still runs when the object goes, and a start that
// failed underneath Qt (clone with a pidfd under user-mode emulation) leaves the
// pid at -1, which kill() takes for every process we may signal. Such a child
// ends the test program here, before anything can signal that pid.
inline void startChecked(QProcess& process, const QString& program, const QStringList& arguments)
{
    process.start(program, arguments);
    if (process.waitForStarted(30000) && process.processId() <= 0) {
        std::fprintf(stderr, "%s started without a process id (%lld); stopping before anything signals it\n",
                     qPrintable(program), static_cast<long long>(process.processId()));
        std::abort();
    }
}

#endif
