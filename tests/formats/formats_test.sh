#!/usr/bin/env bash
# One test of docs/formats.md, in the current folder: formats_test.sh <case> <host> <python>
#
# The reader was written from that page alone.
set -euo pipefail

case=$1 host=$2 python=$3
here=$(CDPATH='' cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)

fail() {
  printf '%s\n' "$@" >&2
  exit 1
}

read_with() {
  "$python" -B "$here/reader.py" "$@"
}

# same <kind> <form>: the reader prints what the library says.
same() {
  "$host" "$1" "$1.$2" "$2" >library.txt || fail "the host fails"
  read_with "$1" "$1.$2" >reader.txt || fail "the reader fails"
  [ -s library.txt ] || fail "the host prints nothing"
  diff library.txt reader.txt || fail "that is not what the library says"
}

reads_a_tree_in_both_forms() {
  same tree binary
  grep -q 'Station version 1 uid 20' reader.txt
  same tree text
  # The identifiers alone would lead to other parents.
  grep -aq 'above:0000000' tree.binary
}

reads_values_in_both_forms() {
  same values binary
  same values text
  cmp -s values.binary values.text && fail "both forms are the same"
  return 0
}

# changed <file> <place>: with another byte there, neither the library nor the reader takes the file.
changed() {
  "$python" - "$1" "$2" <<'SCRIPT'
import pathlib, sys
data = bytearray(pathlib.Path(sys.argv[1]).read_bytes())
data[int(sys.argv[2]) % len(data)] ^= 1
pathlib.Path("changed").write_bytes(data)
SCRIPT
  if "$host" open changed; then fail "the library opens it, changed at $2"; fi
  if read_with tree changed >/dev/null 2>&1; then fail "the reader takes it, changed at $2"; fi
}

notices_a_changed_byte_like_the_library() {
  local form place
  for form in binary text; do
    "$host" tree "tree.$form" "$form" >/dev/null
    "$host" open "tree.$form" || fail "the library does not open it"
    read_with tree "tree.$form" >/dev/null
    for place in 0 110 300 -170 -100 -20 -3; do changed "tree.$form" "$place"; done
  done
}

"$case"
