#!/usr/bin/env bash
# The whole test suite: installs what it needs, then builds and runs every test
# three times, as a release build, under AddressSanitizer and
# UndefinedBehaviorSanitizer (any report fails the run), and cross-built for
# armhf under emulation; then checks the install tree and the Debian packages.
# Prints the pass counts of every suite at the end.
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

counts=()
run_suite() {
  local name=$1 dir=$2; shift 2
  cmake -S . -B "$dir" -DDRIVERS_WERROR=ON "$@"
  cmake --build "$dir" -j"$jobs"
  ctest --test-dir "$dir" --output-on-failure -j"$jobs" --timeout 120 2>&1 | tee "$dir/ctest.log"
  counts+=("$(bash scripts/ctest_counts.sh "$name" "$dir/ctest.log")")
}

run_suite release build/release -DCMAKE_BUILD_TYPE=Release
run_suite sanitize build/sanitize -DCMAKE_BUILD_TYPE=Debug -DDRIVERS_SANITIZE=ON -DDRIVERS_BUILD_BENCH=OFF

# Fuzz targets (clang, libFuzzer): corpus replays and short bounded runs.
bash scripts/test_fuzz.sh
counts+=("$(bash scripts/ctest_counts.sh fuzz build/fuzz/ctest.log)")

# armhf cross build, every test under qemu-arm; then install, CMake package and Debian packages.
bash scripts/test_armhf.sh && bash scripts/test_install.sh
counts+=("$(bash scripts/ctest_counts.sh armhf build/armhf/ctest.log)" "$(tail -1 build/install-test/summary.log)")

echo "All tests passed (release, sanitizer, fuzz and armhf builds; install and packages):"
printf '%s\n' "${counts[@]}"
printf '%s\n' "${counts[@]}" | awk '{ passed += $2; failed += $4 } END { print "total: " passed " passed, " failed " failed" }'
