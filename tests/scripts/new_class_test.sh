#!/usr/bin/env bash
# One test of scripts/new-class, in the current folder: new_class_test.sh <case> <root of the tree>
#   [<library> <libraries of GoogleTest>...]
set -euo pipefail

case=$1 root=$2 library=${3:-}
shift $(($# < 3 ? $# : 3))
test_libraries=("$@")

fail() {
  printf '%s\n' "$@" >&2
  exit 1
}

# A copy of what the script reads and changes.
prepare() {
  rm -rf tree
  mkdir -p tree/docs tree/tests
  local name rooms
  rooms=$(sed -n 's/^set(ZT_ROOMS \(.*\))$/\1/p' "$root/CMakeLists.txt")
  for name in $rooms scripts zentova.h CMakeLists.txt .clang-format; do cp -R "$root/$name" tree; done
  for name in $rooms faults helpers hosts protocol structure; do cp -R "$root/tests/$name" tree/tests; done
  cp "$root/docs/rooms.dox" "$root/docs/rooms.svg" tree/docs
}

lay_out() {
  tree/scripts/new-class "$@" >out.txt 2>&1
}

# Each file of the class compiles, and what lists the classes with it; its test passes as that of a host's class
# would, against the library as it is built. The protocol and the lives of all classes are tested elsewhere.
lays_out_a_class_whose_test_passes() {
  lay_out objects ztGauge ztObject 'A level that tells of its changes' || fail "$(cat out.txt)"
  cd tree
  local language=(-std=c++20 -I. -D_GNU_SOURCE -fno-strict-aliasing -Wall -Wextra -Werror)
  "$CXX" "${language[@]}" -fsyntax-only -DZT_BUILDING_LIBRARY core/ztcore.cpp
  "$CC" -std=c11 -I. -fsyntax-only -Wall -Wextra -Werror tests/protocol/protocol.c
  "$CXX" "${language[@]}" objects/ztgauge.cpp tests/objects/ztgauge_test.cpp "$library" \
    -Wl,-rpath,"$(dirname -- "$library")" "${test_libraries[@]}" -o gauge_tests
  ./gauge_tests >../out.txt || fail "$(cat ../out.txt)"
  grep -q 'PASSED.* 3 tests' ../out.txt || fail "$(cat ../out.txt)"
  local check
  for check in includes layout picture; do
    "$PYTHON" -B "tests/structure/$check.py" || fail "$check"
  done
  grep -q '{.name = "ztGauge", ' tests/helpers/lives.cpp || fail "it has no life"
  grep -q ' ztGauge";' tests/core/process_test.cpp || fail "it is not in the order of all classes"
}

# expect_refused <message> <argument>...
expect_refused() {
  if lay_out "${@:2}"; then fail "it is taken: ${*:2}"; fi
  grep -qF -- "$1" out.txt || fail "not said: $1" "$(cat out.txt)"
  diff -r "$root/objects" tree/objects
  diff -r "$root/tests/protocol" tree/tests/protocol
}

refuses_what_does_not_fit() {
  expect_refused 'attic is none of the rooms' attic ztGauge ztObject 'A level'
  expect_refused 'a class of the library is like ztGauge' objects Gauge ztObject 'A level'
  expect_refused 'where a property type goes' objects ztLongPropertyType ztPropertyType 'A long integer'
  expect_refused 'ztRoot is declared in objects/ztroot.h' objects ztRoot ztObject 'A level'
  expect_refused 'ztNothing is no class of the library' objects ztGauge ztNothing 'A level'
  expect_refused 'ztObject is in objects, a later room than io' io ztGauge ztObject 'A level'
  expect_refused 'the description is one line' objects ztGauge ztObject ' '
  expect_refused 'usage: scripts/new-class ROOM CLASS PARENT DESCRIPTION' objects ztGauge ztObject
  # A module of another class that has the name of the file.
  expect_refused 'objects/ztroot.h exists' objects ztRooT ztObject 'A level'
}

prepare
"$case"
