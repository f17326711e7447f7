// The option table of drvctl: every option, which commands offer it, its help
// and what it sets in the invocation. The grammar (command_line.cpp) and the help
// (command_help.cpp) are built from it.
#include "drvctl/command_options.h"
#include "drvctl/command_table.h"
#include "drvctl/fault_switches.h"
#include "drvctl/invocation.h"
#include "drvctl/value_codec.h"
#include "port/network_endpoints.h"

#include <QList>

namespace {

bool parseInt(const QString& text, int low, int high, int* value)
{
    bool ok = false;
    const qlonglong v = text.toLongLong(&ok, 10);
    if (!ok || v < low || v > high)
        return false;
    *value = static_cast<int>(v);
    return true;
}

bool setNumber(const QString& name, const QString& text, int low, int high, int* target, QString* error)
{
    if (parseInt(text, low, high, target))
        return true;
    *error = QStringLiteral("bad value for --%1: %2 (%3 to %4)").arg(name, text).arg(low).arg(high);
    return false;
}

// "1,2,5-9": ids from 1 to 247.
bool parseIdList(const QString& text, QList<int>* ids)
{
    QList<int> parsed;
    for (const QString& part : text.split(QLatin1Char(','))) {
        int first = 0, last = 0;
        const QString from = part.section(QLatin1Char('-'), 0, 0).trimmed();
        const QString to = part.contains(QLatin1Char('-')) ? part.section(QLatin1Char('-'), 1).trimmed() : from;
        if (!parseInt(from, 1, 247, &first) || !parseInt(to, first, 247, &last))
            return false;
        for (int id = first; id <= last; ++id)
            parsed << id;
    }
    *ids = parsed;
    return true;
}

bool setIdList(const QString& name, const QString& text, QList<int>* ids, QString* error)
{
    if (parseIdList(text, ids))
        return true;
    *error = QStringLiteral("bad value for --%1: %2 (ids or ranges from 1 to 247, comma-separated)").arg(name, text);
    return false;
}

const OptionDefinition Options[] = {
    {PluginOptions, "plugin", "path", "Driver plug-in to load (also DRVCTL_PLUGIN).",
     true, [](const QString&, const QString& v, Invocation* i, QString*) { i->plugin = v; return true; }},
    {DeviceOptions, "device", "path", "Serial device, or tcp://HOST:PORT for a line behind a serial device server "
     "(RTU frames as on the wire; several endpoints separated by commas are tried in order); without --device a "
     "simulated line is started (an empty path is refused: an unset variable in a script must not start one).",
     true, [](const QString& n, const QString& v, Invocation* i, QString* e) {
         if (v.isEmpty()) {
             *e = QStringLiteral("--%1 needs a path: an empty one (an unset variable?) would start the simulated line; "
                                 "leave --%1 out for that").arg(n);
             return false;
         }
         QList<DeviceSetting::Endpoint> endpoints;
         if (isNetworkDevice(v) && !parseNetworkEndpoints(v, &endpoints, e))
             return false;
         i->device = v;
         return true;
     }},
    {DeviceOptions | SimulatedLineOptions, "line", "settings",
     "TYPE,BAUD,PARITY,DATA,STOP (default: the driver's, RS485,9600,NONE,8,2); a simulated line answers only "
     "at these (simulate and monitor without it: at any).",
     true, [](const QString&, const QString& v, Invocation* i, QString*) { i->line = v; return true; }},
    {TransactionOptions, "station", "id",
     "Slave id, 1..247 (default: the driver's). Not 0: broadcast gets no answer, and the driver waits for one.",
     false, [](const QString& n, const QString& v, Invocation* i, QString* e) {
         if (v.trimmed() == QLatin1String("0")) {
             *e = QStringLiteral("bad value for --%1: 0 is broadcast, which no servo answers, and the driver waits "
                                 "for an answer after every request (1 to 247)").arg(n);
             return false;
         }
         return setNumber(n, v, 1, 247, &i->station, e);
     }},
    {TransactionOptions, "retry", "n", "Retries after a failed attempt, 0..100 (scan: 0).",
     false, [](const QString& n, const QString& v, Invocation* i, QString* e) { return setNumber(n, v, 0, 100, &i->retry, e); }},
    {TransactionOptions, "delay", "ms", "Pause before each attempt, 0..60000 ms (not in the round trip).",
     false, [](const QString& n, const QString& v, Invocation* i, QString* e) { return setNumber(n, v, 0, 60000, &i->delay, e); }},
    {TransactionOptions, "timeout", "ms", "Wait for the first byte of a reply, 1..60000 ms (scan: 100); the rest may take as long as it keeps coming.",
     false, [](const QString& n, const QString& v, Invocation* i, QString* e) { return setNumber(n, v, 1, 60000, &i->timeout, e); }},
    {EveryCommand, "json", nullptr, "One JSON object per result or failure, for scripts.",
     false, [](const QString&, const QString&, Invocation* i, QString*) { i->json = true; return true; }},
    {LinkOptions, "trace", nullptr, "Print every frame sent and received to stderr, and how a count beyond one "
     "transaction was split.",
     false, [](const QString&, const QString&, Invocation* i, QString*) { i->trace = true; return true; }},
    {LinkOptions | MonitorOptions, "pcap", "file", "Save every frame to FILE for Wireshark (classic pcap, link type 147).",
     true, [](const QString&, const QString& v, Invocation* i, QString*) { i->pcapFile = v; return true; }},
    {LinkOptions, "echo", "mode",
     "Local echo of a 2-wire RS-485 adapter: auto (found out, by a probe no station answers before a "
     "function 5 or 6 write, and dropped), on (always dropped) or off. Default auto.",
     true, [](const QString& n, const QString& v, Invocation* i, QString* e) {
         if (v == QLatin1String("auto") || v == QLatin1String("on") || v == QLatin1String("off")) {
             i->echo = v;
             return true;
         }
         *e = QStringLiteral("bad value for --%1: %2 (auto, on or off)").arg(n, v);
         return false;
     }},
    {LinkOptions, "no-gap", nullptr, "Do not keep 3.5 characters of silence before each request.",
     true, [](const QString&, const QString&, Invocation* i, QString*) { i->gap = false; return true; }},
    {LinkOptions, "rs485", nullptr, "Fail unless the kernel's RS-485 mode can be switched on.",
     true, [](const QString&, const QString&, Invocation* i, QString*) { i->requireRs485 = true; return true; }},
    {TypeOptions, "type", "type", "bit, byte, word, dword, block or bitblock (default: from the address).",
     false, [](const QString& n, const QString& v, Invocation* i, QString* e) {
         if (dataTypeFromName(v, &i->dataType))
             return true;
         *e = QStringLiteral("bad value for --%1: %2 (bit, byte, word, dword, block or bitblock)").arg(n, v);
         return false;
     }},
    {ReadOptions, "count", "n", "Number of elements, 1..65536 (default 1).",
     false, [](const QString& n, const QString& v, Invocation* i, QString* e) { return setNumber(n, v, 1, 65536, &i->count, e); }},
    {PollOptions, "elements", "n", "Elements read from each address, 1..65536 (default 1).",
     false, [](const QString& n, const QString& v, Invocation* i, QString* e) { return setNumber(n, v, 1, 65536, &i->count, e); }},
    {ReadOptions | PollOptions, "hex", nullptr, "Show values in hex (text output only).",
     false, [](const QString&, const QString&, Invocation* i, QString*) { i->hex = true; return true; }},
    {PollOptions, "count", "n", "Stop after N rounds, 1..100000000 (default: at Ctrl-C).",
     false, [](const QString& n, const QString& v, Invocation* i, QString* e) { return setNumber(n, v, 1, 100000000, &i->rounds, e); }},
    {PollOptions, "interval", "ms", "Milliseconds between rounds, 10..3600000 (default 1000).",
     false, [](const QString& n, const QString& v, Invocation* i, QString* e) { return setNumber(n, v, 10, 3600000, &i->intervalMs, e); }},
    {ScanOptions, "ids", "list", "Station ids to probe, e.g. 1-10,20 (default 1-247).",
     false, [](const QString& n, const QString& v, Invocation* i, QString* e) { return setIdList(n, v, &i->scanIds, e); }},
    {ScanOptions, "lines", nullptr, "Try 9600..115200 baud, parity N/E/O and 1 or 2 stop bits, not only --line.",
     false, [](const QString&, const QString&, Invocation* i, QString*) { i->scanLines = true; return true; }},
    {ScanOptions, "probe", "address",
     "Read used as the probe (default HR1, which every servo has); not HR60000..HR60010, which the driver answers "
     "itself.",
     false, [](const QString&, const QString& v, Invocation* i, QString*) { i->probe = v; return true; }},
    {MonitorOptions, "raw", nullptr, "Show every frame's bytes in hex as well.",
     false, [](const QString&, const QString&, Invocation* i, QString*) { i->raw = true; return true; }},
    {SimulatedLineOptions, "stations", "list", "Station ids of the simulated line, e.g. 1,2,3 or 1-5.",
     true, [](const QString& n, const QString& v, Invocation* i, QString* e) { return setIdList(n, v, &i->stations, e); }},
    {SimulatedLineOptions, "line-echo", nullptr, "The simulated line repeats every byte it hears.",
     true, [](const QString&, const QString&, Invocation* i, QString*) { i->lineEchoes = true; return true; }},
    {SimulatedLineOptions, "fault", "fault", "A simulated servo misbehaves: [STATION:]NAME[=VALUE] (list below).",
     true, [](const QString&, const QString& v, Invocation* i, QString* e) {
         FaultSwitch fault;
         if (!parseFaultSwitch(v, &fault, e))
             return false;
         i->faults << fault;
         return true;
     }},
    {ListenOptions, "listen", "address",
     "Serve the line over TCP as a serial device server does, at tcp://127.0.0.1:PORT (a loopback address only; "
     "port 0 picks a free one), paced as --line (default: the driver's line).",
     true, [](const QString& n, const QString& v, Invocation* i, QString* e) {
         DeviceSetting::Endpoint endpoint;
         if (!parseListenAddress(v, &endpoint, e)) {
             *e = QStringLiteral("--%1: %2").arg(n, *e);
             return false;
         }
         i->listenHost = endpoint.first;
         i->listenPort = endpoint.second;
         return true;
     }},
    {SimulatedLineOptions, "instant", nullptr,
     "The simulated line answers as fast as it can instead of at the line's pace (characters, 3.5-character turnaround).",
     true, [](const QString&, const QString&, Invocation* i, QString*) { i->instant = true; return true; }},
    {SimulatedLineOptions, "motion", nullptr, "HR1300 ramps 0..3000 and back, HR1301 counts up, every 100 ms.",
     true, [](const QString&, const QString&, Invocation* i, QString*) { i->motion = true; return true; }},
    {MapOptions, "map", "file", "Register map (CSV): its parameter names go wherever an address goes (also DRVCTL_MAP).",
     true, [](const QString&, const QString& v, Invocation* i, QString*) { i->map = v; return true; }},
    {OutputOptions, "o|output", "file", "File to write.",
     false, [](const QString&, const QString& v, Invocation* i, QString*) { i->output = v; return true; }},
    {RestoreOptions, "force", nullptr, "Restore a set made with another map, by name.",
     false, [](const QString&, const QString&, Invocation* i, QString*) { i->force = true; return true; }},
    {RestoreOptions, "dry-run", nullptr, "Show what would be written and write nothing.",
     false, [](const QString&, const QString&, Invocation* i, QString*) { i->dryRun = true; return true; }},
    {DiffOptions, "all", nullptr, "Compare the read-only parameters too.",
     false, [](const QString&, const QString&, Invocation* i, QString*) { i->all = true; return true; }},
    {PollLogOptions, "csv", "file", "Log each round to FILE: a time, a column per address, the errors last.",
     false, [](const QString&, const QString& v, Invocation* i, QString*) { i->csvFile = v; return true; }},
    {PollLogOptions, "plot", "file", "Draw the rounds as a trend chart at the end (.png or .svg).",
     false, [](const QString&, const QString& v, Invocation* i, QString*) { i->plotFile = v; return true; }},
};

} // namespace

QStringList optionNames(const OptionDefinition& option)
{
    return QString::fromLatin1(option.name).split(QLatin1Char('|'));
}

std::vector<const OptionDefinition*> optionsOffered(unsigned groups)
{
    std::vector<const OptionDefinition*> offered;
    for (const OptionDefinition& option : Options)
        if ((option.groups & groups) != 0)
            offered.push_back(&option);
    return offered;
}
