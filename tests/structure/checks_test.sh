#!/usr/bin/env bash
# One test of the structure checks, in the current folder: checks_test.sh <case> <root of the tree> <python>
set -euo pipefail

case=$1 root=$2 python=$3

fail() {
  printf '%s\n' "$@" >&2
  exit 1
}

# A tree of the checks and one source.
prepare() {
  rm -rf tree bin
  mkdir -p tree/tests tree/core tree/fuzz/corpus/inputs bin
  cp -R "$root/tests/structure" tree/tests
  cp "$root/CMakeLists.txt" "$root/.clang-format" tree
  echo 'int one;' >tree/core/one.cpp
  echo '[]' >compile_commands.json
}

# Python itself may be a script that needs other commands.
within_bin='
import os, runpy, sys
os.environ["PATH"] = os.path.abspath("bin")
del sys.argv[0]
sys.path.insert(0, os.path.dirname(sys.argv[0]))
runpy.run_path(sys.argv[0], run_name="__main__")
'

# The sources of the library, too.
copy_rooms() {
  local name rooms
  rooms=$(sed -n 's/^set(ZT_ROOMS \(.*\))$/\1/p' tree/CMakeLists.txt)
  for name in $rooms zentova.h; do cp -R "$root/$name" tree; done
}

# Leaves the output of a check in out.txt and its exit status in $status. It finds the commands in ./bin only.
check() {
  status=0
  "$python" -B -c "$within_bin" "tree/tests/structure/$1.py" . >out.txt 2>&1 || status=$?
}

# expect <status> [text]
expect() {
  [ "$status" -eq "$1" ] || fail "the exit status is $status, not $1" "$(cat out.txt)"
  if [ $# -gt 1 ]; then grep -qF -- "$2" out.txt || fail "not said: $2" "$(cat out.txt)"; fi
}

# Makes a tool that says of which version it is and finds nothing.
pretend() {
  printf '#!%s\necho "%s version %s"\n' "$(command -v sh)" "$1" "$2" >"bin/$1"
  chmod +x "bin/$1"
}

expect_from_both() {
  local name
  for name in format tidy; do
    check "$name"
    expect "$1" "no clang-$name of version"
  done
}

skips_a_check_whose_tool_is_missing() {
  unset CI
  expect_from_both 77
}

fails_where_changes_are_judged_and_a_tool_is_missing() {
  export CI=true
  expect_from_both 1
}

fails_where_changes_are_judged_and_a_tool_is_of_another_version() {
  export CI=true
  local name
  for name in format tidy; do
    pretend "clang-$name" 13.0.1
  done
  expect_from_both 1
  pretend clang-format 14.0.6
  check format
  expect 0
}

refuses_a_large_file() {
  check kept
  expect 0
  head -c 1000001 /dev/zero | tr '\0' a >tree/large.txt
  check kept
  expect 1 'large.txt: 1000001 bytes'
}

refuses_a_binary_file_outside_the_fuzz_corpus() {
  printf 'a\0b' >tree/fuzz/corpus/inputs/zero
  printf '\377' >tree/fuzz/corpus/inputs/other
  check kept
  expect 0
  printf 'a\0b' >tree/core/zero
  check kept
  expect 1 'core/zero: not a text'
  printf '\377' >tree/core/zero
  check kept
  expect 1 'core/zero: not a text'
}

refuses_the_version_and_the_rooms_in_another_place() {
  check once
  expect 0
  local version rooms
  version=$(sed -n 's/^project(zentova VERSION \([0-9.]*\).*/\1/p' tree/CMakeLists.txt)
  rooms=$(sed -n 's/^set(ZT_ROOMS \(.*\))$/\1/p' tree/CMakeLists.txt)
  printf 'Version %s.\n' "$version" >tree/core/notes
  check once
  expect 1 'core/notes:1: spells out the version'
  printf '\n"%s"\n' "${rooms// /\", \"}" >tree/core/notes
  check once
  expect 1 'core/notes:2: spells out the rooms'
  printf '2%s %s1\n' "$version" "$version" >tree/core/notes
  check once
  expect 0
}

refuses_modules_that_need_each_other() {
  echo '#include "core/two.hh"' >tree/core/one.cpp
  echo '#include "core/two.h"' >tree/core/one.hh
  echo '#include "core/one.hh"' >tree/core/three.cpp
  echo >tree/core/two.h
  echo >tree/core/two.hh
  check includes
  ! grep -qF 'a circle' out.txt || fail "$(cat out.txt)"
  echo '#include "core/three.hh"' >tree/core/two.cpp
  echo >tree/core/three.hh
  check includes
  expect 1 'a circle: core/one -> core/two -> core/three -> core/one'
}

# refuses_marks <file> <what sed changes in it> <what is said>
refuses_marks() {
  sed -i "$2" "tree/$1"
  if cmp -s "$root/$1" "tree/$1"; then fail "$1 has nothing to change"; fi
  status=0
  "$python" -B tree/tests/structure/marks.py >out.txt 2>&1 || status=$?
  expect 1 "$3"
  cp "$root/$1" "tree/$1"
}

refuses_a_pointer_without_a_mark() {
  copy_rooms
  "$python" -B tree/tests/structure/marks.py
  refuses_marks containers/ztmap.h 's/ztBorrowed \*(\*findValue)/void *(*findValue)/' \
    'ztMap: findValue has no mark: void *'
  refuses_marks io/ztfile.h 's/const ztBorrowedText \*mode/const char *mode/' \
    'ztFile: open has no mark: const char *mode'
  refuses_marks core/ztoop.h 's/typedef void ztOwned;/#define ztOwned void/' \
    'ztRoot: addChild has no mark: void *child'
  refuses_marks io/ztfile.h 's/char \*out/ztOutText *out/' \
    'marks.py allows what is not there: ztFile readChar char *out'
}

# Without the formatter the numbers are written, not aligned.
aligns_the_numbers_that_it_writes() {
  local aligned=0
  copy_rooms
  sed -i 's| */\* [0-9]* \*/ *\\| \\|' tree/containers/ztmap.h
  if cmp -s "$root/containers/ztmap.h" tree/containers/ztmap.h; then fail 'it has no numbers'; fi
  "$python" -B tree/tests/structure/layout.py --update
  (unset CI && "$python" -B tree/tests/structure/format.py) || aligned=$?
  case $aligned in
    0) diff "$root/containers/ztmap.h" tree/containers/ztmap.h ;;
    77) diff -w "$root/containers/ztmap.h" tree/containers/ztmap.h ;;
    *) fail 'not aligned' ;;
  esac
}

prepare
"$case"
