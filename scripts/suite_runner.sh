# shellcheck shell=bash
# Sourced by scripts/test.sh (and by its own check): runs test suites one after
# another, whatever the earlier ones did, keeps each suite's output in a log of
# its own, and turns the logs into the closing summary and the exit status.
#
# A suite is a command. Its exit status decides whether it passed; its counts
# come from the last ctest summary ("...% tests passed, M tests failed out of N")
# or "N passed, M failed" line in its output. Exit status 77 means the suite was
# skipped (its last line says why): a failure where CI=true, a note elsewhere.

suite_logs=${DRIVERS_TEST_LOGS:-build/logs}
suite_lines=()
suite_failures=0
suite_passed_tests=0
suite_failed_tests=0

# Prints "N M" (passed, failed) from the last summary line of a log, or nothing.
suite_counts() {
  local line
  line=$(grep -E '[0-9]+% tests passed, [0-9]+ tests? failed out of [0-9]+|[0-9]+ passed, [0-9]+ failed' "$1" | tail -1)
  if [[ $line =~ ([0-9]+)\ tests?\ failed\ out\ of\ ([0-9]+) ]]; then
    echo "$((BASH_REMATCH[2] - BASH_REMATCH[1])) ${BASH_REMATCH[1]}"
  elif [[ $line =~ ([0-9]+)\ passed,\ ([0-9]+)\ failed ]]; then
    echo "${BASH_REMATCH[1]} ${BASH_REMATCH[2]}"
  fi
}

# run_suite NAME COMMAND...: runs the command with its output shown and kept in
# $suite_logs/NAME.log (an earlier run's log is removed first, so that only this
# run's counts are read), then records the suite's summary line.
run_suite() {
  local name=$1 log="$suite_logs/$1.log" status counts line started=$SECONDS
  shift
  mkdir -p "$suite_logs"
  rm -f "$log"
  echo "=== suite $name: $*"
  "$@" 2>&1 | tee "$log"
  status=${PIPESTATUS[0]}
  counts=$(suite_counts "$log")
  if [ "$status" -eq 77 ]; then
    line="$name: skipped ($(tail -1 "$log"))"
    if [ "${CI:-}" = true ]; then
      line+=" - a failure in CI"
      suite_failures=$((suite_failures + 1))
    fi
  elif [ -z "$counts" ]; then
    line="$name: no test summary (exit status $status: the build or the test run failed)"
    suite_failures=$((suite_failures + 1))
  else
    read -r passed failed <<<"$counts"
    line="$name: $passed passed, $failed failed"
    suite_passed_tests=$((suite_passed_tests + passed))
    suite_failed_tests=$((suite_failed_tests + failed))
    if [ "$status" -ne 0 ] || [ "$failed" -ne 0 ]; then
      [ "$failed" -ne 0 ] || line+=" (exit status $status)"
      suite_failures=$((suite_failures + 1))
    fi
  fi
  suite_lines+=("$line ($((SECONDS - started)) s)")
}

# Prints every suite's line and the total as the last lines; returns non-zero
# when any suite failed, did not run, or was skipped in CI.
suite_summary() {
  echo
  if [ "$suite_failures" -eq 0 ]; then
    echo "All suites passed:"
  else
    echo "$suite_failures suite(s) failed:"
  fi
  printf '%s\n' "${suite_lines[@]}"
  echo "total: $suite_passed_tests passed, $suite_failed_tests failed"
  [ "$suite_failures" -eq 0 ]
}
