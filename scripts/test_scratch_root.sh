#!/usr/bin/env bash
# The amd64 packages as a user installs them, in a scratch Debian 12 root:
#   unshare --mount --pid --fork --kill-child bash scripts/test_scratch_root.sh DEB_FOLDER WORK_FOLDER
# (test_install.sh runs it so; the mounts and every process die with the namespace).
# The root is a copy of a minimal system with a compiler, CMake and pkg-config
# (made once with mmdebstrap from the mirror this machine's apt configuration
# names, kept in build/scratch-root-base); apt installs the four packages from
# the local files and their dependencies from that mirror. Then drvctl runs a
# session on its simulated line, tests/install/ builds against the -dev package
# with find_package and with pkg-config, the completion completes, and purging
# the packages (and what apt installed for them) must leave the root as it was.
# Prints "PASS name"/"FAIL name" per step and "scratch-root: N passed, M failed" last.
set -uo pipefail
cd "$(dirname "$0")/.."
debs=$1 work=$2
base=$PWD/build/scratch-root-base
# Downloaded packages are kept for the next run (apt still fetches what is new).
archives=$PWD/build/scratch-root-archives
root=$work/root
passed=0 failed=0

check() { # NAME COMMAND...
  local name=$1; shift
  if "$@" > "$work/$name.log" 2>&1; then
    echo "PASS $name"; passed=$((passed + 1))
  else
    echo "FAIL $name"; sed 's/^/    /' "$work/$name.log" | tail -20; failed=$((failed + 1))
  fi
}

make_base() {
  [ -f "$base/.complete" ] && return 0
  local mirror; mirror=$(bash scripts/debian_mirror.sh) || return 1
  rm -rf "$base"
  mmdebstrap --quiet --variant=apt --include=build-essential,cmake,pkg-config \
    bookworm "$base" "deb $mirror bookworm main" "deb $mirror bookworm-updates main" && touch "$base/.complete"
}

# With the environment of a fresh login, not this script's (its compiler cache
# and sanitizer settings mean nothing in there).
in_root() {
  chroot "$root" env -i HOME=/root PATH=/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin LANG=C.UTF-8 \
    ${DEBIAN_FRONTEND:+DEBIAN_FRONTEND=$DEBIAN_FRONTEND} "$@"
}

# Every path of the root but the ones apt, dpkg and the kernel change on their own.
snapshot() {
  (cd "$root" && find . -xdev \( -path ./proc -o -path ./dev -o -path ./tmp -o -path ./var/cache -o -path ./var/lib/apt \
    -o -path ./var/lib/dpkg -o -path ./var/log -o -path ./run -o -path ./root \) -prune -o -print | sort) > "$1"
}

prepare_root() {
  rm -rf "$root"
  cp -a "$base" "$root" || return 1
  mount -t proc proc "$root/proc" &&
    mount -t devpts -o newinstance,ptmxmode=0666 devpts "$root/dev/pts" &&
    touch "$root/dev/ptmx" && mount --bind "$root/dev/pts/ptmx" "$root/dev/ptmx" &&
    mkdir -p "$archives" && mount --bind "$archives" "$root/var/cache/apt/archives" || return 1
  mkdir -p "$root/tmp/debs" "$root/tmp/consumer"
  cp "$debs"/{libdrivertools1,libdrivertools-dev,teco-servo-driver,drvctl}_*_amd64.deb "$root/tmp/debs/" &&
    cp tests/install/* "$root/tmp/consumer/" && snapshot "$work/before.list"
}

apt_install() {
  local packages=()
  for deb in "$root"/tmp/debs/*.deb; do packages+=("/tmp/debs/${deb##*/}"); done
  in_root apt-get update && DEBIAN_FRONTEND=noninteractive in_root apt-get install -y --no-install-recommends "${packages[@]}"
}

drvctl_version() {
  local out; out=$(in_root drvctl --version) || return 1
  echo "$out"
  grep -q "1.0.0" <<<"$out" && grep -q "/usr/lib/x86_64-linux-gnu/drivers/libteco_servo.so" <<<"$out"
}

drvctl_session() {
  in_root drvctl info | grep -qx 'name:           Teco Servo' || return 1
  local out
  out=$(printf 'write HR100 1234\nwrite HR100.3 1\nread HR100\n' | in_root drvctl shell) || return 1
  echo "$out"
  grep -q 'HR100 word\[1\]: 1242' <<<"$out"
}

consumer_find_package() {
  in_root sh -c 'cmake -S /tmp/consumer -B /tmp/consumer-build && cmake --build /tmp/consumer-build && /tmp/consumer-build/echo_driver'
}

consumer_pkg_config() {
  in_root sh -c 'g++ -std=c++17 -fPIC /tmp/consumer/echo_driver.cpp -o /tmp/echo_driver_pc $(pkg-config --cflags --libs drivertools) && /tmp/echo_driver_pc'
}

manual_and_completion() {
  [ -f "$root/usr/share/man/man1/drvctl.1.gz" ] || return 1
  local out
  out=$(in_root bash -c 'source /usr/share/bash-completion/completions/drvctl; COMP_WORDS=(drvctl sc); COMP_CWORD=1; _drvctl; echo "${COMPREPLY[*]}"')
  echo "$out"
  [ "$out" = scan ]
}

purge_leaves_nothing() {
  DEBIAN_FRONTEND=noninteractive in_root apt-get purge -y --autoremove drvctl teco-servo-driver libdrivertools-dev libdrivertools1 || return 1
  rm -rf "$root"/tmp/consumer-build "$root"/tmp/echo_driver_pc
  snapshot "$work/after.list"
  diff "$work/before.list" "$work/after.list"
}

check scratch-root-base make_base
check scratch-root-prepare prepare_root
check scratch-root-apt-install apt_install
check scratch-root-drvctl-version drvctl_version
check scratch-root-drvctl-session drvctl_session
check scratch-root-find-package consumer_find_package
check scratch-root-pkg-config consumer_pkg_config
check scratch-root-manual-and-completion manual_and_completion
check scratch-root-purge purge_leaves_nothing
echo "scratch-root: $passed passed, $failed failed"
[ "$failed" -eq 0 ]
