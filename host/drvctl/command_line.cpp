// Command-line grammar of drvctl: one command first, then its options and arguments.
#include "drvctl/invocation.h"
#include "drvctl/value_codec.h"

#include <QCommandLineParser>
#include <QRegularExpression>
#include <algorithm>

namespace {

const char* const ExitCodesText =
    "Exit status: 0 success; 1 the driver reported a failure (its text is printed);\n"
    "2 bad command, option, address or value; 3 plug-in not loadable or device not openable.\n";

const char* const GeneralHelp =
    "Usage: drvctl COMMAND [options] [arguments]\n"
    "Runs the Teco Servo driver plug-in against a serial line. Without --device it\n"
    "starts a simulated line of servos 1, 2 and 3 and talks to that.\n"
    "\n"
    "Commands:\n"
    "  info                     identity, flags, block sizes and default settings\n"
    "  read ADDRESS             read values (--type, --count)\n"
    "  write ADDRESS VALUE...   write values (decimal or 0x hex; bits 0/1)\n"
    "  poll ADDRESS...          read again every --interval ms on one live line; Ctrl-C stops\n"
    "  simulate                 run the simulated servo line and print its device path\n"
    "  shell                    read info, read and write commands from stdin, one per line,\n"
    "                           on one driver and one line (the station list lives in the driver)\n"
    "\n"
    "'drvctl COMMAND --help' lists the options of a command.\n";

struct CommandDefinition {
    const char* name;
    const char* synopsis;
    const char* description;
    bool talksToServos;
    bool readsValues;
};

const CommandDefinition Commands[] = {
    {"info", "", "Prints the driver's identity, flags, block sizes and default settings.", false, false},
    {"read", "ADDRESS", "Reads --count values of --type from ADDRESS (e.g. HR100, DO5, HR100.3, HR200SW).", true, true},
    {"write", "ADDRESS VALUE...", "Writes the values to ADDRESS, one element each. Put -- before negative values.",
     true, false},
    {"poll", "ADDRESS...", "Reads every address again every --interval ms on one line until Ctrl-C.", true, true},
    {"simulate", "", "Runs the simulated servo line until Ctrl-C; the first line printed is its device path.",
     false, false},
    {"shell", "", "Runs info, read and write commands from stdin, one per line (# starts a comment), on one "
                  "driver and one line; options on a line apply to that line only.", true, false},
};

bool parseInt(const QString& text, int low, int high, int* value)
{
    bool ok = false;
    const qlonglong v = text.toLongLong(&ok, 10);
    if (!ok || v < low || v > high)
        return false;
    *value = static_cast<int>(v);
    return true;
}

QString commandHelp(const CommandDefinition& definition, const QCommandLineParser& parser)
{
    QString help = parser.helpText();
    // Qt prints its own "Usage:" line with the program's path; ours names the command.
    help.replace(QRegularExpression(QStringLiteral("^Usage: [^\\n]*")),
                 QStringLiteral("Usage: drvctl %1 [options] %2").arg(QLatin1String(definition.name), QLatin1String(definition.synopsis)));
    return help + QLatin1Char('\n') + QLatin1String(ExitCodesText);
}

} // namespace

