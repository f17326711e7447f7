# Cross build for the panel (32-bit ARM, hard float) with Debian's cross compiler
# against an extracted armhf sysroot (scripts/armhf_sysroot.sh makes one):
#   cmake -B build/armhf -DCMAKE_TOOLCHAIN_FILE=cmake/armhf-toolchain.cmake \
#         -DDRIVERS_ARMHF_SYSROOT=$PWD/build/armhf-sysroot
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)

if(NOT DRIVERS_ARMHF_SYSROOT AND DEFINED ENV{DRIVERS_ARMHF_SYSROOT})
  set(DRIVERS_ARMHF_SYSROOT $ENV{DRIVERS_ARMHF_SYSROOT})
endif()
if(NOT IS_DIRECTORY "${DRIVERS_ARMHF_SYSROOT}/usr/lib/arm-linux-gnueabihf")
  message(FATAL_ERROR "DRIVERS_ARMHF_SYSROOT must name an armhf sysroot (got '${DRIVERS_ARMHF_SYSROOT}')")
endif()
# try_compile projects read this file again and need the folder too.
set(ENV{DRIVERS_ARMHF_SYSROOT} ${DRIVERS_ARMHF_SYSROOT})

set(CMAKE_SYSROOT ${DRIVERS_ARMHF_SYSROOT})
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

set(CMAKE_FIND_ROOT_PATH ${DRIVERS_ARMHF_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(ENV{PKG_CONFIG_SYSROOT_DIR} ${DRIVERS_ARMHF_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR} "${DRIVERS_ARMHF_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig:${DRIVERS_ARMHF_SYSROOT}/usr/share/pkgconfig")

# Test discovery and ctest run the programs under user-mode emulation.
find_program(DRIVERS_QEMU_ARM NAMES qemu-arm-static qemu-arm)
if(DRIVERS_QEMU_ARM)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${DRIVERS_QEMU_ARM} -L ${DRIVERS_ARMHF_SYSROOT})
endif()
