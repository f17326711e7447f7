#!/usr/bin/env bash
# Prints "SUITE: N passed, M failed" from the summary line of a ctest log.
set -euo pipefail
summary=$(grep -E '[0-9]+% tests passed, [0-9]+ tests? failed out of [0-9]+' "$2" | tail -1 || true)
if [ -z "$summary" ]; then
  echo "$1: no test summary (build or test run failed)"
  exit 0
fi
failed=$(sed -E 's/.* ([0-9]+) tests? failed out of ([0-9]+).*/\1/' <<<"$summary")
total=$(sed -E 's/.* ([0-9]+) tests? failed out of ([0-9]+).*/\2/' <<<"$summary")
echo "$1: $((total - failed)) passed, $failed failed"
