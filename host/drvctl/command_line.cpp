// Command-line grammar of drvctl: one command first, then its options and
// arguments. Each command's option parser is built once and kept, so that a
// shell line costs one parse and no set-up.
#include "addresses/transfer_plan.h"
#include "drvctl/command_help.h"
#include "drvctl/command_options.h"
#include "drvctl/command_table.h"
#include "drvctl/invocation.h"
#include "port/network_endpoints.h"

#include <QCommandLineParser>
#include <QHash>
#include <memory>
#include <vector>

namespace {

// One command's parser, built on first use and kept.
struct CommandGrammar {
    QCommandLineParser parser;
    std::vector<const OptionDefinition*> options;
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
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    parser.addOption(QCommandLineOption(QStringList{QStringLiteral("h"), QStringLiteral("help")}));
    // Whole-session options are known to a shell line too, to be refused by name.
    grammar->options = optionsOffered(definition.options);
    for (const OptionDefinition* option : grammar->options) {
        const QStringList names = optionNames(*option);
        parser.addOption(option->valueName ? QCommandLineOption(names, QString(), QLatin1String(option->valueName))
                                           : QCommandLineOption(names));
        for (const QString& name : names)
            grammar->byName.insert(name, option);
    }
    grammar->help = commandHelp(definition, grammar->options, shellLine);
    built[slot] = std::move(grammar);
    return built[slot].get();
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

// Every address the command will read or write: checked and planned as it will run.
bool checkTransfers(const CommandDefinition& definition, const Invocation& request, QString* text)
{
    TransferPlan plan;
    // With a map the session tells names from addresses once the map is loaded, and
    // plans each address there the same way.
    switch (request.map.isEmpty() ? definition.addresses : Addresses::None) {
    case Addresses::None:
        break;
    case Addresses::Read:
        for (const QString& address : request.arguments)
            if (!planTransfer(address, request.dataType, request.count, Direction::Read, &plan, text))
                return false;
        break;
    case Addresses::Write:
        return planTransfer(request.arguments.constFirst(), request.dataType, request.arguments.size() - 1,
                            Direction::Write, &plan, text);
    }
    if ((definition.options & ScanOptions) == 0)
        return true;
    if (!planTransfer(request.probe, -1, 1, Direction::Read, &plan, text))
        return false;
    if (isDriverRegister(plan.address)) {
        *text = QStringLiteral("--probe %1: the driver answers HR60000..HR60010 itself, without the line, so every "
                               "station would seem to answer; probe a servo register such as HR1")
                    .arg(request.probe);
        return false;
    }
    return true;
}

// --fault names a station of the simulated line, or every one.
bool checkFaultStations(const Invocation& request, QString* text)
{
    for (const FaultSwitch& fault : request.faults) {
        if (fault.station == 0 || request.stations.contains(fault.station))
            continue;
        QStringList ids;
        for (int id : request.stations)
            ids << QString::number(id);
        *text = QStringLiteral("--fault names station %1, which is not on the simulated line (stations %2)")
                    .arg(fault.station)
                    .arg(ids.join(QStringLiteral(", ")));
        return false;
    }
    return true;
}

ParseOutcome parse(const QStringList& arguments, bool shellLine, const QString& map, Invocation* invocation,
                   QString* text)
{
    invocation->json = asksForJson(arguments);
    const QString command = arguments.value(1);
    if (command.isEmpty() || command == QLatin1String("--help") || command == QLatin1String("-h")
        || command == QLatin1String("help")) {
        *text = generalHelp(shellLine);
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
    result.arguments = grammar.parser.positionalArguments();
    if (definition->options & MapOptions) // --map, given below, wins
        result.map = shellLine ? map : qEnvironmentVariable("DRVCTL_MAP");
    QString simulatedLineOption; // one given, if any
    // Only the options given, in the order given; one given twice names all its values at once.
    QList<const OptionDefinition*> applied;
    for (const QString& name : grammar.parser.optionNames()) {
        const OptionDefinition* option = grammar.byName.value(name);
        if (option == nullptr || applied.contains(option))
            continue; // --help, or done already (by its name or its alias)
        applied << option;
        if (shellLine && option->sessionWide) {
            *text = QStringLiteral("--%1 holds for the whole session: give it to 'drvctl shell', not to a line").arg(name);
            return ParseOutcome::Error;
        }
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
    if (result.scanLines && isNetworkDevice(result.device)) {
        *text = QStringLiteral("--lines tries the settings of a local serial device; the line behind a device server "
                               "is set on the server (give it with --line)");
        return ParseOutcome::Error;
    }
    if (!checkFaultStations(result, text))
        return ParseOutcome::Error;
    const int given = result.arguments.size();
    if (given < definition->minArguments || (definition->maxArguments >= 0 && given > definition->maxArguments)) {
        *text = QStringLiteral("%1 takes %2").arg(command, definition->synopsis[0] ? QLatin1String(definition->synopsis) : QStringLiteral("no arguments"));
        return ParseOutcome::Error;
    }
    if (!checkTransfers(*definition, result, text))
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
