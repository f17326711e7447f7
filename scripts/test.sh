#!/usr/bin/env bash
# The whole test suite: installs what it needs, then builds and runs every test
# as a release build, under AddressSanitizer and UndefinedBehaviorSanitizer (any
# report fails the run), as clang libFuzzer targets, and cross-built for armhf
# and arm64 under emulation; then checks the install tree and the Debian packages, and
# finally that this script itself fails when a suite fails.
#
#   scripts/test.sh           every suite (what CI runs)
#   scripts/test.sh --quick   the release suite alone, for the edit-build-test loop
#
# Every suite runs even when an earlier one failed; the last lines are each
# suite's counts and the total. The exit status is non-zero when any suite
# failed, did not build or did not run (a skipped suite counts as a failure
# where CI=true).
set -uo pipefail
cd "$(dirname "$0")/.." || exit 1

quick=false
case "${1:-}" in
  --quick) quick=true ;;
  "") ;;
  *) echo "usage: scripts/test.sh [--quick]" >&2; exit 2 ;;
esac

bash scripts/install_deps.sh || { echo "test.sh: the packages could not be installed" >&2; exit 1; }

jobs=$(nproc)
# Leaks are checked; the suppressions name the few objects that live until the
# process ends by design.
export ASAN_OPTIONS="detect_leaks=1:abort_on_error=1"
export LSAN_OPTIONS="suppressions=$PWD/scripts/lsan_suppressions.txt:print_suppressions=0"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
export QT_QPA_PLATFORM=offscreen
# One compiler cache for every build of every run, outside the tree: a run after
# the first compiles only what changed. Paths under the tree are hashed relative
# to it, so that clones in other folders share the cache too.
export CCACHE_DIR=${CCACHE_DIR:-${HOME:-$(getent passwd "$(id -u)" | cut -d: -f6)}/.cache/drivers-ccache}
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=true
export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache

# shellcheck source=scripts/suite_runner.sh
source scripts/suite_runner.sh

run_tests() { # BUILD_DIR
  # DRIVERS_CTEST_ARGS narrows the run for this script's own check; CI never sets it.
  # shellcheck disable=SC2086
  ctest --test-dir "$1" --output-on-failure -j"$jobs" --timeout 120 ${DRIVERS_CTEST_ARGS:-}
}

# File by file, as the edit-build-test loop builds.
release_suite() {
  cmake -S . -B build/release -DDRIVERS_WERROR=ON -DCMAKE_BUILD_TYPE=Release &&
    cmake --build build/release -j"$jobs" && run_tests build/release
}

sanitize_suite() {
  bash scripts/batched_build.sh build/sanitize -DDRIVERS_WERROR=ON -DCMAKE_BUILD_TYPE=Debug -DDRIVERS_SANITIZE=ON \
    -DDRIVERS_BUILD_BENCH=OFF && run_tests build/sanitize
}

run_suite release release_suite
if ! $quick; then
  run_suite sanitize sanitize_suite
  run_suite fuzz bash scripts/test_fuzz.sh
  run_suite armhf bash scripts/test_cross.sh armhf
  run_suite arm64 bash scripts/test_cross.sh arm64
  run_suite install bash scripts/test_install.sh
  run_suite test-script bash scripts/check_test_script.sh
fi
suite_summary
