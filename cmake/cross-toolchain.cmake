# Cross build for the panels with Debian's cross compilers against an extracted
# Debian 12 sysroot of the same architecture (scripts/sysroot.sh makes one):
#   cmake -B build/arm64 -DCMAKE_TOOLCHAIN_FILE=cmake/cross-toolchain.cmake \
#         -DDRIVERS_TARGET_ARCH=arm64 -DDRIVERS_SYSROOT=$PWD/build/arm64-sysroot
# DRIVERS_TARGET_ARCH is a Debian architecture: armhf (32-bit ARM, hard float) or arm64.
foreach(setting DRIVERS_TARGET_ARCH DRIVERS_SYSROOT)
  if(NOT ${setting} AND DEFINED ENV{${setting}})
    set(${setting} $ENV{${setting}})
  endif()
  # try_compile projects read this file again and need the settings too.
  set(ENV{${setting}} "${${setting}}")
endforeach()

if(DRIVERS_TARGET_ARCH STREQUAL "armhf")
  set(CMAKE_SYSTEM_PROCESSOR arm)
  set(DRIVERS_TRIPLET arm-linux-gnueabihf)
  set(DRIVERS_QEMU_NAME arm)
  # GCC notes at every std::vector insert that GCC 7.1 changed how ARM passes
  # such arguments; everything here is built with a later GCC.
  set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)
elseif(DRIVERS_TARGET_ARCH STREQUAL "arm64")
  set(CMAKE_SYSTEM_PROCESSOR aarch64)
  set(DRIVERS_TRIPLET aarch64-linux-gnu)
  set(DRIVERS_QEMU_NAME aarch64)
else()
  message(FATAL_ERROR "DRIVERS_TARGET_ARCH must be armhf or arm64 (got '${DRIVERS_TARGET_ARCH}')")
endif()
set(CMAKE_SYSTEM_NAME Linux)
if(NOT IS_DIRECTORY "${DRIVERS_SYSROOT}/usr/lib/${DRIVERS_TRIPLET}")
  message(FATAL_ERROR "DRIVERS_SYSROOT must name a ${DRIVERS_TARGET_ARCH} sysroot (got '${DRIVERS_SYSROOT}')")
endif()

set(CMAKE_SYSROOT ${DRIVERS_SYSROOT})
set(CMAKE_C_COMPILER ${DRIVERS_TRIPLET}-gcc)
set(CMAKE_CXX_COMPILER ${DRIVERS_TRIPLET}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${DRIVERS_TRIPLET})

set(CMAKE_FIND_ROOT_PATH ${DRIVERS_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# This machine's pkg-config, reading the sysroot's .pc files (a Debian package
# build names a <triplet>-pkg-config that this machine may not have).
find_program(DRIVERS_PKG_CONFIG pkg-config REQUIRED)
set(PKG_CONFIG_EXECUTABLE ${DRIVERS_PKG_CONFIG} CACHE FILEPATH "pkg-config reading the sysroot" FORCE)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${DRIVERS_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR} "${DRIVERS_SYSROOT}/usr/lib/${DRIVERS_TRIPLET}/pkgconfig:${DRIVERS_SYSROOT}/usr/share/pkgconfig")

# Test discovery, ctest and the build's own generators run the programs under
# user-mode emulation. Qt's plug-in folder is named outright: qemu-aarch64 does
# not show Qt its compiled-in one under the prefix, and without its platform
# plug-in a QGuiApplication aborts.
find_program(DRIVERS_QEMU NAMES qemu-${DRIVERS_QEMU_NAME}-static qemu-${DRIVERS_QEMU_NAME})
find_program(DRIVERS_ENV env REQUIRED)
if(DRIVERS_QEMU)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${DRIVERS_ENV} QT_PLUGIN_PATH=${DRIVERS_SYSROOT}/usr/lib/${DRIVERS_TRIPLET}/qt5/plugins
      ${DRIVERS_QEMU} -L ${DRIVERS_SYSROOT})
endif()
