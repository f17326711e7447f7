#ifndef DRVCTL_PLUGIN_LOADING_H
#define DRVCTL_PLUGIN_LOADING_H

#include <QString>

class DriverInterface;
class QPluginLoader;

// --plugin wins, then DRVCTL_PLUGIN, then the plug-in where the build and the
// install put it relative to drvctl.
QString choosePluginPath(const QString& fromOption);

// The driver behind the plug-in's root object, or nullptr with a readable error.
// The loader must outlive the driver.
DriverInterface* loadDriverPlugin(QPluginLoader& loader, const QString& path, QString* error);

#endif
