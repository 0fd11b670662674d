#!/usr/bin/env bash
# The tests of the program that uses a class of a plugin; see common.sh. The plugin stands beside the program.
set -euo pipefail

# shellcheck source=tests/examples/common.sh
. "$(CDPATH='' cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)/common.sh"

plugin="$(dirname -- "$program")/gauge.so"

prints_what_is_expected() {
  run "$program" "$plugin" Gauge level raise levelChanged
  expect_status 0
  expect_output plugin_view_expected.txt
}

refuses_what_the_class_does_not_have() {
  run "$program" "$plugin" Engine level raise levelChanged
  expect_status 1
  run "$program" "$plugin" Gauge height raise levelChanged
  expect_status 1
  expect_line "ztObject_setInt - Error, class 'Gauge' has no property 'height'"
  run "$program" "$plugin" Gauge level clone levelChanged
  expect_status 1
  run "$program" "$plugin" Gauge
  expect_status 2
}

refuses_what_is_no_plugin() {
  run "$program" "$data" Gauge level raise levelChanged
  expect_status 1
  [ -s err.txt ] || fail "no message"
}

leaves_no_memory_in_use() {
  expect_nothing_in_use 0 "$plugin" Gauge level raise levelChanged
}

"$case"
