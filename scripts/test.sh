#!/usr/bin/env bash
# The whole test suite: installs what it needs, then builds and runs every test
# twice, once as a release build and once under AddressSanitizer and
# UndefinedBehaviorSanitizer (any report fails the run).
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install_deps.sh

jobs=$(nproc)
# Leaks are checked; the suppressions name the few objects that live until the
# process ends by design.
export ASAN_OPTIONS="detect_leaks=1:abort_on_error=1"
export LSAN_OPTIONS="suppressions=$PWD/scripts/lsan_suppressions.txt:print_suppressions=0"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
export QT_QPA_PLATFORM=offscreen

run_suite() {
  local dir=$1; shift
  cmake -S . -B "$dir" -DDRIVERS_WERROR=ON "$@"
  cmake --build "$dir" -j"$jobs"
  ctest --test-dir "$dir" --output-on-failure -j"$jobs" --timeout 120
}

run_suite build/release -DCMAKE_BUILD_TYPE=Release
run_suite build/sanitize -DCMAKE_BUILD_TYPE=Debug -DDRIVERS_SANITIZE=ON -DDRIVERS_BUILD_BENCH=OFF
bash scripts/test_fuzz.sh  # fuzz targets (clang, libFuzzer): corpus replays and short bounded runs
echo "All tests passed (release, sanitizer and fuzz builds)."
