#include "drvctl/command_table.h"
#include "drvctl/session.h"

namespace {

const CommandDefinition Commands[] = {
    {"info", "", "identity, flags, block sizes and default settings",
     "Prints the driver's identity, flags, block sizes and default settings; with --device also the port record "
     "it fills (a tcp:// list as its endpoints).",
     PluginOptions | DeviceOptions, 0, 0, Addresses::None,
     Needs::Driver, false, true, &Session::info},
    {"read", "ADDRESS", "read values (--type, --count), or a parameter by name (--map)",
     "Reads --count values of --type from ADDRESS (HR, IR, DO, DI, FN5DO or FN6HR and a number, e.g. HR100, DO5, "
     "HR100.3, HR200SW). A count beyond what one Modbus transaction carries is read in as many driver "
     "commands as needed and joined; --trace says how it was split. With --map, ADDRESS may be a parameter's name: "
     "it prints NAME = VALUE UNIT.",
     PluginOptions | DeviceOptions | TransactionOptions | LinkOptions | SimulatedLineOptions | TypeOptions
         | ReadOptions | MapOptions,
     1, 1, Addresses::Read, Needs::Line, true, true, &Session::read},
    {"write", "ADDRESS VALUE...", "write values (decimal or 0x hex; bits 0/1), or a parameter by name",
     "Writes the values to ADDRESS, one element each. Put -- before negative values. More values than one Modbus "
     "transaction takes go in as many driver commands as needed; when one fails, the "
     "error says how many values were written before it. Refused: IR and DI (read-only), an odd number of bytes "
     "(the driver writes whole registers), a range into HR60000..HR60010, and station list values the driver "
     "would send to no servo or the wrong one. With --map, ADDRESS may be a parameter's name and VALUE its value in "
     "the parameter's unit, checked against its type.",
     PluginOptions | DeviceOptions | TransactionOptions | LinkOptions | SimulatedLineOptions | TypeOptions
         | MapOptions, 2, -1,
     Addresses::Write, Needs::Line, true, true, &Session::write},
    {"poll", "ADDRESS...", "read again every --interval ms, a line per round; Ctrl-C ends with a summary",
     "Reads every address once a round, every --interval ms, and prints a line per round with its time; a "
     "failed read shows its error in place of the values. After --count rounds or Ctrl-C it prints rounds, "
     "failures per address and the round trip min/avg/max/p99: time on the line, from the request's first byte "
     "leaving to the reply's last byte arriving, without --delay and the quiet gap. A lost line is said once "
     "and opened again every second; the summary counts the time without it. With --map, names too; --csv logs the rounds, "
     "--plot draws them.",
     PluginOptions | DeviceOptions | TransactionOptions | LinkOptions | SimulatedLineOptions | TypeOptions
         | PollOptions | MapOptions | PollLogOptions,
     1, -1, Addresses::Read, Needs::Line, true, false, &Session::poll},
    {"scan", "", "find the stations (and with --lines the line settings) that answer",
     "Probes every station id of --ids with one short read of --probe and lists those that answer (a reply, "
     "an exception, or garbled bytes with what was wrong: bad CRC, wrong slave id, cut frame), with their line "
     "settings and round trip (time on the line, without --delay and the quiet gap). --lines tries every common baud rate, "
     "parity and stop bits. Ctrl-C prints what was found so far. Exit 0 when something answered, 1 when "
     "nothing did.",
     PluginOptions | DeviceOptions | TransactionOptions | LinkOptions | SimulatedLineOptions | ScanOptions, 0, 0,
     Addresses::None, Needs::Driver, true, false, &Session::scan},
    {"monitor", "", "decode a line that another master drives (listen only)",
     "Listens to a line without sending: cuts the bytes into frames at 3.5 characters of silence, checks each "
     "CRC, pairs requests with replies and prints one line per transaction. Without --device it starts the "
     "simulated line and listens to it, so that you can drive it from another shell with --device. A lost line "
     "is said once and opened again every second.",
     DeviceOptions | SimulatedLineOptions | MonitorOptions, 0, 0, Addresses::None, Needs::Nothing, true, false,
     &Session::monitor},
    {"simulate", "", "run the simulated servo line and print its device path and its tap's",
     "Runs the simulated servo line until Ctrl-C; the first line printed is its device path, the second its "
     "listen-only tap (\"tap: PATH\"), and with --listen the third the TCP address it serves (\"listen: "
     "tcp://127.0.0.1:PORT\"). Use the path with --device from another shell, and the tap with monitor --device: "
     "a monitor on the line's own path would take the bytes meant for the master. The line keeps the line's "
     "time unless --instant.",
     SimulatedLineOptions | ListenOptions, 0, 0, Addresses::None, Needs::Nothing, true, false, &Session::simulate},
    {"shell", "", "read commands from stdin, one per line, on one driver and one line",
     "Runs info, read and write commands from stdin, one per line (# starts a comment), on one driver and one "
     "line, so that written values and the driver's station list carry from line to line. The options given here "
     "hold for every line; --station, --retry, --delay, --timeout, --trace and --json on a line hold for that line "
     "only. On a terminal: a prompt, line editing, a history for the session (arrow up) and Tab completion of "
     "command and option names; from a pipe each line is echoed after the prompt. Ctrl-C cancels the running "
     "line and keeps the session.",
     PluginOptions | DeviceOptions | TransactionOptions | LinkOptions | SimulatedLineOptions | MapOptions, 0, 0,
     Addresses::None, Needs::Line, true, false, &Session::shell},
    {"backup", "", "save every parameter of a map (--map, -o SET.json)",
     "Reads every parameter of the map with the fewest reads (registers that follow each other, never one the "
     "map does not name) and saves them to -o SET.json with the map's name and checksum, the station and the "
     "time.",
     PluginOptions | DeviceOptions | TransactionOptions | LinkOptions | SimulatedLineOptions | MapOptions
         | OutputOptions,
     0, 0, Addresses::None, Needs::Line, true, false, &Session::backup},
    {"restore", "SET.json", "write a saved set back and read it back",
     "Writes the set's writable parameters in map order, reads them back and lists every one that differs "
     "(exit 1 if any does). Without --map it uses the map the set names. A set made with another map is "
     "refused unless --force.",
     PluginOptions | DeviceOptions | TransactionOptions | LinkOptions | SimulatedLineOptions | MapOptions
         | RestoreOptions,
     1, 1, Addresses::None, Needs::Line, true, false, &Session::restore},
    {"diff", "SET.json [SET2.json]", "compare two sets, or a set with a station",
     "Compares two saved sets, or a set with a station (--station) read now, by name: the writable parameters, "
     "with --all every one. Exit 0 when they agree, 1 when not.",
     PluginOptions | DeviceOptions | TransactionOptions | LinkOptions | SimulatedLineOptions | MapOptions
         | DiffOptions,
     1, 2, Addresses::None, Needs::Nothing, true, false, &Session::diff},
    {"plot", "LOG.csv", "draw a poll log as a trend chart (-o CHART.png or .svg)",
     "Draws a log of poll --csv as a trend chart: a panel per unit, a line per column, failed reads marked.",
     OutputOptions, 1, 1, Addresses::None, Needs::Nothing, false, false, &Session::plot},
    {"version", "", "the plug-in's and drvctl's versions (also --version)",
     "Prints drvctl's version and the name and version of the driver plug-in it loads.", PluginOptions, 0, 0,
     Addresses::None, Needs::Driver, false, false, &Session::version},
    {nullptr, nullptr, nullptr, nullptr, 0, 0, 0, Addresses::None, Needs::Nothing, false, false, nullptr},
};

} // namespace

const CommandDefinition* commandTable()
{
    return Commands;
}

const CommandDefinition* findCommand(const QString& name)
{
    const QString wanted = name == QLatin1String("--version") ? QStringLiteral("version") : name;
    for (const CommandDefinition* definition = Commands; definition->name != nullptr; ++definition)
        if (wanted == QLatin1String(definition->name))
            return definition;
    return nullptr;
}
