# What other drivers build against: a CMake package, a pkg-config file, and the
# Debian packages made from the same install rules.
include(CMakePackageConfigHelpers)

install(EXPORT DriverToolsTargets NAMESPACE Drivers:: DESTINATION ${DRIVERS_INSTALL_CMAKEDIR}
        COMPONENT Development)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/DriverToolsConfig.cmake.in
  ${CMAKE_BINARY_DIR}/DriverToolsConfig.cmake INSTALL_DESTINATION ${DRIVERS_INSTALL_CMAKEDIR})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/DriverToolsConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/DriverToolsConfig.cmake ${CMAKE_BINARY_DIR}/DriverToolsConfigVersion.cmake
        DESTINATION ${DRIVERS_INSTALL_CMAKEDIR} COMPONENT Development)

# The prefix relative to the .pc file keeps an unpacked tree usable where it lies.
file(RELATIVE_PATH DRIVERS_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" DRIVERS_PC_TO_PREFIX "${DRIVERS_PC_TO_PREFIX}")
configure_file(${CMAKE_CURRENT_LIST_DIR}/drivertools.pc.in ${CMAKE_BINARY_DIR}/drivertools.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/drivertools.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT Development)

# Debian packages, one per component: cpack -G DEB in a build configured with
# CMAKE_INSTALL_PREFIX=/usr (scripts/package.sh does it for amd64 and armhf).
set(CPACK_PACKAGE_NAME drivertools)
set(CPACK_PACKAGE_VENDOR "Teco Servo driver developers")
set(CPACK_PACKAGE_CONTACT "Teco Servo driver developers <drivers@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Modbus RTU servo driver for the operator-panel runtime")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL Runtime Development Plugin Drvctl)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libdrivertools${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libdrivertools-dev)
set(CPACK_DEBIAN_PLUGIN_PACKAGE_NAME teco-servo-driver)
set(CPACK_DEBIAN_DRVCTL_PACKAGE_NAME drvctl)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DRVCTL_PACKAGE_SECTION utils)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "Shared toolkit of the operator-panel communication drivers")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "Headers, CMake package and pkg-config file of the driver toolkit")
set(CPACK_COMPONENT_PLUGIN_DESCRIPTION "Teco Servo Modbus RTU driver plug-in for the operator-panel runtime")
set(CPACK_COMPONENT_DRVCTL_DESCRIPTION "Runs the Teco Servo driver against a serial line or a simulated servo line")
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS Runtime)
set(CPACK_COMPONENT_PLUGIN_DEPENDS Runtime)
set(CPACK_COMPONENT_DRVCTL_DEPENDS Plugin)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "qtbase5-dev (>= 5.15)")

# Library dependencies come from dpkg-shlibdeps where this machine can read the
# binaries' architecture; a cross build is given the native build's lists
# (DRIVERS_DEB_<COMPONENT>_DEPENDS), the same package names in the same suite.
if(CMAKE_CROSSCOMPILING)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armhf)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS OFF)
  foreach(component RUNTIME PLUGIN DRVCTL)
    if(DRIVERS_DEB_${component}_DEPENDS)
      set(CPACK_DEBIAN_${component}_PACKAGE_DEPENDS "${DRIVERS_DEB_${component}_DEPENDS}")
    endif()
  endforeach()
else()
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  # The toolkit library of the Runtime package, for the packages that link it.
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR})
endif()
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

include(CPack)
