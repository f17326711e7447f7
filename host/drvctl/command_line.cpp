// Command-line grammar of drvctl: one command first, then its options and
// arguments. Each command's option parser is built once and kept, so that a
// shell line costs one parse and no set-up.
#include "drvctl/command_table.h"
#include "drvctl/fault_switches.h"
#include "drvctl/invocation.h"
#include "drvctl/value_codec.h"

#include <QCommandLineParser>
#include <QHash>
#include <memory>
#include <vector>

namespace {

const char* const ExitCodesText =
    "Exit status: 0 success; 1 the driver reported a failure (its text is printed);\n"
    "2 bad command, option, address or value; 3 plug-in not loadable or device not openable.\n";

// The two options every command has.
const char* const HelpText = "Show this help.";
const char* const JsonText = "One JSON object per result or failure, for scripts.";

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

using Apply = bool (*)(const QString& name, const QString& value, Invocation*, QString* error);

struct OptionDefinition {
    unsigned groups; // the option groups that offer it
    const char* name;
    const char* valueName; // nullptr: a switch
    const char* description;
    Apply apply;
};

const OptionDefinition Options[] = {
    {PluginOptions, "plugin", "path", "Driver plug-in to load (also DRVCTL_PLUGIN).",
     [](const QString&, const QString& v, Invocation* i, QString*) { i->plugin = v; return true; }},
    {DeviceOptions, "device", "path", "Serial device; without it a simulated line is started.",
     [](const QString&, const QString& v, Invocation* i, QString*) { i->device = v; return true; }},
    {DeviceOptions | SimulatedLineOptions, "line", "settings",
     "TYPE,BAUD,PARITY,DATA,STOP (default: the driver's, RS485,9600,NONE,8,2); a simulated line answers only "
     "at these (simulate and monitor without it: at any).",
     [](const QString&, const QString& v, Invocation* i, QString*) { i->line = v; return true; }},
    {TransactionOptions, "station", "id", "Slave id, 0..255 (default: the driver's).",
     [](const QString& n, const QString& v, Invocation* i, QString* e) { return setNumber(n, v, 0, 255, &i->station, e); }},
    {TransactionOptions, "retry", "n", "Retries after a failed attempt, 0..100 (scan: 0).",
     [](const QString& n, const QString& v, Invocation* i, QString* e) { return setNumber(n, v, 0, 100, &i->retry, e); }},
    {TransactionOptions, "delay", "ms", "Pause before each attempt, 0..60000 ms.",
     [](const QString& n, const QString& v, Invocation* i, QString* e) { return setNumber(n, v, 0, 60000, &i->delay, e); }},
    {TransactionOptions, "timeout", "ms", "Receive time-out, 1..60000 ms (scan: 100).",
     [](const QString& n, const QString& v, Invocation* i, QString* e) { return setNumber(n, v, 1, 60000, &i->timeout, e); }},
    {LinkOptions, "trace", nullptr, "Print every frame sent and received to stderr.",
     [](const QString&, const QString&, Invocation* i, QString*) { i->trace = true; return true; }},
    {LinkOptions | MonitorOptions, "pcap", "file", "Save every frame to FILE for Wireshark (classic pcap, link type 147).",
     [](const QString&, const QString& v, Invocation* i, QString*) { i->pcapFile = v; return true; }},
    {LinkOptions, "echo", "mode",
     "Local echo of a 2-wire RS-485 adapter: auto (noticed and dropped), on (always dropped) or off. Default auto.",
     [](const QString& n, const QString& v, Invocation* i, QString* e) {
         if (v == QLatin1String("auto") || v == QLatin1String("on") || v == QLatin1String("off")) {
             i->echo = v;
             return true;
         }
         *e = QStringLiteral("bad value for --%1: %2 (auto, on or off)").arg(n, v);
         return false;
     }},
    {LinkOptions, "no-gap", nullptr, "Do not keep 3.5 characters of silence before each request.",
     [](const QString&, const QString&, Invocation* i, QString*) { i->gap = false; return true; }},
    {LinkOptions, "rs485", nullptr, "Fail unless the kernel's RS-485 mode can be switched on.",
     [](const QString&, const QString&, Invocation* i, QString*) { i->requireRs485 = true; return true; }},
    {TypeOptions, "type", "type", "bit, byte, word, dword, block or bitblock (default: from the address).",
     [](const QString& n, const QString& v, Invocation* i, QString* e) {
         if (dataTypeFromName(v, &i->dataType))
             return true;
         *e = QStringLiteral("bad value for --%1: %2 (bit, byte, word, dword, block or bitblock)").arg(n, v);
         return false;
     }},
    {ReadOptions, "count", "n", "Number of elements, 1..65536 (default 1).",
     [](const QString& n, const QString& v, Invocation* i, QString* e) { return setNumber(n, v, 1, 65536, &i->count, e); }},
    {PollOptions, "elements", "n", "Elements read from each address, 1..65536 (default 1).",
     [](const QString& n, const QString& v, Invocation* i, QString* e) { return setNumber(n, v, 1, 65536, &i->count, e); }},
    {ReadOptions | PollOptions, "hex", nullptr, "Show values in hex (text output only).",
     [](const QString&, const QString&, Invocation* i, QString*) { i->hex = true; return true; }},
    {PollOptions, "count", "n", "Stop after N rounds, 1..100000000 (default: at Ctrl-C).",
     [](const QString& n, const QString& v, Invocation* i, QString* e) { return setNumber(n, v, 1, 100000000, &i->rounds, e); }},
    {PollOptions, "interval", "ms", "Milliseconds between rounds, 10..3600000 (default 1000).",
     [](const QString& n, const QString& v, Invocation* i, QString* e) { return setNumber(n, v, 10, 3600000, &i->intervalMs, e); }},
    {ScanOptions, "ids", "list", "Station ids to probe, e.g. 1-10,20 (default 1-247).",
     [](const QString& n, const QString& v, Invocation* i, QString* e) { return setIdList(n, v, &i->scanIds, e); }},
    {ScanOptions, "lines", nullptr, "Try 9600..115200 baud, parity N/E/O and 1 or 2 stop bits, not only --line.",
     [](const QString&, const QString&, Invocation* i, QString*) { i->scanLines = true; return true; }},
    {ScanOptions, "probe", "address", "Read used as the probe (default HR1, which every servo has).",
     [](const QString&, const QString& v, Invocation* i, QString* e) {
         i->probe = v;
         return checkAddress(v, e);
     }},
    {MonitorOptions, "raw", nullptr, "Show every frame's bytes in hex as well.",
     [](const QString&, const QString&, Invocation* i, QString*) { i->raw = true; return true; }},
    {SimulatedLineOptions, "stations", "list", "Station ids of the simulated line, e.g. 1,2,3 or 1-5.",
     [](const QString& n, const QString& v, Invocation* i, QString* e) { return setIdList(n, v, &i->stations, e); }},
    {SimulatedLineOptions, "line-echo", nullptr, "The simulated line repeats every byte it hears.",
     [](const QString&, const QString&, Invocation* i, QString*) { i->lineEchoes = true; return true; }},
    {SimulatedLineOptions, "fault", "fault", "A simulated servo misbehaves: [STATION:]NAME[=VALUE] (list below).",
     [](const QString&, const QString& v, Invocation* i, QString* e) {
         FaultSwitch fault;
         if (!parseFaultSwitch(v, &fault, e))
             return false;
         i->faults << fault;
         return true;
     }},
    {SimulatedLineOptions, "motion", nullptr, "HR1300 ramps 0..3000 and back, HR1301 counts up, every 100 ms.",
     [](const QString&, const QString&, Invocation* i, QString*) { i->motion = true; return true; }},
    {MapOptions, "map", "file", "Register map (CSV): its parameter names go wherever an address goes (also DRVCTL_MAP).",
     [](const QString&, const QString& v, Invocation* i, QString*) { i->map = v; return true; }},
    {OutputOptions, "o|output", "file", "File to write.",
     [](const QString&, const QString& v, Invocation* i, QString*) { i->output = v; return true; }},
    {RestoreOptions, "force", nullptr, "Restore a set made with another map, by name.",
     [](const QString&, const QString&, Invocation* i, QString*) { i->force = true; return true; }},
    {RestoreOptions, "dry-run", nullptr, "Show what would be written and write nothing.",
     [](const QString&, const QString&, Invocation* i, QString*) { i->dryRun = true; return true; }},
    {DiffOptions, "all", nullptr, "Compare the read-only parameters too.",
     [](const QString&, const QString&, Invocation* i, QString*) { i->all = true; return true; }},
    {PollLogOptions, "csv", "file", "Log each round to FILE: a time, a column per address, the errors last.",
     [](const QString&, const QString& v, Invocation* i, QString*) { i->csvFile = v; return true; }},
    {PollLogOptions, "plot", "file", "Draw the rounds as a trend chart at the end (.png or .svg).",
     [](const QString&, const QString& v, Invocation* i, QString*) { i->plotFile = v; return true; }},
};

// Options a shell line may not change: they belong to the shell's driver and line.
constexpr unsigned WholeSessionOptions = PluginOptions | DeviceOptions | LinkOptions | SimulatedLineOptions | MapOptions;

// Words of text in lines of at most 79 columns, each after `indent` spaces but the first.
QString wrapped(const QString& text, int indent)
{
    QString result;
    int column = indent;
    for (const QString& word : text.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        if (column > indent && column + 1 + word.size() > 79) {
            result += QLatin1Char('\n') + QString(indent, QLatin1Char(' '));
            column = indent;
        } else if (column > indent) {
            result += QLatin1Char(' ');
            ++column;
        }
        result += word;
        column += word.size();
    }
    return result;
}

QString optionHelp(const QString& names, const QString& description)
{
    constexpr int Column = 26;
    const QString head = QStringLiteral("  ") + names;
    const QString gap = head.size() < Column ? QString(Column - head.size(), QLatin1Char(' '))
                                             : QLatin1Char('\n') + QString(Column, QLatin1Char(' '));
    return head + gap + wrapped(description, Column) + QLatin1Char('\n');
}

// One command's parser, built on first use and kept.
struct CommandGrammar {
    QCommandLineParser parser;
    std::vector<std::pair<const OptionDefinition*, QString>> options; // with the name to ask the parser for
    QHash<QString, const OptionDefinition*> byName;
    QString help;
};

CommandGrammar* grammarFor(const CommandDefinition& definition, bool shellLine)
{
    static std::vector<std::unique_ptr<CommandGrammar>> built;
    int index = 0;
    while (commandTable()[index].name != nullptr && &commandTable()[index] != &definition)
        ++index;
    const size_t slot = static_cast<size_t>(2 * index + (shellLine ? 1 : 0));
    if (built.size() <= slot)
        built.resize(slot + 1);
    if (built[slot])
        return built[slot].get();

    auto grammar = std::make_unique<CommandGrammar>();
    QCommandLineParser& parser = grammar->parser;
    parser.setApplicationDescription(QLatin1String(definition.description));
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    parser.addOption(QCommandLineOption({QStringLiteral("h"), QStringLiteral("help")}, QLatin1String(HelpText)));
    if (!shellLine)
        parser.addOption(QCommandLineOption(QStringLiteral("json"), QLatin1String(JsonText)));
    const unsigned groups = shellLine ? definition.options & ~WholeSessionOptions : definition.options;
    for (const OptionDefinition& option : Options) {
        if ((option.groups & groups) == 0)
            continue;
        // "o|output": a short alias before the name.
        const QStringList names = QString::fromLatin1(option.name).split(QLatin1Char('|'));
        const QString name = names.last();
        parser.addOption(option.valueName ? QCommandLineOption(names, QLatin1String(option.description), QLatin1String(option.valueName))
                                          : QCommandLineOption(names, QLatin1String(option.description)));
        grammar->options.emplace_back(&option, name);
        for (const QString& alias : names)
            grammar->byName.insert(alias, &option);
    }
    // Written here rather than by Qt, whose help needs a QCoreApplication (the
    // fuzzers and tests have none) and names the program's path.
    const QString usage = QStringLiteral("Usage: drvctl %1 [options] %2").arg(QLatin1String(definition.name), QLatin1String(definition.synopsis));
    QString help = QStringLiteral("%1\n%2\n\nOptions:\n").arg(usage.trimmed(), wrapped(QLatin1String(definition.description), 0));
    help += optionHelp(QStringLiteral("-h, --help"), QLatin1String(HelpText));
    if (!shellLine)
        help += optionHelp(QStringLiteral("--json"), QLatin1String(JsonText));
    for (const auto& option : grammar->options) {
        const QString value = option.first->valueName ? QStringLiteral(" <%1>").arg(QLatin1String(option.first->valueName)) : QString();
        const QString alias = QString::fromLatin1(option.first->name).contains(QLatin1Char('|'))
            ? QStringLiteral("-%1, ").arg(QString::fromLatin1(option.first->name).section(QLatin1Char('|'), 0, 0)) : QString();
        help += optionHelp(alias + QStringLiteral("--") + option.second + value, QLatin1String(option.first->description));
    }
    if (definition.options & SimulatedLineOptions)
        help += QLatin1Char('\n') + faultSwitchHelp();
    grammar->help = help + QLatin1Char('\n') + QLatin1String(ExitCodesText);
    built[slot] = std::move(grammar);
    return built[slot].get();
}

QString generalHelp()
{
    QString help = QStringLiteral(
        "Usage: drvctl COMMAND [options] [arguments]\n"
        "Runs the Teco Servo driver plug-in against a serial line. Without --device it\n"
        "starts a simulated line of servos 1, 2 and 3 and talks to that.\n"
        "\n"
        "Commands:\n");
    for (const CommandDefinition* definition = commandTable(); definition->name != nullptr; ++definition) {
        const QString head = QStringLiteral("%1 %2").arg(QLatin1String(definition->name), QLatin1String(definition->synopsis));
        help += QStringLiteral("  %1 %2\n").arg(head, -24).arg(QLatin1String(definition->summary));
    }
    return help + QStringLiteral("\n'drvctl COMMAND --help' lists the options of a command; 'drvctl --version'\n"
                                 "prints the versions.\n\n")
           + QLatin1String(ExitCodesText);
}

// --json given before a "--"? Known even when the rest of the line is wrong.
bool asksForJson(const QStringList& arguments)
{
    for (const QString& argument : arguments) {
        if (argument == QLatin1String("--"))
            return false;
        if (argument == QLatin1String("--json") || argument == QLatin1String("-json"))
            return true;
    }
    return false;
}

ParseOutcome parse(const QStringList& arguments, bool shellLine, const QString& map, Invocation* invocation, QString* text)
{
    if (!shellLine)
        invocation->json = asksForJson(arguments);
    const QString command = arguments.value(1);
    if (command.isEmpty() || command == QLatin1String("--help") || command == QLatin1String("-h")
        || command == QLatin1String("help")) {
        *text = generalHelp();
        return command.isEmpty() && !shellLine ? ParseOutcome::Error : ParseOutcome::Help;
    }
    const CommandDefinition* definition = findCommand(command);
    if (definition == nullptr) {
        *text = QStringLiteral("unknown command: %1").arg(command);
        return ParseOutcome::Error;
    }
    invocation->command = QLatin1String(definition->name); // known from here on, so errors can point to its help
    if (shellLine && !definition->inShell) {
        *text = QStringLiteral("%1 is not available in the shell").arg(command);
        return ParseOutcome::Error;
    }

    CommandGrammar& grammar = *grammarFor(*definition, shellLine);
    QStringList rest = arguments;
    rest.removeAt(1);
    if (!grammar.parser.parse(rest)) {
        *text = grammar.parser.errorText();
        return ParseOutcome::Error;
    }
    if (grammar.parser.isSet(QStringLiteral("help"))) {
        *text = grammar.help;
        return ParseOutcome::Help;
    }

    Invocation result;
    result.command = invocation->command;
    result.json = invocation->json;
    result.arguments = grammar.parser.positionalArguments();
    if (definition->options & MapOptions)
        result.map = shellLine ? map : qEnvironmentVariable("DRVCTL_MAP");
    QString simulatedLineOption; // one given, if any
    // Only the options given, in the order given; one given twice names all its values at once.
    QList<const OptionDefinition*> applied;
    for (const QString& name : grammar.parser.optionNames()) {
        const OptionDefinition* option = grammar.byName.value(name);
        if (option == nullptr || applied.contains(option))
            continue; // --json, or done already
        applied << option;
        if (option->groups == SimulatedLineOptions)
            simulatedLineOption = name;
        const QStringList values = option->valueName ? grammar.parser.values(name) : QStringList{QString()};
        for (const QString& value : values)
            if (!option->apply(name, value, &result, text))
                return ParseOutcome::Error;
    }

    if (!result.device.isEmpty() && !simulatedLineOption.isEmpty()) {
        *text = QStringLiteral("--%1 is for the simulated line, which --device replaces").arg(simulatedLineOption);
        return ParseOutcome::Error;
    }
    const int given = result.arguments.size();
    if (given < definition->minArguments || (definition->maxArguments >= 0 && given > definition->maxArguments)) {
        *text = QStringLiteral("%1 takes %2").arg(command, definition->synopsis[0] ? QLatin1String(definition->synopsis) : QStringLiteral("no arguments"));
        return ParseOutcome::Error;
    }
    const int addresses = definition->addressArguments < 0 ? given : std::min(definition->addressArguments, given);
    // With a map, the session tells names from addresses once the map is loaded.
    for (int i = 0; i < addresses && result.map.isEmpty(); ++i)
        if (!checkAddress(result.arguments[i], text))
            return ParseOutcome::Error;
    *invocation = result;
    return ParseOutcome::Run;
}

// White space separates words; no quoting, as no argument of drvctl holds a space.
QStringList shellWords(const QString& line)
{
    QStringList words{QStringLiteral("drvctl")};
    int start = -1;
    for (int i = 0; i <= line.size(); ++i) {
        const bool space = i == line.size() || line.at(i).isSpace();
        if (space && start >= 0) {
            words << line.mid(start, i - start);
            start = -1;
        } else if (!space && start < 0) {
            start = i;
        }
    }
    return words;
}

} // namespace

ParseOutcome parseCommandLine(const QStringList& arguments, Invocation* invocation, QString* text)
{
    return parse(arguments, false, QString(), invocation, text);
}

ParseOutcome parseShellLine(const QString& line, Invocation* invocation, QString* text, const QString& map)
{
    return parse(shellWords(line), true, map, invocation, text);
}
