#ifndef DRVCTL_INVOCATION_H
#define DRVCTL_INVOCATION_H

#include <QList>
#include <QString>
#include <QStringList>

// One --fault switch for the simulated line: which station misbehaves and how.
struct FaultSwitch {
    int station = 0; // 0: every station of the line
    int kind = 0;    // index into the fault table (fault_switches.cpp)
    int value = 0;
    int code = 4; // exception code, for the exception fault
};

// One run of drvctl as the command line asked for it; the shell makes one per line.
struct Invocation {
    QString command;       // a name from the command table
    QStringList arguments; // addresses and values

    QString plugin;
    QString device; // empty: drvctl starts a simulated line
    QString line;   // empty: the driver's own string form
    // -1: the driver's default record decides (scan: its own short time-out).
    int station = -1;
    int retry = -1;
    int delay = -1;
    int timeout = -1;
    bool trace = false;
    QString pcapFile; // every frame on the line, for Wireshark
    bool json = false;
    QString echo = QStringLiteral("auto"); // auto, on or off
    bool gap = true;
    bool requireRs485 = false;

    int dataType = -1; // -1: from the address
    int count = 1;     // elements per read or write
    bool hex = false;  // show read values in hex
    int rounds = 0;    // poll: 0 until Ctrl-C
    int intervalMs = 1000;

    QList<int> scanIds;      // scan: empty for 1..247
    bool scanLines = false;  // scan: every common baud rate, parity and stop bits
    QString probe = QStringLiteral("HR1");

    bool raw = false; // monitor: frames in hex as well

    QList<int> stations{1, 2, 3}; // of the simulated line
    bool lineEchoes = false;      // the simulated line repeats what it hears
    QList<FaultSwitch> faults;
    bool motion = false; // a few simulated registers move
    bool instant = false; // the simulated line does not keep the line's time
    QString listenHost;   // simulate --listen: serve the line over TCP here
    int listenPort = -1;

    QString map;         // --map or DRVCTL_MAP: parameter names wherever an address goes
    QString output;      // backup, plot: -o
    bool force = false;  // restore: a set of another map
    bool dryRun = false; // restore: only show the writes
    bool all = false;    // diff: read-only parameters too
    QString csvFile;     // poll: a row per round
    QString plotFile;    // poll: a chart at the end
};

enum class ParseOutcome { Run, Help, Error };

// Fills the invocation, or gives the help text (Help) or a one-line error (Error).
// On an error, invocation->command and invocation->json are set as far as the
// arguments tell them, so that the failure can be reported in the form asked for.
ParseOutcome parseCommandLine(const QStringList& arguments, Invocation* invocation, QString* text);

// One line of drvctl shell: a command and its options, split at white space.
// Options that belong to the whole line (device, plug-in, link, simulated line)
// are refused, and so are commands that cannot run inside the shell.
// Names of the shell's --map pass where addresses go.
ParseOutcome parseShellLine(const QString& line, Invocation* invocation, QString* text, const QString& map = QString());

#endif
