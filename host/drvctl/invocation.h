#ifndef DRVCTL_INVOCATION_H
#define DRVCTL_INVOCATION_H

#include <QList>
#include <QString>
#include <QStringList>

// One run of drvctl as the command line asked for it.
struct Invocation {
    QString command;       // info, read, write, poll or simulate
    QStringList arguments; // addresses and values

    QString plugin;
    QString device; // empty: drvctl starts a simulated line
    QString line;   // empty: the driver's own string form
    // -1: the driver's default record decides.
    int station = -1;
    int retry = -1;
    int delay = -1;
    int timeout = -1;
    bool trace = false;
    bool json = false;
    bool discardEcho = false;
    bool gap = true;
    bool requireRs485 = false;

    int dataType = -1; // -1: from the address
    int count = 1;
    int intervalMs = 1000;
    bool hex = false; // show read values in hex

    QList<int> stations{1, 2, 3}; // of the simulated line
    bool lineEchoes = false;      // the simulated line repeats what it hears
};

enum class ParseOutcome { Run, Help, Error };

// Fills the invocation, or gives the help text (Help) or a one-line error (Error).
ParseOutcome parseCommandLine(const QStringList& arguments, Invocation* invocation, QString* text);

#endif
