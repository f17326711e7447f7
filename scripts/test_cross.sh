#!/usr/bin/env bash
# The cross suites: scripts/test_cross.sh ARCH (armhf or arm64) cross builds
# everything against an extracted Debian sysroot of that architecture
# (build/ARCH-sysroot) into build/ARCH, then runs every test under qemu-user,
# inside a user, PID and mount namespace of its own (nothing started there can
# signal a process outside it), with Qt's QProcess held to plain fork()
# (scripts/emulation/without_pidfd.c says why). Without binfmt_misc only the
# tests that start no other program can run: it runs those, says so last and
# exits 77 (skipped).
set -euo pipefail
cd "$(dirname "$0")/.."

arch=${1:?usage: scripts/test_cross.sh armhf|arm64}
case $arch in
  armhf) compiler=g++-arm-linux-gnueabihf ;;
  arm64) compiler=g++-aarch64-linux-gnu ;;
  *) echo "test_cross: unknown architecture $arch (armhf or arm64)" >&2; exit 2 ;;
esac
bash scripts/install_deps.sh "$compiler" qemu-user-static mmdebstrap
sysroot=$PWD/build/$arch-sysroot
bash scripts/sysroot.sh "$arch" "$sysroot"
build=build/$arch

bash scripts/batched_build.sh "$build" -DCMAKE_TOOLCHAIN_FILE=cmake/cross-toolchain.cmake -DDRIVERS_TARGET_ARCH="$arch" \
  -DDRIVERS_SYSROOT="$sysroot" -DCMAKE_BUILD_TYPE=Release -DDRIVERS_WERROR=ON -DDRIVERS_BUILD_BENCH=OFF
cc -O2 -Wall -Wextra -o "$build/without_pidfd" scripts/emulation/without_pidfd.c

status=0
unshare --user --map-root-user --pid --fork --kill-child --mount --mount-proc \
  bash scripts/emulation/in_namespace.sh "$arch" "$sysroot" "$build/without_pidfd" \
  ctest --test-dir "$build" --output-on-failure -j"$(nproc)" --timeout 300 || status=$?
if [ "$status" -eq 90 ]; then
  unshare --user --map-root-user --pid --fork --kill-child --mount --mount-proc \
    "$build/without_pidfd" ctest --test-dir "$build" --output-on-failure -j"$(nproc)" --timeout 300 \
    -E 'Drvctl|ProjectPaths' || exit 1
  echo "no binfmt_misc: only the tests that start no other program ran"
  exit 77
fi
exit "$status"
