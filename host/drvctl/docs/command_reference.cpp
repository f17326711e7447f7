#include "drvctl/docs/command_reference.h"

#include "drvctl/command_table.h"
#include "drvctl/fault_switches.h"
#include "drvctl/invocation.h"

#include <QRegularExpression>
#include <QStringList>

namespace {

QString helpOf(const QStringList& arguments)
{
    Invocation invocation;
    QString text;
    parseCommandLine(arguments, &invocation, &text);
    return text;
}

QString joined(const QStringList& lines)
{
    return lines.join(QLatin1Char(' ')).simplified();
}

// The option list of a command's --help: "  --name <value>   description", the
// description wrapped onto lines indented past the names.
QList<OptionReference> optionsIn(const QString& help)
{
    static const QRegularExpression head(QStringLiteral(R"(^  (?:-(\w), )?--([\w-]+)(?: <([\w-]+)>)?(?:\s{2,}(.*))?$)"));
    QList<OptionReference> options;
    const QStringList lines = help.section(QStringLiteral("\nOptions:\n"), 1).split(QLatin1Char('\n'));
    QStringList description;
    for (const QString& line : lines) {
        if (line.trimmed().isEmpty())
            break;
        const QRegularExpressionMatch match = head.match(line);
        if (match.hasMatch()) {
            if (!options.isEmpty())
                options.last().description = joined(description);
            options.append({match.captured(2), match.captured(1), match.captured(3), QString()});
            description = QStringList{match.captured(4)};
        } else {
            description << line;
        }
    }
    if (!options.isEmpty())
        options.last().description = joined(description);
    return options;
}

} // namespace

DrvctlReference drvctlReference()
{
    DrvctlReference reference;
    const QString general = helpOf({QStringLiteral("drvctl"), QStringLiteral("--help")});
    reference.introduction = joined(general.section(QLatin1Char('\n'), 1).section(QStringLiteral("\n\n"), 0, 0).split(QLatin1Char('\n')));
    reference.exitStatus = joined(general.section(QStringLiteral("Exit status: "), 1).split(QLatin1Char('\n')));
    reference.faults = faultSwitchHelp();
    for (const CommandDefinition* definition = commandTable(); definition->name != nullptr; ++definition) {
        CommandReference command;
        command.name = QLatin1String(definition->name);
        command.synopsis = QLatin1String(definition->synopsis);
        command.summary = QLatin1String(definition->summary);
        command.description = QLatin1String(definition->description);
        command.inShell = definition->inShell;
        command.simulatedLine = (definition->options & SimulatedLineOptions) != 0;
        command.options = optionsIn(helpOf({QStringLiteral("drvctl"), command.name, QStringLiteral("--help")}));
        reference.commands.append(command);
    }
    return reference;
}
