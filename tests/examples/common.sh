# What the tests of the examples share. Each is called in the current folder as
#   <example>_test.sh <case> <program> <data file> [valgrind]
# shellcheck shell=bash

here=$(CDPATH='' cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)
# shellcheck disable=SC2034 # used where this is sourced
case=$1 program=$2 data=$3
valgrind=${4:-}

fail() {
  printf '%s\n' "$@" >&2
  exit 1
}

# Leaves the output of a run in out.txt and err.txt and its exit status in $status.
run() {
  status=0
  "$@" >out.txt 2>err.txt || status=$?
}

expect_status() {
  [ "$status" -eq "$1" ] || fail "the exit status is $status, not $1" "$(cat out.txt err.txt)"
}

expect_message() {
  printf '%s\n' "$1" | diff - err.txt || fail "that is not the expected message"
}

# Expects the output that stands in a file of this folder, and no messages. The version is that of the build.
expect_output() {
  diff <(sed "s/@VERSION@/$ZT_VERSION/" "$here/$1") out.txt || fail "that is not the expected output"
  [ ! -s err.txt ] || fail "messages:" "$(cat err.txt)"
}

expect_line() {
  grep -qxF -- "$1" out.txt || fail "the line is missing: $1" "$(cat out.txt)"
}

# Runs the program with an expected status: expect_nothing_in_use <status> <argument>...
expect_nothing_in_use() {
  local expected=$1
  shift
  run "$valgrind" --leak-check=full --show-leak-kinds=all --errors-for-leak-kinds=all --error-exitcode=99 \
    "$program" "$@"
  expect_status "$expected"
  grep -q 'in use at exit: 0 bytes in 0 blocks' err.txt || fail "memory in use at exit:" "$(cat err.txt)"
}
