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
    const QString built = QStringLiteral(DRVCTL_DEFAULT_PLUGIN);
    if (QFileInfo::exists(built))
        return built;
    const QString beside = QCoreApplication::applicationDirPath() + QStringLiteral("/../lib/")
                           + QFileInfo(built).fileName();
    return QFileInfo::exists(beside) ? beside : built;
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
