#!/usr/bin/env bash
# The whole test suite: installs what it needs, then builds and runs every test
# twice, once as a release build and once under AddressSanitizer and
# UndefinedBehaviorSanitizer (any report fails the run).
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install_deps.sh

jobs=$(nproc)
# Leak checking is off: the plug-in's root object lives until the process ends by design.
export ASAN_OPTIONS="detect_leaks=0:abort_on_error=1"
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
echo "All tests passed (release and sanitizer builds)."
