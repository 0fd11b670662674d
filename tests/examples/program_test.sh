#!/usr/bin/env bash
# The tests of the examples that take no arguments; see common.sh. Their data is their own source.
set -euo pipefail

# shellcheck source=tests/examples/common.sh
. "$(CDPATH='' cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)/common.sh"

prints_what_is_expected() {
  run "$program"
  expect_status 0
  expect_output "$(basename -- "$program")_expected.txt"
}

takes_at_most_25_lines_of_code() {
  local lines
  lines=$(grep -cv '^ *//\|^ *$' "$data")
  if [ "$lines" -eq 0 ] || [ "$lines" -gt 25 ]; then fail "it has $lines lines"; fi
}

leaves_no_memory_in_use() {
  expect_nothing_in_use 0
}

"$case"
