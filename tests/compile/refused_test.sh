#!/usr/bin/env bash
# Compiles a program that must not compile, and the same with RIGHT defined, which must:
#   refused_test.sh <root of the tree> <compiler> <file>
#
# The only error must be at the line that ends in "// refused". Without the compiler the test is skipped, but not
# under CI.
set -euo pipefail

root=$1
compiler=$2
file=$3

if ! command -v "$compiler" >/dev/null; then
  [ -z "${CI:-}" ] || exit 1
  exit 77
fi

compile() {
  "$compiler" -std=c++20 -fsyntax-only -Wall -Wextra -I"$root" "$@" "$file" 2>&1
}

compile -DRIGHT

if printed=$(compile); then
  echo "it compiled"
  exit 1
fi
errors=$(grep -E '(^|[: ])(fatal )?error: ' <<<"$printed")
line=$(grep -n '// refused$' "$file" | cut -d: -f1)
echo "$errors"
[ "$(wc -l <<<"$errors")" -eq 1 ]
grep -qE "^[^ ]*$(basename "$file"):$line:[0-9]+: error: " <<<"$errors"
