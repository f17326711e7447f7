#!/usr/bin/env bash
# Extracts the Debian 12 libraries and headers a cross build links against into
# a sysroot folder, without installing anything into this machine:
#   scripts/sysroot.sh ARCH [FOLDER]     ARCH armhf or arm64; default build/ARCH-sysroot
# The mirror is the one this machine's apt configuration names. The folder also
# gets a dpkg database of the packages it holds (var/lib/dpkg), so that
# dpkg-shlibdeps computes the cross packages' dependencies from the sysroot's own
# libraries, symbols and shlibs files. Kept between runs: delete it to fetch again.
set -euo pipefail
cd "$(dirname "$0")/.."

arch=${1:?usage: scripts/sysroot.sh ARCH [FOLDER]}
sysroot=$(realpath -m "${2:-build/$arch-sysroot}")
packages=libc6-dev,libstdc++-12-dev,qtbase5-dev,libqt5sql5-sqlite,libqt5svg5-dev,libgtest-dev,libgmock-dev,libmodbus-dev,libbenchmark-dev,libedit-dev
# A sysroot made from another package list is made again.
[ "$(cat "$sysroot/.complete" 2>/dev/null)" = "$packages" ] && exit 0

mirror=$(bash scripts/debian_mirror.sh)

rm -rf "$sysroot"
mkdir -p "$(dirname "$sysroot")"
# The downloaded packages are kept for the database below and removed after it.
mmdebstrap --quiet --variant=extract --arch="$arch" --include="$packages" --skip=cleanup/apt/cache \
  bookworm "$sysroot" "deb $mirror bookworm main" "deb $mirror bookworm-updates main"

# Absolute links point into this machine once the folder is used as a sysroot.
find "$sysroot" -type l -lname '/*' | while read -r link; do
  target=$(readlink "$link")
  ln -sfn "$(realpath -m --relative-to="$(dirname "$link")" "$sysroot$target")" "$link"
done

# What dpkg would have recorded had it installed the packages. The file lists name
# the paths as this machine sees them (under the sysroot), since that is where
# dpkg-shlibdeps finds the libraries and asks which package holds them.
admin=$sysroot/var/lib/dpkg
rm -rf "$admin"
mkdir -p "$admin/info" "$admin/updates"
echo 1 > "$admin/info/format" # info files named package:arch for Multi-Arch: same
printf '%s\n' "$(dpkg --print-architecture)" "$arch" > "$admin/arch"
: > "$admin/status"
control=$(mktemp -d)
for deb in "$sysroot"/var/cache/apt/archives/*.deb; do
  package=$(dpkg-deb -f "$deb" Package)
  name=$package
  [ "$(dpkg-deb -f "$deb" Multi-Arch)" = same ] && name=$package:$(dpkg-deb -f "$deb" Architecture)
  dpkg-deb -f "$deb" | sed '/^Status:/d' | awk -v status="Status: install ok installed" \
    'NR == 2 { print status } { print }' >> "$admin/status"
  echo >> "$admin/status"
  dpkg-deb --fsys-tarfile "$deb" | tar -t | sed -e 's|^\./|/|' -e 's|/$||' -e '/^$/d' -e '/^\.$/d' \
    | sed "s|^|$sysroot|" > "$admin/info/$name.list"
  rm -rf "${control:?}"/*
  dpkg-deb -e "$deb" "$control"
  for file in symbols shlibs triggers; do
    [ -f "$control/$file" ] && cp "$control/$file" "$admin/info/$name.$file"
  done
done
rm -rf "$control" "$sysroot"/var/cache/apt/archives/*.deb
# qemu -L would hand the tests the sysroot's own device nodes and mounts.
rm -rf "${sysroot:?}"/{dev,tmp,proc,sys,run}
echo "$packages" > "$sysroot/.complete"
