#ifndef DRVCTL_DOCS_MANUAL_PAGE_H
#define DRVCTL_DOCS_MANUAL_PAGE_H

#include "drvctl/docs/command_reference.h"

#include <QString>
#include <QStringList>

// drvctl.1 in man(7) form: every command with its options, the faults of the
// simulated line, exit status, environment, files and examples.
// pluginPath: where the installed drvctl loads its plug-in from.
QString manualPage(const DrvctlReference& reference, const QString& version, const QString& pluginPath);

// The command lines of the EXAMPLES section, each as drvctl's words (without "drvctl").
QList<QStringList> manualPageExamples();

#endif
