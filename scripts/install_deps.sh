#!/usr/bin/env bash
# Installs every Debian 12 package the build, the tests, the benchmarks and the
# host tool use, and any further packages named as arguments. Safe to run again.
set -euo pipefail

packages=(
  build-essential cmake pkg-config ccache
  qtbase5-dev libqt5sql5-sqlite libqt5svg5-dev fonts-dejavu-core
  libgtest-dev libgmock-dev googletest libbenchmark-dev
  libmodbus-dev libedit-dev
  tshark valgrind
  "$@"
)

missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || missing+=("$package")
done
if ((${#missing[@]})); then
  SUDO=""
  [ "$(id -u)" -eq 0 ] || SUDO="sudo"
  # Other jobs on the machine may hold apt's lock for a while.
  $SUDO apt-get -o DPkg::Lock::Timeout=600 update
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get -o DPkg::Lock::Timeout=600 install -y --no-install-recommends "${missing[@]}"
fi
