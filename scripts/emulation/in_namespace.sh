#!/usr/bin/env bash
# Runs a command inside the user, PID and mount namespace that test_armhf.sh
# makes, with qemu-arm registered in a binfmt_misc of the namespace's own, so
# that armhf programs the tests start (drvctl, probes) run too.
#   unshare --user --map-root-user --pid --fork --mount --mount-proc \
#     bash scripts/emulation/in_namespace.sh SYSROOT COMMAND...
# Exit status 90: no private binfmt_misc here (Linux before 6.7).
set -euo pipefail
sysroot=$1; shift

qemu=$(command -v qemu-arm-static || command -v qemu-arm)
if ! mount -t binfmt_misc binfmt_misc /proc/sys/fs/binfmt_misc 2>/dev/null; then
  echo "in_namespace: this kernel ($(uname -r)) gives a user namespace no binfmt_misc of its own (Linux 6.7 or later does)" >&2
  exit 90
fi
# ELF, 32-bit, little endian, machine 40 (ARM); F opens qemu now, outside any chroot.
printf '%s' ":qemu-arm:M::\x7fELF\x01\x01\x01\x00\x00\x00\x00\x00\x00\x00\x00\x00\x02\x00\x28\x00:\xff\xff\xff\xff\xff\xff\xff\x00\xff\xff\xff\xff\xff\xff\xff\xff\xfe\xff\xff\xff:$qemu:F" \
  > /proc/sys/fs/binfmt_misc/register
export QEMU_LD_PREFIX=$sysroot
# Not exec: the namespace's first process ignores signals it has no handler for,
# so an emulated program there could not even abort.
"$@"
