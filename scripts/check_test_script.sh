#!/usr/bin/env bash
# Checks that scripts/test.sh cannot pass on a failure. First the suite runner
# with stand-in suites (each with a passing log left by an earlier run: a
# failure before passing suites, a non-zero exit with clean counts, no summary
# at all, a skip in and out of CI); then the real script in its quick form, once with the canary
# test told to fail (DRIVERS_CANARY=fail) and once without.
# Prints "test-script: N passed, M failed" last.
set -uo pipefail
cd "$(dirname "$0")/.."
work=build/test-script-check
rm -rf "$work"
mkdir -p "$work"
passed=0 failed=0

expect() { # NAME EXPECTED_STATUS EXPECTED_LAST_LINE ACTUAL_STATUS OUTPUT
  local last; last=$(tail -1 <<<"$5")
  if [ "$4" -eq "$2" ] && [ "$last" = "$3" ]; then
    echo "PASS $1"; passed=$((passed + 1))
  else
    echo "FAIL $1: exit $4 (expected $2), last line '$last' (expected '$3')"
    sed 's/^/    /' <<<"$5"
    failed=$((failed + 1))
  fi
}

# Stand-in suites.
passes() { echo "100% tests passed, 0 tests failed out of 3"; }
fails() { echo "67% tests passed, 1 tests failed out of 3"; return 8; }
exits_badly_after_clean_counts() { echo "install: 4 passed, 0 failed"; return 1; }
prints_nothing() { echo "Error: the build stopped"; return 0; }
skips() { echo "clang++ not found"; return 77; }

runner_case() { # NAME EXPECTED_STATUS EXPECTED_LAST_LINE CI SUITE...
  local name=$1 expected=$2 last=$3 ci=$4 output status
  shift 4
  output=$(
    export CI=$ci DRIVERS_TEST_LOGS="$work/$name"
    source scripts/suite_runner.sh
    mkdir -p "$suite_logs"
    # What an earlier run left behind must not count for this one.
    for suite in "$@"; do echo "100% tests passed, 0 tests failed out of 99" > "$suite_logs/$suite.log"; done
    for suite in "$@"; do run_suite "$suite" "$suite"; done
    suite_summary
  )
  status=$?
  expect "$name" "$expected" "$last" "$status" "$output"
}

runner_case all-pass 0 "total: 6 passed, 0 failed" "" passes passes
runner_case failure-before-passing-suites 1 "total: 5 passed, 1 failed" "" fails passes
runner_case non-zero-exit-with-clean-counts 1 "total: 7 passed, 0 failed" "" passes exits_badly_after_clean_counts
runner_case no-summary 1 "total: 3 passed, 0 failed" "" passes prints_nothing
runner_case skipped-outside-ci 0 "total: 3 passed, 0 failed" "" passes skips
runner_case skipped-in-ci 1 "total: 3 passed, 0 failed" true passes skips

# The real script, narrowed to the canary so that it takes seconds.
quick_run() { # CANARY
  DRIVERS_CANARY=$1 DRIVERS_TEST_LOGS="$work/quick" DRIVERS_CTEST_ARGS='-R ^TestScriptCanary$' \
    bash scripts/test.sh --quick 2>&1
}
output=$(quick_run fail); status=$?
expect quick-run-with-failing-canary 1 "total: 0 passed, 1 failed" "$status" "$output"
output=$(quick_run ""); status=$?
expect quick-run-all-passing 0 "total: 1 passed, 0 failed" "$status" "$output"

echo "test-script: $passed passed, $failed failed"
[ "$failed" -eq 0 ]
