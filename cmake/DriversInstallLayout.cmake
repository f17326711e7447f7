# Where things go under the install prefix, relative to it.
#   headers:  include/drivers/<component>/, included as "<component>/<file>.h"
#   plug-ins: <libdir>/drivers/
set(DRIVERS_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/drivers)
set(DRIVERS_INSTALL_PLUGINDIR ${CMAKE_INSTALL_LIBDIR}/drivers)
set(DRIVERS_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/DriverTools)

# Installed programs and plug-ins find the toolkit library relative to
# themselves, so that a tree unpacked anywhere runs as it is; installed into the
# dynamic linker's own folders (the Debian packages) they need no search path.
if(NOT DRIVERS_RELOCATABLE)
  set(CMAKE_SKIP_INSTALL_RPATH ON)
endif()
file(RELATIVE_PATH DRIVERS_BIN_TO_LIB /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
file(RELATIVE_PATH DRIVERS_PLUGIN_TO_LIB /${DRIVERS_INSTALL_PLUGINDIR} /${CMAKE_INSTALL_LIBDIR})
file(RELATIVE_PATH DRIVERS_BIN_TO_PLUGIN /${CMAKE_INSTALL_BINDIR} /${DRIVERS_INSTALL_PLUGINDIR})
