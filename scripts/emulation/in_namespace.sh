#!/usr/bin/env bash
# Runs a command inside the user, PID and mount namespace that test_cross.sh
# makes, with qemu-user registered for ARCH (armhf or arm64) in a binfmt_misc of
# the namespace's own, so that the programs the tests start (drvctl, probes) run too.
#   unshare --user --map-root-user --pid --fork --mount --mount-proc \
#     bash scripts/emulation/in_namespace.sh ARCH SYSROOT COMMAND...
# Exit status 90: no private binfmt_misc here (Linux before 6.7).
set -euo pipefail
arch=$1 sysroot=$2; shift 2

# ELF header bytes that name the machine, and the mask over them, as binfmt_misc
# takes them: class (32/64-bit), little endian, executable or shared object, machine.
case $arch in
  armhf) # 32-bit, machine 40 (ARM)
    name=arm triplet=arm-linux-gnueabihf
    magic='\x7fELF\x01\x01\x01\x00\x00\x00\x00\x00\x00\x00\x00\x00\x02\x00\x28\x00' ;;
  arm64) # 64-bit, machine 183 (AArch64)
    name=aarch64 triplet=aarch64-linux-gnu
    magic='\x7fELF\x02\x01\x01\x00\x00\x00\x00\x00\x00\x00\x00\x00\x02\x00\xb7\x00' ;;
  *) echo "in_namespace: unknown architecture $arch" >&2; exit 2 ;;
esac
mask='\xff\xff\xff\xff\xff\xff\xff\x00\xff\xff\xff\xff\xff\xff\xff\xff\xfe\xff\xff\xff'
qemu=$(command -v "qemu-$name-static" || command -v "qemu-$name")
if ! mount -t binfmt_misc binfmt_misc /proc/sys/fs/binfmt_misc 2>/dev/null; then
  echo "in_namespace: this kernel ($(uname -r)) gives a user namespace no binfmt_misc of its own (Linux 6.7 or later does)" >&2
  exit 90
fi
# F opens qemu now, outside any chroot.
printf '%s' ":qemu-$name:M::$magic:$mask:$qemu:F" > /proc/sys/fs/binfmt_misc/register
export QEMU_LD_PREFIX=$sysroot
# qemu-aarch64 does not show Qt its compiled-in plug-in folder (the SQLite driver)
# under the prefix; named outright it is found on every architecture.
export QT_PLUGIN_PATH=$sysroot/usr/lib/$triplet/qt5/plugins
# Not exec: the namespace's first process ignores signals it has no handler for,
# so an emulated program there could not even abort.
"$@"
