#include "drvctl/plugin_loading.h"
#include "interface/driver_interface.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QPluginLoader>

QString choosePluginPath(const QString& fromOption)
{
    if (!fromOption.isEmpty())
        return fromOption;
    const QString fromEnvironment = qEnvironmentVariable("DRVCTL_PLUGIN");
    if (!fromEnvironment.isEmpty())
        return fromEnvironment;
    // Relative to drvctl itself, so that a build tree and an installed tree both work.
    return QCoreApplication::applicationDirPath() + QLatin1Char('/') + QStringLiteral(DRVCTL_DEFAULT_PLUGIN);
}

DriverInterface* loadDriverPlugin(QPluginLoader& loader, const QString& path, QString* error)
{
    if (!QFileInfo::exists(path)) {
        *error = QStringLiteral("cannot load plug-in %1: no such file").arg(path);
        return nullptr;
    }
    loader.setFileName(path);
    QObject* root = loader.instance();
    if (root == nullptr) {
        *error = QStringLiteral("cannot load plug-in %1: %2").arg(path, loader.errorString());
        return nullptr;
    }
    DriverInterface* driver = qobject_cast<DriverInterface*>(root);
    if (driver == nullptr) {
        *error = QStringLiteral("cannot load plug-in %1: it is not a driver (%2)").arg(path, QStringLiteral(DriverInterface_iid));
        return nullptr;
    }
    return driver;
}
