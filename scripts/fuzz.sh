#!/usr/bin/env bash
# A long fuzzing campaign: every fuzz target in turn, MINUTES in all (default 20)
# shared evenly, each starting from its kept corpus. Prints runs, coverage and
# findings per target; findings (crash, leak, timeout and out-of-memory inputs)
# are kept in build/fuzz-campaign/findings. Exits 1 when anything was found.
#   bash scripts/fuzz.sh [MINUTES]
set -euo pipefail
cd "$(dirname "$0")/.."

minutes=${1:-20}
build=${FUZZ_BUILD_DIR:-build/fuzz}
work=build/fuzz-campaign
bash scripts/install_deps.sh clang libclang-rt-14-dev
CC=clang CXX=clang++ cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DDRIVERS_SANITIZE=ON \
  -DDRIVERS_BUILD_BENCH=OFF -DCMAKE_CXX_FLAGS=-fsanitize=fuzzer-no-link > /dev/null
cmake --build "$build" -j"$(nproc)" --target fuzzers > /dev/null

targets=()
for corpus in fuzz/corpus/*/; do
  target=$(basename "$corpus")
  [ -x "$build/bin/$target" ] && targets+=("$target")
done
seconds=$(( minutes * 60 / ${#targets[@]} ))
(( seconds >= 1 )) || seconds=1  # 0 would mean no limit to libFuzzer
mkdir -p "$work/findings"
export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1}"

printf '%-24s %12s %8s %8s %9s\n' target runs cov features findings
total_runs=0
total_findings=0
for target in "${targets[@]}"; do
  mkdir -p "$work/corpus/$target"
  log="$work/$target.log"
  before=$(find "$work/findings" -name "$target-*" | wc -l)
  nice "$build/bin/$target" -max_total_time="$seconds" -timeout=10 -print_final_stats=1 \
    -artifact_prefix="$work/findings/$target-" "$work/corpus/$target" "fuzz/corpus/$target" > "$log" 2>&1 || true
  runs=$(awk '/stat::number_of_executed_units/ {print $2}' "$log")
  cov=$(grep -Eo 'cov: [0-9]+' "$log" | tail -1 | awk '{print $2}')
  ft=$(grep -Eo 'ft: [0-9]+' "$log" | tail -1 | awk '{print $2}')
  findings=$(( $(find "$work/findings" -name "$target-*" | wc -l) - before ))
  printf '%-24s %12s %8s %8s %9s\n' "$target" "${runs:-0}" "${cov:-?}" "${ft:-?}" "$findings"
  total_runs=$(( total_runs + ${runs:-0} ))
  total_findings=$(( total_findings + findings ))
done
printf '%-24s %12s %8s %8s %9s\n' all "$total_runs" "" "" "$total_findings"
[ "$total_findings" -eq 0 ]