ParseOutcome parseCommandLine(const QStringList& arguments, Invocation* invocation, QString* text)
{
    const QString command = arguments.value(1);
    if (command.isEmpty() || command == QLatin1String("--help") || command == QLatin1String("-h")
        || command == QLatin1String("help")) {
        *text = QLatin1String(GeneralHelp) + QLatin1Char('\n') + QLatin1String(ExitCodesText);
        return command.isEmpty() ? ParseOutcome::Error : ParseOutcome::Help;
    }
    const CommandDefinition* definition = nullptr;
    for (const CommandDefinition& candidate : Commands)
        if (command == QLatin1String(candidate.name))
            definition = &candidate;
    if (definition == nullptr) {
        *text = QStringLiteral("unknown command: %1").arg(command);
        return ParseOutcome::Error;
    }
    invocation->command = command; // known from here on, so errors can point to its help

    QCommandLineParser parser;
    parser.setApplicationDescription(QLatin1String(definition->description));
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Show this help."));
    const QCommandLineOption plugin(QStringLiteral("plugin"), QStringLiteral("Driver plug-in to load (also DRVCTL_PLUGIN)."), QStringLiteral("path"));
    const QCommandLineOption json(QStringLiteral("json"), QStringLiteral("One JSON object per result, for scripts."));
    const QCommandLineOption device(QStringLiteral("device"), QStringLiteral("Serial device; without it a simulated line is started."), QStringLiteral("path"));
    const QCommandLineOption line(QStringLiteral("line"), QStringLiteral("TYPE,BAUD,PARITY,DATA,STOP (default: the driver's, RS485,9600,NONE,8,2)."), QStringLiteral("settings"));
    const QCommandLineOption station(QStringLiteral("station"), QStringLiteral("Slave id, 0..255 (default: the driver's)."), QStringLiteral("id"));
    const QCommandLineOption retry(QStringLiteral("retry"), QStringLiteral("Retries after a failed attempt, 0..100."), QStringLiteral("n"));
    const QCommandLineOption delay(QStringLiteral("delay"), QStringLiteral("Pause before each attempt, 0..60000 ms."), QStringLiteral("ms"));
    const QCommandLineOption timeout(QStringLiteral("timeout"), QStringLiteral("Receive time-out, 1..60000 ms."), QStringLiteral("ms"));
    const QCommandLineOption trace(QStringLiteral("trace"), QStringLiteral("Print every frame sent and received to stderr."));
    const QCommandLineOption echo(QStringLiteral("echo"), QStringLiteral("Drop the local echo of each request (2-wire RS-485 adapters)."));
    const QCommandLineOption noGap(QStringLiteral("no-gap"), QStringLiteral("Do not keep 3.5 characters of silence before each request."));
    const QCommandLineOption rs485(QStringLiteral("rs485"), QStringLiteral("Fail unless the kernel's RS-485 mode can be switched on."));
    const QCommandLineOption type(QStringLiteral("type"), QStringLiteral("bit, byte, word, dword, block or bitblock (default: from the address)."), QStringLiteral("type"));
    const QCommandLineOption count(QStringLiteral("count"), QStringLiteral("Number of elements, 1..65536 (default 1)."), QStringLiteral("n"));
    const QCommandLineOption hex(QStringLiteral("hex"), QStringLiteral("Show values in hex (text output only)."));
    const QCommandLineOption interval(QStringLiteral("interval"), QStringLiteral("Milliseconds between reads, 10..3600000 (default 1000)."), QStringLiteral("ms"));
    const QCommandLineOption stations(QStringLiteral("stations"), QStringLiteral("Station ids of the simulated line, e.g. 1,2,3."), QStringLiteral("list"));
    const QCommandLineOption lineEcho(QStringLiteral("line-echo"), QStringLiteral("The simulated line repeats every byte it hears."));

    QStringList defined; // Qt warns about every option asked for that was never added
    const auto add = [&parser, &defined](const QCommandLineOption& o) {
        parser.addOption(o);
        defined << o.names().constLast();
    };
    add(help);
    add(json);
    if (QLatin1String(definition->name) != QLatin1String("simulate"))
        add(plugin);
    if (definition->talksToServos) {
        for (const QCommandLineOption* o : {&device, &line, &station, &retry, &delay, &timeout, &trace, &echo, &noGap, &rs485})
            add(*o);
    }
    if (definition->readsValues) {
        add(type);
        add(count);
        add(hex);
    } else if (QLatin1String(definition->name) == QLatin1String("write")) {
        add(type);
    }
    if (QLatin1String(definition->name) == QLatin1String("poll"))
        add(interval);
    if (definition->talksToServos || QLatin1String(definition->name) == QLatin1String("simulate")) {
        add(stations);
        add(lineEcho);
    }

    QStringList rest = arguments;
    rest.removeAt(1);
    if (!parser.parse(rest)) {
        *text = parser.errorText();
        return ParseOutcome::Error;
    }
    if (parser.isSet(help)) {
        *text = commandHelp(*definition, parser);
        return ParseOutcome::Help;
    }

    const auto isSet = [&parser, &defined](const QCommandLineOption& o) {
        return defined.contains(o.names().constLast()) && parser.isSet(o);
    };
    const auto valueOf = [&parser, &isSet](const QCommandLineOption& o) { return isSet(o) ? parser.value(o) : QString(); };

    Invocation result;
    result.command = command;
    result.arguments = parser.positionalArguments();
    result.json = isSet(json);
    result.plugin = valueOf(plugin);
    result.device = valueOf(device);
    result.line = valueOf(line);
    result.trace = isSet(trace);
    result.discardEcho = isSet(echo);
    result.gap = !isSet(noGap);
    result.requireRs485 = isSet(rs485);
    result.lineEchoes = isSet(lineEcho);
    result.hex = isSet(hex);

    const struct {
        const QCommandLineOption* option;
        int* target;
        int low, high;
    } numbers[] = {
        {&station, &result.station, 0, 255}, {&retry, &result.retry, 0, 100},
        {&delay, &result.delay, 0, 60000},   {&timeout, &result.timeout, 1, 60000},
        {&count, &result.count, 1, 65536},   {&interval, &result.intervalMs, 10, 3600000},
    };
    for (const auto& n : numbers) {
        if (isSet(*n.option) && !parseInt(valueOf(*n.option), n.low, n.high, n.target)) {
            *text = QStringLiteral("bad value for --%1: %2 (%3 to %4)")
                        .arg(n.option->names().constFirst(), valueOf(*n.option)).arg(n.low).arg(n.high);
            return ParseOutcome::Error;
        }
    }
    if (isSet(type) && !dataTypeFromName(valueOf(type), &result.dataType)) {
        *text = QStringLiteral("bad value for --type: %1 (bit, byte, word, dword, block or bitblock)").arg(valueOf(type));
        return ParseOutcome::Error;
    }
    if (isSet(stations)) {
        result.stations.clear();
        for (const QString& id : valueOf(stations).split(QLatin1Char(','))) {
            int value = 0;
            if (!parseInt(id.trimmed(), 1, 247, &value)) {
                *text = QStringLiteral("bad value for --stations: %1 (ids 1 to 247, comma-separated)").arg(valueOf(stations));
                return ParseOutcome::Error;
            }
            result.stations << value;
        }
    }

    const int given = result.arguments.size();
    const bool wantsOne = command == QLatin1String("read");
    const bool wantsNone = command == QLatin1String("info") || command == QLatin1String("simulate")
                           || command == QLatin1String("shell");
    if ((wantsOne && given != 1) || (wantsNone && given != 0) || (command == QLatin1String("write") && given < 2)
        || (command == QLatin1String("poll") && given < 1)) {
        *text = QStringLiteral("%1 takes %2").arg(command, definition->synopsis[0] ? QLatin1String(definition->synopsis) : QStringLiteral("no arguments"));
        return ParseOutcome::Error;
    }
    if (definition->talksToServos) {
        const int addresses = command == QLatin1String("write") ? std::min(1, given) : given;
        for (int i = 0; i < addresses; ++i)
            if (!checkAddress(result.arguments[i], text))
                return ParseOutcome::Error;
    }
    *invocation = result;
    return ParseOutcome::Run;
}
