#!/usr/bin/env bash
# Debian packages for amd64 (build/release) and armhf (build/armhf, the cross
# build of test_armhf.sh) into build/packages/: libdrivertools1, libdrivertools-dev,
# teco-servo-driver (the plug-in) and drvctl. Builds what is missing first.
# dpkg-shlibdeps cannot read this machine's view of armhf libraries, so the armhf
# packages take the library dependencies dpkg-shlibdeps found for their amd64
# twins: the same package names and versions in the same suite.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install_deps.sh dpkg-dev g++-arm-linux-gnueabihf qemu-user-static mmdebstrap
jobs=$(nproc)
targets=(--target tools teco_servo drvctl)
out=$PWD/build/packages
rm -rf "$out"
mkdir -p "$out"

[ -f build/release/CMakeCache.txt ] || cmake -S . -B build/release -DCMAKE_BUILD_TYPE=Release -DDRIVERS_WERROR=ON > /dev/null
cmake --build build/release -j"$jobs" "${targets[@]}"
(cd build/release && cpack -G DEB -B "$out/amd64" > /dev/null)

# Our own packages come from the component dependencies; keep only the others.
foreign_depends() {
  dpkg-deb -f "$1" Depends | tr ',' '\n' | sed 's/^ *//' | grep -v -E '^(libdrivertools|teco-servo-driver|drvctl)' \
    | paste -sd, | sed 's/,/, /g'
}
depends=()
for component in RUNTIME PLUGIN DRVCTL; do
  case $component in
    RUNTIME) package=libdrivertools1 ;;
    PLUGIN) package=teco-servo-driver ;;
    DRVCTL) package=drvctl ;;
  esac
  depends+=("-DDRIVERS_DEB_${component}_DEPENDS=$(foreign_depends "$out"/amd64/"${package}"_*.deb)")
done

sysroot=$PWD/build/armhf-sysroot
bash scripts/armhf_sysroot.sh "$sysroot"
if [ ! -f build/armhf/CMakeCache.txt ]; then
  cmake -S . -B build/armhf -DCMAKE_TOOLCHAIN_FILE=cmake/armhf-toolchain.cmake -DDRIVERS_ARMHF_SYSROOT="$sysroot" \
    -DCMAKE_BUILD_TYPE=Release -DDRIVERS_WERROR=ON -DDRIVERS_BUILD_BENCH=OFF > /dev/null
fi
cmake -B build/armhf "${depends[@]}" > /dev/null
cmake --build build/armhf -j"$jobs" "${targets[@]}"
(cd build/armhf && cpack -G DEB -B "$out/armhf" > /dev/null)

mv "$out"/amd64/*.deb "$out"/armhf/*.deb "$out"/
rm -rf "$out/amd64" "$out/armhf"
ls -1 "$out"
