#ifndef DRVCTL_DOCS_BASH_COMPLETION_H
#define DRVCTL_DOCS_BASH_COMPLETION_H

#include "drvctl/docs/command_reference.h"

#include <QString>

// A bash completion script for drvctl: the commands first, then the options of
// the command given, file names after options that take a path or a file. It
// needs nothing of the bash-completion package.
QString bashCompletion(const DrvctlReference& reference);

#endif
