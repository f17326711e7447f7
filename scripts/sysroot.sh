#!/usr/bin/env bash
# Extracts the armhf libraries and headers the cross build links against into a
# sysroot folder (default build/armhf-sysroot), without installing anything into
# this machine. The mirror is the one this machine's apt configuration names.
# Kept between runs: delete the folder to fetch it again.
set -euo pipefail
cd "$(dirname "$0")/.."

sysroot=${1:-build/armhf-sysroot}
[ -f "$sysroot/.complete" ] && exit 0

mirror=$(apt-get indextargets --format '$(RELEASE) $(REPO_URI)' | awk '$1 == "bookworm" { print $2; exit }')
if [ -z "$mirror" ]; then
  echo "armhf_sysroot: no bookworm repository in this machine's apt configuration" >&2
  exit 1
fi

packages=libc6-dev,libstdc++-12-dev,qtbase5-dev,libqt5sql5-sqlite,libgtest-dev,libgmock-dev,libmodbus-dev,libbenchmark-dev
rm -rf "$sysroot"
mkdir -p "$(dirname "$sysroot")"
mmdebstrap --quiet --variant=extract --arch=armhf --include="$packages" \
  bookworm "$sysroot" "deb $mirror bookworm main" "deb $mirror bookworm-updates main"

# Absolute links point into this machine once the folder is used as a sysroot.
find "$sysroot" -type l -lname '/*' | while read -r link; do
  target=$(readlink "$link")
  ln -sfn "$(realpath -m --relative-to="$(dirname "$link")" "$sysroot$target")" "$link"
done
# qemu -L would hand the tests the sysroot's own device nodes and mounts.
rm -rf "${sysroot:?}"/{dev,tmp,proc,sys,run}
touch "$sysroot/.complete"
