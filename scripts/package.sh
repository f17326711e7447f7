#!/usr/bin/env bash
# Debian packages from debian/ with Debian's own tools (debhelper), into
# build/packages/: libdrivertools1, libdrivertools-dev, teco-servo-driver,
# drvctl and their -dbgsym debug packages, for each architecture named (default
# amd64 armhf arm64):
#   scripts/package.sh [ARCH...]
# armhf and arm64 are cross builds against the sysroot of scripts/sysroot.sh,
# whose own package database gives dpkg-shlibdeps their dependencies. Each build
# runs in a copy of the source tree (build/packages/ARCH), as dpkg-buildpackage
# writes next to the tree it builds; its log is build/packages/ARCH.log.
set -euo pipefail
cd "$(dirname "$0")/.."

architectures=("$@")
((${#architectures[@]})) || architectures=(amd64 armhf arm64)
native=$(dpkg --print-architecture)
tools=(debhelper dpkg-dev fakeroot)
for arch in "${architectures[@]}"; do
  case $arch in
    "$native") ;;
    armhf) tools+=(g++-arm-linux-gnueabihf qemu-user-static mmdebstrap) ;;
    arm64) tools+=(g++-aarch64-linux-gnu qemu-user-static mmdebstrap) ;;
    *) echo "package: no build for $arch (amd64, armhf, arm64)" >&2; exit 2 ;;
  esac
done
bash scripts/install_deps.sh "${tools[@]}"

out=$PWD/build/packages
mkdir -p "$out"
version=$(dpkg-parsechangelog -S Version)
for arch in "${architectures[@]}"; do
  rm -f "$out"/*_"$version"_"$arch".deb
  work=$out/$arch
  rm -rf "$work"
  mkdir -p "$work/src"
  tar -c --exclude=./build --exclude=./.git . | tar -x -C "$work/src"
  build=(dpkg-buildpackage -b -us -uc -j"$(nproc)" -Pnocheck)
  if [ "$arch" != "$native" ]; then
    sysroot=$PWD/build/$arch-sysroot
    bash scripts/sysroot.sh "$arch" "$sysroot"
    # -d: the build dependencies of that architecture are in the sysroot, not here.
    build+=(-a"$arch" -d)
    export DRIVERS_SYSROOT=$sysroot
  fi
  echo "package: $arch"
  # In batches first (a third of the time); file by file should two sources clash in
  # one batch (dpkg-buildpackage cleans the first attempt's build away).
  log=$out/$arch.log
  if ! (cd "$work/src" && DRIVERS_UNITY_BUILD=ON DEB_BUILD_OPTIONS=nocheck "${build[@]}") > "$log" 2>&1; then
    echo "package: the $arch build in batches failed; building file by file" >> "$log"
    (cd "$work/src" && DEB_BUILD_OPTIONS=nocheck "${build[@]}") >> "$log" 2>&1
  fi || {
    tail -30 "$log" >&2
    echo "package: the $arch build failed (log: $log)" >&2
    exit 1
  }
  mv "$work"/*.deb "$out"/
  rm -rf "$work"
done
ls -1 "$out"/*.deb
