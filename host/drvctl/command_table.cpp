#include "drvctl/command_table.h"
#include "drvctl/session.h"

namespace {

const CommandDefinition Commands[] = {
    {"info", "", "identity, flags, block sizes and default settings",
     "Prints the driver's identity, flags, block sizes and default settings.", PluginOptions, 0, 0, Addresses::None,
     Needs::Driver, false, true, &Session::info},
    {"read", "ADDRESS", "read values (--type, --count)",
     "Reads --count values of --type from ADDRESS (HR, IR, DO, DI, FN5DO or FN6HR and a number, e.g. HR100, DO5, "
     "HR100.3, HR200SW). A count beyond what one Modbus transaction carries is read in as many driver "
     "commands as needed and joined; --trace says how it was split.",
     PluginOptions | DeviceOptions | TransactionOptions | LinkOptions | SimulatedLineOptions | TypeOptions
         | ReadOptions,
     1, 1, Addresses::Read, Needs::Line, false, true, &Session::read},
    {"write", "ADDRESS VALUE...", "write values (decimal or 0x hex; bits 0/1)",
     "Writes the values to ADDRESS, one element each. Put -- before negative values. More values than one Modbus "
     "transaction takes go in as many driver commands as needed; when one fails, the "
     "error says how many values were written before it. Refused: IR and DI (read-only), an odd number of bytes "
     "(the driver writes whole registers), a range into HR60000..HR60010, and station list values the driver "
     "would send to no servo or the wrong one.",
     PluginOptions | DeviceOptions | TransactionOptions | LinkOptions | SimulatedLineOptions | TypeOptions, 2, -1,
     Addresses::Write, Needs::Line, false, true, &Session::write},
    {"poll", "ADDRESS...", "read again every --interval ms, a line per round; Ctrl-C ends with a summary",
     "Reads every address once a round, every --interval ms, and prints a line per round with its time; a "
     "failed read shows its error in place of the values. After --count rounds or Ctrl-C it prints rounds, "
     "failures per address and the round trip min/avg/max/p99.",
     PluginOptions | DeviceOptions | TransactionOptions | LinkOptions | SimulatedLineOptions | TypeOptions
         | PollOptions,
     1, -1, Addresses::Read, Needs::Line, true, false, &Session::poll},
    {"scan", "", "find the stations (and with --lines the line settings) that answer",
     "Probes every station id of --ids with one short read of --probe and lists those that answer (a reply "
     "or an exception), with their line settings and round trip. --lines tries every common baud rate, "
     "parity and stop bits. Ctrl-C prints what was found so far. Exit 0 when something answered, 1 when "
     "nothing did.",
     PluginOptions | DeviceOptions | TransactionOptions | LinkOptions | SimulatedLineOptions | ScanOptions, 0, 0,
     Addresses::None, Needs::Driver, true, false, &Session::scan},
    {"monitor", "", "decode a line that another master drives (listen only)",
     "Listens to a line without sending: cuts the bytes into frames at 3.5 characters of silence, checks each "
     "CRC, pairs requests with replies and prints one line per transaction. Without --device it starts the "
     "simulated line and listens to it, so that you can drive it from another shell with --device.",
     DeviceOptions | SimulatedLineOptions | MonitorOptions, 0, 0, Addresses::None, Needs::Nothing, true, false,
     &Session::monitor},
    {"simulate", "", "run the simulated servo line and print its device path",
     "Runs the simulated servo line until Ctrl-C; the first line printed is its device path. Use it with "
     "--device from another shell.",
     SimulatedLineOptions, 0, 0, Addresses::None, Needs::Nothing, true, false, &Session::simulate},
    {"shell", "", "read commands from stdin, one per line, on one driver and one line",
     "Runs info, read and write commands from stdin, one per line (# starts a comment), on one driver and one "
     "line, so that written values and the driver's station list carry from line to line. The options given here "
     "hold for every line; --station, --retry, --delay, --timeout, --trace and --json on a line hold for that line "
     "only. On a terminal: a prompt, line editing, a history for the session (arrow up) and Tab completion of "
     "command and option names; from a pipe each line is echoed after the prompt.",
     PluginOptions | DeviceOptions | TransactionOptions | LinkOptions | SimulatedLineOptions, 0, 0,
     Addresses::None, Needs::Line, false, false, &Session::shell},
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
