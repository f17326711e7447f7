#ifndef DRVCTL_COMMAND_OPTIONS_H
#define DRVCTL_COMMAND_OPTIONS_H

#include <QString>
#include <QStringList>

#include <vector>

struct Invocation;

// One option of the command line: which commands offer it (OptionGroup bits of the
// command table), its name and value, its help and what it sets.
struct OptionDefinition {
    unsigned groups;
    const char* name; // "o|output": a one-letter alias, then the name
    const char* valueName; // nullptr: a switch
    const char* description;
    // Set once for a whole shell session (the driver, the line, the simulated
    // servos): a shell line may not give it.
    bool sessionWide;
    bool (*apply)(const QString& name, const QString& value, Invocation*, QString* error);
};

// Its names: the alias, if any, then the name (the last one).
QStringList optionNames(const OptionDefinition& option);

// The options a command offers (its OptionGroup bits), in the order of the help.
std::vector<const OptionDefinition*> optionsOffered(unsigned groups);

#endif
