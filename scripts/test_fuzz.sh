#!/usr/bin/env bash
# The fuzz suite: a clang build (ASan + UBSan + libFuzzer) of every fuzz target,
# then their CTest tests: each target replays its kept corpus and makes a short
# run with a fixed seed and number of runs. Without clang it says so and exits
# 77 (skipped).
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install_deps.sh clang libclang-rt-14-dev
if ! command -v clang++ > /dev/null; then
  echo "clang++ not found"
  exit 77
fi

build=${FUZZ_BUILD_DIR:-build/fuzz}
export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}"
export UBSAN_OPTIONS="${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}"
CC=clang CXX=clang++ cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DDRIVERS_SANITIZE=ON \
  -DDRIVERS_BUILD_BENCH=OFF -DCMAKE_CXX_FLAGS=-fsanitize=fuzzer-no-link > /dev/null
cmake --build "$build" -j"$(nproc)" --target fuzzers
ctest --test-dir "$build" -L fuzz --output-on-failure -j"$(nproc)" --timeout 120
