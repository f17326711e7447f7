// The layout of drvctl's help texts, from the command and option tables.
#include "drvctl/command_help.h"
#include "drvctl/command_options.h"
#include "drvctl/command_table.h"
#include "drvctl/fault_switches.h"

namespace {

const char* const ExitCodesText =
    "Exit status: 0 success; 1 the driver reported a failure (its text is printed);\n"
    "2 bad command, option, address or value, or a command drvctl refuses because\n"
    "the driver would do something else than asked (see the README); 3 plug-in not\n"
    "loadable or device not openable.\n";

const char* const HelpText = "Show this help.";

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

} // namespace

QString generalHelp(bool shell)
{
    QString help = shell ? QStringLiteral("Commands of the shell, one a line (# starts a comment):\n")
                         : QStringLiteral("Usage: drvctl COMMAND [options] [arguments]\n"
                                          "Runs the Teco Servo driver plug-in against a serial line. Without --device it\n"
                                          "starts a simulated line of servos 1, 2 and 3 and talks to that.\n"
                                          "\n"
                                          "Commands:\n");
    for (const CommandDefinition* definition = commandTable(); definition->name != nullptr; ++definition) {
        if (shell && !definition->inShell)
            continue;
        const QString head = QStringLiteral("%1 %2").arg(QLatin1String(definition->name), QLatin1String(definition->synopsis));
        help += QStringLiteral("  %1 %2\n").arg(head, -24).arg(QLatin1String(definition->summary));
    }
    if (shell)
        return help + QStringLiteral("  %1 %2\n\n").arg(QStringLiteral("help"), -24).arg(QStringLiteral("this list"))
               + wrapped(QStringLiteral("'COMMAND --help' lists the options of a command. The options given to "
                                        "'drvctl shell' hold for every line; --station, --retry, --delay, --timeout, "
                                        "--trace and --json on a line hold for that line only."), 0)
               + QLatin1Char('\n');
    return help + QStringLiteral("\n'drvctl COMMAND --help' lists the options of a command; 'drvctl --version'\n"
                                 "prints the versions.\n\n")
           + QLatin1String(ExitCodesText);
}

QString commandHelp(const CommandDefinition& definition, const std::vector<const OptionDefinition*>& options,
                    bool shellLine)
{
    // Written here rather than by Qt, whose help needs a QCoreApplication (the
    // fuzzers and tests have none) and names the program's path.
    const QString usage = QStringLiteral("Usage: %1%2 [options] %3")
                              .arg(shellLine ? QString() : QStringLiteral("drvctl "), QLatin1String(definition.name),
                                   QLatin1String(definition.synopsis));
    QString help = QStringLiteral("%1\n%2\n\nOptions:\n").arg(usage.trimmed(), wrapped(QLatin1String(definition.description), 0));
    help += optionHelp(QStringLiteral("-h, --help"), QLatin1String(HelpText));
    for (const OptionDefinition* option : options) {
        if (shellLine && option->sessionWide)
            continue;
        const QString value = option->valueName ? QStringLiteral(" <%1>").arg(QLatin1String(option->valueName)) : QString();
        help += optionHelp(QStringLiteral("--%1%2").arg(QLatin1String(option->name), value), QLatin1String(option->description));
    }
    if (shellLine)
        return help + QLatin1Char('\n')
               + wrapped(QStringLiteral("On a line these hold for that line only; the options of the line and the "
                                        "driver (--device, --line, --echo, --pcap, --fault ...) go to 'drvctl shell' "
                                        "and hold for the whole session."), 0)
               + QLatin1Char('\n');
    if (definition.options & SimulatedLineOptions)
        help += QLatin1Char('\n') + faultSwitchHelp();
    return help + QLatin1Char('\n') + QLatin1String(ExitCodesText);
}
