// Loads the built plug-in the two ways a host does.
#include <QCoreApplication>
#include <QPluginLoader>
#include <QPointer>
#include <dlfcn.h>
#include <gtest/gtest.h>

#include "interface/driver_interface.h"
#include "support/scripted_port.h"

namespace {

// The library stays loaded for the whole run, as in a host.
template <typename F> F entryPoint(const char* name)
{
    static void* const handle = dlopen(TECO_SERVO_PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL);
    return handle ? reinterpret_cast<F>(dlsym(handle, name)) : nullptr;
}

} // namespace

TEST(PluginEntry, QtLoaderGivesDriverInterfaceOfRootObject)
{
    QPluginLoader loader(QStringLiteral(TECO_SERVO_PLUGIN_PATH));
    QObject* root = loader.instance();
    ASSERT_NE(root, nullptr) << loader.errorString().toStdString();
    DriverInterface* driver = qobject_cast<DriverInterface*>(root);
    ASSERT_NE(driver, nullptr);
    EXPECT_EQ(driver->getThisObject(), root);
    EXPECT_EQ(driver->name(), QStringLiteral("Teco Servo"));
    EXPECT_EQ(driver->vender(), QStringLiteral("Modbus"));
    EXPECT_EQ(driver->getVersionNumber(), QStringLiteral("1.0.0"));
    EXPECT_STREQ(root->metaObject()->className(), "DriverTecoServo");
    EXPECT_EQ(loader.metaData().value(QStringLiteral("IID")).toString(),
              QStringLiteral("com.marvilen.drivers.DriverInterface/1.1"));
}

TEST(PluginEntry, CreateDriverGivesIndependentObjects)
{
    auto create = entryPoint<DriverInterface* (*)()>("CreateDriver");
    ASSERT_NE(create, nullptr) << dlerror();
    DriverInterface* first = create();
    DriverInterface* second = create();
    ASSERT_NE(first, second);
    EXPECT_EQ(first->name(), QStringLiteral("Teco Servo"));
    ScriptedPort port;
    first->read(&port, CommunicatorCommand(QuadWord, 1, QStringLiteral("HR100")));
    EXPECT_TRUE(first->hasError());
    EXPECT_FALSE(second->hasError());
    delete first;
    delete second;
}

TEST(PluginEntry, RootObjectIsKeptUntilTheHostDeletesIt)
{
    auto instance = entryPoint<QObject* (*)()>("qt_plugin_instance");
    ASSERT_NE(instance, nullptr) << dlerror();
    QPointer<QObject> first = instance();
    ASSERT_FALSE(first.isNull());
    EXPECT_EQ(instance(), first.data());
    delete first.data();
    QObject* replacement = instance();
    ASSERT_NE(replacement, nullptr);
    EXPECT_NE(qobject_cast<DriverInterface*>(replacement), nullptr);
}

TEST(PluginEntry, Qt4VerificationTextIsExact)
{
    auto verification = entryPoint<const char* (*)()>("qt_plugin_query_verification_data");
    ASSERT_NE(verification, nullptr) << dlerror();
    EXPECT_STREQ(verification(),
                 "pattern=QT_PLUGIN_VERIFICATION_DATA\nversion=4.8.6\ndebug=false\n"
                 "buildkey=arm linux g++-4 no-pkg-config");
}
