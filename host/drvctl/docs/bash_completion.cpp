#include "drvctl/docs/bash_completion.h"

#include <QSet>
#include <QStringList>

namespace {

bool takesFileName(const OptionReference& option)
{
    return option.valueName == QLatin1String("path") || option.valueName == QLatin1String("file");
}

} // namespace

QString bashCompletion(const DrvctlReference& reference)
{
    QStringList commands;
    QString branches;
    QSet<QString> fileOptions;
    QSet<QString> valueOptions;
    for (const CommandReference& command : reference.commands) {
        commands << command.name;
        QStringList options;
        for (const OptionReference& option : command.options) {
            if (!option.shortName.isEmpty())
                options << QLatin1Char('-') + option.shortName;
            options << QStringLiteral("--") + option.name;
            if (takesFileName(option))
                fileOptions << QStringLiteral("--") + option.name;
            else if (!option.valueName.isEmpty())
                valueOptions << QStringLiteral("--") + option.name;
        }
        branches += QStringLiteral("        %1) options=\"%2\" ;;\n").arg(command.name, options.join(QLatin1Char(' ')));
    }
    QStringList files = fileOptions.values();
    QStringList values = valueOptions.values();
    files.sort();
    values.sort();

    return QStringLiteral(
               "# bash completion for drvctl, generated from its command table -*- shell-script -*-\n"
               "\n"
               "_drvctl()\n"
               "{\n"
               "    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]} options\n"
               "    if ((COMP_CWORD == 1)); then\n"
               "        COMPREPLY=($(compgen -W \"%1 --help --version\" -- \"$cur\"))\n"
               "        return\n"
               "    fi\n"
               "    case ${COMP_WORDS[1]} in\n"
               "%2"
               "        *) return ;;\n"
               "    esac\n"
               "    case $prev in\n"
               "        %3)\n"
               "            compopt -o filenames 2>/dev/null\n"
               "            COMPREPLY=($(compgen -f -- \"$cur\"))\n"
               "            return\n"
               "            ;;\n"
               "        %4) return ;;\n"
               "    esac\n"
               "    COMPREPLY=($(compgen -W \"$options\" -- \"$cur\"))\n"
               "}\n"
               "complete -F _drvctl drvctl\n")
        .arg(commands.join(QLatin1Char(' ')), branches, files.join(QLatin1Char('|')), values.join(QLatin1Char('|')));
}
