#ifndef DRVCTL_COMMAND_HELP_H
#define DRVCTL_COMMAND_HELP_H

#include <QString>
#include <vector>

struct CommandDefinition;
struct OptionDefinition;

// 'drvctl --help', or in the shell 'help': the commands it runs.
QString generalHelp(bool shell);
// 'drvctl COMMAND --help' with the options the command offers, in that order; a
// shell line's help also names the options that hold for the whole session.
QString commandHelp(const CommandDefinition& definition, const std::vector<const OptionDefinition*>& options,
                    bool shellLine);

#endif
