#!/usr/bin/env bash
# What a user takes from the project, checked as the user takes it: the install
# into a staging prefix (moved after the install, so nothing may point back into
# the build), a second driver built against it with find_package and with
# pkg-config, the installed drvctl on its simulated line with the installed
# plug-in, and the Debian packages of scripts/package.sh: file lists,
# dependencies, and the packages unpacked with dpkg -x into scratch roots and
# run from there (armhf under emulation). Prints "install: N passed, M failed" last.
set -uo pipefail
cd "$(dirname "$0")/.."
root=$PWD
work=$root/build/install-test
rm -rf "$work"
mkdir -p "$work"
passed=0 failed=0

check() { # NAME COMMAND...: one counted step, its output kept in the work folder
  local name=$1; shift
  if "$@" > "$work/$name.log" 2>&1; then
    echo "PASS $name"; passed=$((passed + 1))
  else
    echo "FAIL $name"; sed 's/^/    /' "$work/$name.log" | tail -20; failed=$((failed + 1))
  fi
}

build_consumer() { # PREFIX BUILD_DIR
  cmake -S tests/install -B "$2" -DCMAKE_PREFIX_PATH="$1" -DCMAKE_BUILD_TYPE=Release && cmake --build "$2" && "$2/echo_driver"
}

build_consumer_with_pkg_config() { # PREFIX
  local pc; pc=$(dirname "$(find "$1" -name drivertools.pc)")
  # shellcheck disable=SC2046
  g++ -std=c++17 -fPIC tests/install/echo_driver.cpp -o "$work/echo_driver_pc" \
      $(PKG_CONFIG_PATH=$pc pkg-config --cflags --libs drivertools) -Wl,-rpath,"$1/lib" && "$work/echo_driver_pc"
}

drvctl_session() { # DRVCTL: the servo driver answers on the simulated line
  "$1" info | grep -qx 'name:           Teco Servo' || return 1
  local out
  out=$(printf 'write HR100 1234\nwrite HR100.3 1\nread HR100\n' | "$1" shell) || return 1
  echo "$out"
  grep -q 'HR100 word\[1\]: 1242' <<<"$out"
}

drvctl_without_plugin_fails() { # DRVCTL: and it is the installed plug-in that it found
  local plugin; plugin=$(find "$2" -name libteco_servo.so)
  mv "$plugin" "$plugin.away"
  "$1" info; local status=$?
  mv "$plugin.away" "$plugin"
  [ "$status" -eq 3 ]
}

file_list_is() { # DEB EXPECTED_FILES...
  local deb=$1; shift
  diff <(dpkg-deb -c "$deb" | awk '$1 !~ /^d/ { print $6 }' | sed 's|^\./|/|' | sort) \
       <(printf '%s\n' "$@" | sort)
}

depends_on() { # DEB PACKAGE...
  local depends; depends=$(dpkg-deb -f "$1" Depends); shift
  echo "$depends"
  for package in "$@"; do grep -qE "(^|, )$package( |,|$)" <<<"$depends" || return 1; done
}

[ -f build/release/CMakeCache.txt ] || cmake -S . -B build/release -DCMAKE_BUILD_TYPE=Release -DDRIVERS_WERROR=ON > /dev/null
cmake --build build/release -j"$(nproc)" --target tools teco_servo drvctl > /dev/null

# Staging prefix.
check staging-install cmake --install build/release --prefix "$work/stage-built"
mv "$work/stage-built" "$work/stage"
check staging-find-package build_consumer "$work/stage" "$work/consumer-stage"
check staging-pkg-config build_consumer_with_pkg_config "$work/stage"
check staging-drvctl drvctl_session "$work/stage/bin/drvctl"
check staging-drvctl-uses-installed-plugin drvctl_without_plugin_fails "$work/stage/bin/drvctl" "$work/stage"

# Debian packages.
check packages-build bash scripts/package.sh
debs=$root/build/packages
headers=()
for header in runtime/drivers/interface/*.h runtime/drivers/tools/*.h; do
  headers+=("/usr/include/drivers/${header#runtime/drivers/}")
done
for arch in amd64 armhf; do
  check "deb-files-runtime-$arch" file_list_is "$debs/libdrivertools1_1.0.0_$arch.deb" \
    /usr/lib/libdrivertools.so.1 /usr/lib/libdrivertools.so.1.0.0
  check "deb-files-dev-$arch" file_list_is "$debs/libdrivertools-dev_1.0.0_$arch.deb" "${headers[@]}" \
    /usr/lib/libdrivertools.so /usr/lib/pkgconfig/drivertools.pc \
    /usr/lib/cmake/DriverTools/DriverToolsConfig.cmake /usr/lib/cmake/DriverTools/DriverToolsConfigVersion.cmake \
    /usr/lib/cmake/DriverTools/DriverToolsTargets.cmake /usr/lib/cmake/DriverTools/DriverToolsTargets-release.cmake
  check "deb-files-plugin-$arch" file_list_is "$debs/teco-servo-driver_1.0.0_$arch.deb" /usr/lib/drivers/libteco_servo.so
  check "deb-files-drvctl-$arch" file_list_is "$debs/drvctl_1.0.0_$arch.deb" /usr/bin/drvctl
  check "deb-depends-runtime-$arch" depends_on "$debs/libdrivertools1_1.0.0_$arch.deb" libc6 libqt5core5a libqt5sql5
  check "deb-depends-plugin-$arch" depends_on "$debs/teco-servo-driver_1.0.0_$arch.deb" libdrivertools1 libqt5core5a
  check "deb-depends-drvctl-$arch" depends_on "$debs/drvctl_1.0.0_$arch.deb" teco-servo-driver libmodbus5 libqt5core5a
done
scratch=$work/scratch
mkdir -p "$scratch"
for deb in "$debs"/*_amd64.deb; do dpkg -x "$deb" "$scratch"; done
check deb-scratch-drvctl drvctl_session "$scratch/usr/bin/drvctl"
check deb-scratch-find-package build_consumer "$scratch/usr" "$work/consumer-deb"

# The armhf packages, unpacked the same way, run under emulation in a PID
# namespace of their own (Qt and the C library from the armhf sysroot).
scratch_armhf=$work/scratch-armhf
mkdir -p "$scratch_armhf"
for deb in "$debs"/*_armhf.deb; do dpkg -x "$deb" "$scratch_armhf"; done
qemu=$(command -v qemu-arm-static || command -v qemu-arm)
printf '#!/bin/sh\nexec %s -L %s %s "$@"\n' "$qemu" "$root/build/armhf-sysroot" "$scratch_armhf/usr/bin/drvctl" \
  > "$work/drvctl-armhf"
chmod +x "$work/drvctl-armhf"
export -f drvctl_session
check deb-scratch-drvctl-armhf unshare --user --map-root-user --pid --fork --kill-child \
  bash -c 'drvctl_session "$0"' "$work/drvctl-armhf"

echo "install: $passed passed, $failed failed"
[ "$failed" -eq 0 ]
