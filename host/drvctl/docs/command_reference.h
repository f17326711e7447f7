#ifndef DRVCTL_DOCS_COMMAND_REFERENCE_H
#define DRVCTL_DOCS_COMMAND_REFERENCE_H

#include <QList>
#include <QString>

// What the manual page and the shell completion say about drvctl, read from its
// command and option tables and its general help, so that neither can drift from them.
struct OptionReference {
    QString name;        // without dashes: "count"
    QString shortName;   // "h" for -h, or empty
    QString valueName;   // empty for a switch
    QString description; // one line
};

struct CommandReference {
    QString name;
    QString synopsis; // its arguments
    QString summary;
    QString description;
    bool inShell = false;
    QList<OptionReference> options; // --help and --json included
};

struct DrvctlReference {
    QString introduction; // what drvctl does, from the general help
    QList<CommandReference> commands;
    QString exitStatus; // the help's own words
    QString faults;     // the --fault table as --help prints it
};

DrvctlReference drvctlReference();

#endif
