#!/usr/bin/env bash
# What a user takes from the project, checked as the user takes it: the install
# into a staging prefix (moved after the install, so nothing may point back into
# the build), a second driver built against it with find_package and with
# pkg-config, the installed drvctl on its simulated line with the installed
# plug-in; and the Debian packages of scripts/package.sh for amd64, armhf and
# arm64: file lists, dependencies, lintian (no error, no warning), the amd64 ones
# installed with apt into a scratch Debian root and purged again
# (scripts/test_scratch_root.sh), the others unpacked with dpkg -x and their
# drvctl run under emulation. Prints "install: N passed, M failed" last.
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
cmake --build build/release -j"$(nproc)" --target tools teco_servo drvctl drvctl_manual > /dev/null

# Staging prefix.
check staging-install cmake --install build/release --prefix "$work/stage-built"
mv "$work/stage-built" "$work/stage"
check staging-find-package build_consumer "$work/stage" "$work/consumer-stage"
check staging-pkg-config build_consumer_with_pkg_config "$work/stage"
check staging-drvctl drvctl_session "$work/stage/bin/drvctl"
check staging-drvctl-uses-installed-plugin drvctl_without_plugin_fails "$work/stage/bin/drvctl" "$work/stage"
check staging-manual-and-completion test -s "$work/stage/share/man/man1/drvctl.1" -a \
  -s "$work/stage/share/bash-completion/completions/drvctl"

# Debian packages.
check packages-build bash scripts/package.sh
debs=$root/build/packages
headers=()
for header in runtime/drivers/interface/*.h runtime/drivers/tools/*.h; do
  headers+=("/usr/include/drivers/${header#runtime/drivers/}")
done
docs() { echo "/usr/share/doc/$1/changelog.gz" "/usr/share/doc/$1/copyright"; }

no_lintian_error_or_warning() { # DEB...
  local out; out=$(lintian --tag-display-limit 0 "$@" 2>&1)
  echo "$out"
  ! grep -qE '^[EW]: ' <<<"$out"
}

for arch in amd64 armhf arm64; do
  triplet=$(dpkg-architecture -a"$arch" -qDEB_HOST_MULTIARCH 2>/dev/null)
  lib=/usr/lib/$triplet
  # shellcheck disable=SC2046
  check "deb-files-runtime-$arch" file_list_is "$debs/libdrivertools1_1.0.0_$arch.deb" \
    "$lib/libdrivertools.so.1" "$lib/libdrivertools.so.1.0.0" $(docs libdrivertools1)
  # shellcheck disable=SC2046
  check "deb-files-dev-$arch" file_list_is "$debs/libdrivertools-dev_1.0.0_$arch.deb" "${headers[@]}" \
    "$lib/libdrivertools.so" "$lib/pkgconfig/drivertools.pc" \
    "$lib/cmake/DriverTools/DriverToolsConfig.cmake" "$lib/cmake/DriverTools/DriverToolsConfigVersion.cmake" \
    "$lib/cmake/DriverTools/DriverToolsTargets.cmake" "$lib/cmake/DriverTools/DriverToolsTargets-none.cmake" \
    $(docs libdrivertools-dev)
  # shellcheck disable=SC2046
  check "deb-files-plugin-$arch" file_list_is "$debs/teco-servo-driver_1.0.0_$arch.deb" \
    "$lib/drivers/libteco_servo.so" $(docs teco-servo-driver)
  # shellcheck disable=SC2046
  check "deb-files-drvctl-$arch" file_list_is "$debs/drvctl_1.0.0_$arch.deb" /usr/bin/drvctl \
    /usr/share/man/man1/drvctl.1.gz /usr/share/bash-completion/completions/drvctl \
    /usr/share/drvctl/maps/teco_servo.csv $(docs drvctl)
  check "deb-depends-runtime-$arch" depends_on "$debs/libdrivertools1_1.0.0_$arch.deb" libc6 libqt5core5a libqt5sql5
  check "deb-depends-plugin-$arch" depends_on "$debs/teco-servo-driver_1.0.0_$arch.deb" libdrivertools1 libqt5core5a
  check "deb-depends-drvctl-$arch" depends_on "$debs/drvctl_1.0.0_$arch.deb" teco-servo-driver libmodbus5 libqt5core5a \
    libqt5gui5 libqt5svg5 libedit2
  check "deb-lintian-$arch" no_lintian_error_or_warning "$debs"/*_1.0.0_"$arch".deb
done

# The amd64 packages installed with apt into a scratch Debian root, in a mount
# and PID namespace of their own.
scratch_root() {
  unshare --mount --pid --fork --kill-child bash scripts/test_scratch_root.sh "$debs" "$work/scratch-root" \
    | tee "$work/scratch-root.out"
  local counts; counts=$(tail -1 "$work/scratch-root.out")
  if [[ $counts =~ ([0-9]+)\ passed,\ ([0-9]+)\ failed ]]; then
    passed=$((passed + BASH_REMATCH[1])) failed=$((failed + BASH_REMATCH[2]))
  else
    echo "FAIL scratch-root (no summary)"; failed=$((failed + 1))
  fi
}
mkdir -p "$work/scratch-root"
scratch_root

# The armhf and arm64 packages, unpacked with dpkg -x, run under emulation in a
# PID namespace of their own (Qt and the C library from the sysroot).
export -f drvctl_session
for arch in armhf arm64; do
  case $arch in armhf) qemu_name=arm ;; arm64) qemu_name=aarch64 ;; esac
  scratch=$work/scratch-$arch
  mkdir -p "$scratch"
  for deb in "$debs"/*_1.0.0_"$arch".deb; do dpkg -x "$deb" "$scratch"; done
  qemu=$(command -v "qemu-$qemu_name-static" || command -v "qemu-$qemu_name")
  # The toolkit library lies in the unpacked tree, where the dynamic linker does not look.
  printf '#!/bin/sh\nexec %s -L %s -E LD_LIBRARY_PATH=%s %s "$@"\n' "$qemu" "$root/build/$arch-sysroot" \
    "$scratch/usr/lib/$(dpkg-architecture -a"$arch" -qDEB_HOST_MULTIARCH 2>/dev/null)" "$scratch/usr/bin/drvctl" \
    > "$work/drvctl-$arch"
  chmod +x "$work/drvctl-$arch"
  check "deb-scratch-drvctl-$arch" unshare --user --map-root-user --pid --fork --kill-child \
    bash -c 'drvctl_session "$0"' "$work/drvctl-$arch"
done

echo "install: $passed passed, $failed failed"
[ "$failed" -eq 0 ]
