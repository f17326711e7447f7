#!/usr/bin/env bash
# The armhf suite: cross build of everything against an extracted Debian armhf
# sysroot, then every test under qemu-arm, inside a user, PID and mount namespace
# of its own (nothing started there can signal a process outside it), with Qt's
# QProcess held to plain fork() (scripts/emulation/without_pidfd.c says why).
# Without binfmt_misc only the tests that start no other program can run: it
# runs those, says so last and exits 77 (skipped).
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install_deps.sh g++-arm-linux-gnueabihf qemu-user-static mmdebstrap
sysroot=$PWD/build/armhf-sysroot
bash scripts/armhf_sysroot.sh "$sysroot"

configure() {
  cmake -S . -B build/armhf -DCMAKE_TOOLCHAIN_FILE=cmake/armhf-toolchain.cmake -DDRIVERS_ARMHF_SYSROOT="$sysroot" \
    -DCMAKE_BUILD_TYPE=Release -DDRIVERS_WERROR=ON -DDRIVERS_BUILD_BENCH=OFF -DCMAKE_UNITY_BUILD="$1" > /dev/null
}
# Sources compiled in batches take half the time of the cross build. Should two
# files ever clash inside one batch (the same file-local name), it goes file by file.
configure ON
if ! cmake --build build/armhf -j"$(nproc)"; then
  echo "armhf: the batched build failed; building file by file" >&2
  configure OFF
  cmake --build build/armhf -j"$(nproc)"
fi
cc -O2 -Wall -Wextra -o build/armhf/without_pidfd scripts/emulation/without_pidfd.c

status=0
unshare --user --map-root-user --pid --fork --kill-child --mount --mount-proc \
  bash scripts/emulation/in_namespace.sh "$sysroot" build/armhf/without_pidfd \
  ctest --test-dir build/armhf --output-on-failure -j"$(nproc)" --timeout 300 || status=$?
if [ "$status" -eq 90 ]; then
  unshare --user --map-root-user --pid --fork --kill-child --mount --mount-proc \
    build/armhf/without_pidfd ctest --test-dir build/armhf --output-on-failure -j"$(nproc)" --timeout 300 \
    -E 'Drvctl|ProjectPaths' || exit 1
  echo "no binfmt_misc: only the tests that start no other program ran"
  exit 77
fi
exit "$status"
