# What other drivers build against: a CMake package and a pkg-config file, both
# under the library folder (for the Debian packages /usr/lib/<triplet>, so that
# cross builds and side-by-side architectures find their own). debian/ makes the
# packages from these install rules.
include(CMakePackageConfigHelpers)

install(EXPORT DriverToolsTargets NAMESPACE Drivers:: DESTINATION ${DRIVERS_INSTALL_CMAKEDIR}
        COMPONENT Development)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/DriverToolsConfig.cmake.in
  ${CMAKE_BINARY_DIR}/DriverToolsConfig.cmake INSTALL_DESTINATION ${DRIVERS_INSTALL_CMAKEDIR})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/DriverToolsConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/DriverToolsConfig.cmake ${CMAKE_BINARY_DIR}/DriverToolsConfigVersion.cmake
        DESTINATION ${DRIVERS_INSTALL_CMAKEDIR} COMPONENT Development)

# The prefix relative to the .pc file keeps an unpacked tree usable where it lies;
# under /usr it is written as it is, which pkg-config's sysroot option (cross
# builds) can prefix.
if(DRIVERS_RELOCATABLE)
  file(RELATIVE_PATH DRIVERS_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
  string(REGEX REPLACE "/$" "" DRIVERS_PC_PREFIX "\${pcfiledir}/${DRIVERS_PC_PREFIX}")
else()
  set(DRIVERS_PC_PREFIX ${CMAKE_INSTALL_PREFIX})
endif()
configure_file(${CMAKE_CURRENT_LIST_DIR}/drivertools.pc.in ${CMAKE_BINARY_DIR}/drivertools.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/drivertools.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT Development)
