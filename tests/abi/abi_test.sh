#!/usr/bin/env bash
# One test of the binary interface, in the current folder: abi_test.sh <case> <library with debug information>
set -euo pipefail

library=$2
# shellcheck source=tests/abi/common.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/common.sh"

if ! command -v abidiff >/dev/null; then
  echo "not checked: no abidiff here"
  # Where changes are judged, a check that is not made is no success.
  [ -z "${CI:-}" ] || exit 1
  exit 77
fi

fail() {
  printf '%s\n' "$@" >&2
  exit 1
}

is_that_of_the_baseline() {
  compare "$baseline" present.abi || fail 'docs/abi.md tells which changes there may be, and what then is to do'
}

# refuses <what sed changes in the baseline> <what is said>
refuses() {
  sed "$1" "$baseline" >changed.abi
  if cmp -s "$baseline" changed.abi; then fail "the baseline has nothing to change"; fi
  if compare changed.abi present.abi >out.txt; then fail "not refused: $1"; fi
  grep -q "$2" out.txt || fail "not said: $2" "$(cat out.txt)"
}

misses_a_removed_function() {
  refuses 's/ztNewFromName/ztNewFromWord/g' 'Removed function'
}

misses_a_changed_type() {
  refuses "s/\(class-decl name='ztClassInfo' size-in-bits=\)'[0-9]*'/\1'64'/" "ztClassInfo"
}

takes_a_new_function() {
  sed '/name=.ztNewFromName. version/d; /mangled-name=.ztNewFromName./,/<.function-decl>/d' "$baseline" >changed.abi
  if cmp -s "$baseline" changed.abi; then fail "the baseline has nothing to change"; fi
  compare changed.abi present.abi
}

describe "$library" >present.abi
"$1"
