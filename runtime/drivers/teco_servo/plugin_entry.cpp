// Entry points of the plug-in library. qt_plugin_instance (one root object,
// recreated after the host deletes it) comes from the class's plug-in metadata;
// CreateDriver and the Qt 4 verification text are ours.
#include "teco_servo/driver_teco_servo.h"

extern "C" Q_DECL_EXPORT DriverInterface* CreateDriver()
{
    return new DriverTecoServo();
}

// What Qt 4's plug-in loader compares with its own build, in the section where
// it looks for it.
__attribute__((section(".qtplugin"), used)) static const char qt_plugin_verification_data[] =
    "pattern=QT_PLUGIN_VERIFICATION_DATA\n"
    "version=4.8.6\n"
    "debug=false\n"
    "buildkey=arm linux g++-4 no-pkg-config";

extern "C" Q_DECL_EXPORT const char* qt_plugin_query_verification_data()
{
    return qt_plugin_verification_data;
}
