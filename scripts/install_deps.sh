#!/usr/bin/env bash
# Installs every Debian 12 package the build, the tests, the benchmarks and the
# host tool use, and any packages given as arguments. Safe to run again.
set -euo pipefail

packages=(
  build-essential cmake pkg-config
  qtbase5-dev libqt5sql5-sqlite
  libgtest-dev libgmock-dev googletest libbenchmark-dev
  libmodbus-dev
)
# Extra packages a suite asks for, e.g. clang for the fuzz build.
packages+=("$@")

missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || missing+=("$package")
done
if ((${#missing[@]})); then
  SUDO=""
  [ "$(id -u)" -eq 0 ] || SUDO="sudo"
  $SUDO apt-get update
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y --no-install-recommends "${missing[@]}"
fi
