#include "drvctl/docs/command_reference.h"

#include "drvctl/command_help.h"
#include "drvctl/command_options.h"
#include "drvctl/command_table.h"
#include "drvctl/fault_switches.h"

#include <QStringList>

namespace {

QString joined(const QString& lines)
{
    return lines.simplified();
}

// The options a command offers, in the order of its --help, which also gives -h/--help.
QList<OptionReference> optionsOf(const CommandDefinition& definition)
{
    QList<OptionReference> options{{QStringLiteral("help"), QStringLiteral("h"), QString(), QStringLiteral("Show this help.")}};
    for (const OptionDefinition* option : optionsOffered(definition.options)) {
        const QStringList names = optionNames(*option); // "o|output": -o, --output
        options.append({names.last(), names.size() > 1 ? names.first() : QString(), QLatin1String(option->valueName),
                        joined(QLatin1String(option->description))});
    }
    return options;
}

} // namespace

DrvctlReference drvctlReference()
{
    DrvctlReference reference;
    const QString general = generalHelp(false);
    reference.introduction = joined(general.section(QLatin1Char('\n'), 1).section(QStringLiteral("\n\n"), 0, 0));
    reference.exitStatus = joined(general.section(QStringLiteral("Exit status: "), 1));
    reference.faults = faultSwitchHelp();
    for (const CommandDefinition* definition = commandTable(); definition->name != nullptr; ++definition) {
        CommandReference command;
        command.name = QLatin1String(definition->name);
        command.synopsis = QLatin1String(definition->synopsis);
        command.summary = QLatin1String(definition->summary);
        command.description = QLatin1String(definition->description);
        command.inShell = definition->inShell;
        command.options = optionsOf(*definition);
        reference.commands.append(command);
    }
    return reference;
}
