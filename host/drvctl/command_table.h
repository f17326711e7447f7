#ifndef DRVCTL_COMMAND_TABLE_H
#define DRVCTL_COMMAND_TABLE_H

#include <QString>

struct Invocation;
class Session;

// Option groups a command offers (bits of CommandDefinition::options).
enum OptionGroup : unsigned {
    PluginOptions = 1u << 0,        // --plugin
    DeviceOptions = 1u << 1,        // --device --line
    TransactionOptions = 1u << 2,   // --station --retry --delay --timeout
    LinkOptions = 1u << 3,          // --trace --pcap --echo --no-gap --rs485
    SimulatedLineOptions = 1u << 4, // --stations --line-echo --fault --motion --line
    TypeOptions = 1u << 5,          // --type
    ReadOptions = 1u << 6,          // --count (elements) --hex
    PollOptions = 1u << 7,          // --elements --hex --count (rounds) --interval
    ScanOptions = 1u << 8,          // --ids --lines --probe
    MonitorOptions = 1u << 9,       // --raw --pcap
    EveryCommand = ~0u,             // --json
};

// What a command's arguments address, and how they are checked before it runs.
enum class Addresses {
    None,
    Read,  // every argument is an address to read
    Write, // the first is the address to write, the values follow
};

// What a command needs before its handler runs.
enum class Needs {
    Nothing, // the handler sets up what it uses
    Driver,  // the plug-in loaded
    Line,    // the plug-in and an open port (a simulated line without --device)
};

struct CommandDefinition {
    const char* name;
    const char* synopsis;    // its arguments, for the help
    const char* summary;     // one line in 'drvctl --help'
    const char* description; // 'drvctl COMMAND --help'
    unsigned options;        // OptionGroup bits
    int minArguments;
    int maxArguments;     // -1: no limit
    Addresses addresses;
    Needs needs;
    bool stopsOnCtrlC; // Ctrl-C ends it with what it has (a summary)
    bool inShell;
    int (Session::*run)(const Invocation&);
};

// The command of that name, or nullptr. "--version" names the version command.
const CommandDefinition* findCommand(const QString& name);
// Every command, in the order of the general help; ends with a null name.
const CommandDefinition* commandTable();

#endif
