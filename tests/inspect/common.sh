# What the tests of ztinspect share. Each is called in the current folder as
#   <name>_test.sh <case> <ztinspect> <maker> <plugin>
# shellcheck shell=bash

# shellcheck disable=SC2034 # used where this is sourced
root=$(CDPATH='' cd -- "$(dirname -- "${BASH_SOURCE[0]}")/../.." && pwd)
# shellcheck disable=SC2034
case=$1 ztinspect=$2 maker=$3 plugin=$4

fail() {
  printf '%s\n' "$@" >&2
  exit 1
}

# Leaves the output of a run in out.txt and err.txt and its exit status in $status.
run() {
  status=0
  "$@" >out.txt 2>err.txt || status=$?
}

# Runs ztinspect with an expected status: inspect <status> <argument>...
inspect() {
  local expected=$1
  shift
  run "$ztinspect" "$@"
  [ "$status" -eq "$expected" ] ||
    fail "ztinspect $*" "the exit status is $status, not $expected" "$(head -n 50 out.txt err.txt)"
}

# Standard error has just this line, behind the name of the program; nothing without argument.
expect_message() {
  diff <(if [ $# -gt 0 ]; then echo "ztinspect: $1"; fi) err.txt || fail "that is not the expected message"
}

expect_line() {
  grep -qxF -- "$1" out.txt || fail "the line is missing: $1" "$(head -n 100 out.txt)"
}

expect_json() {
  local found
  found=$(python3 -c "import json, sys; data = json.load(open('out.txt')); print($1)") || fail "no JSON: $1"
  [ "$found" = "$2" ] || fail "$1 is $found, not $2"
}
