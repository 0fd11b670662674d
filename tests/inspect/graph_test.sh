#!/usr/bin/env bash
# What ztinspect draws of the live objects of a program; see common.sh.
set -euo pipefail

# shellcheck source=tests/inspect/common.sh
. "$(CDPATH='' cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)/common.sh"

# Of a program that makes a tree, a connection and containers.
make_report() {
  ZENTOVA_TRACK=1 "$maker" tracked report.txt >host.txt 2>&1 || fail "$(cat host.txt)"
}

# Without the numbers of objects, which depend on how much the library makes.
unnumbered() {
  sed -E 's/#[0-9.]+/#/g'
}

draws_objects_and_connections() {
  make_report
  inspect 0 graph report.txt
  expect_message
  diff - <(unnumbered <out.txt) <<'GRAPH' || fail "that is not the expected graph"
digraph objects {
  rankdir=LR;
  node [shape=box, fontname="sans-serif"];
  edge [fontname="sans-serif", fontsize=10];
  "#" [label="ztRoot \"plant\"\n#"];
  "#" [label="ztRoot \"a \\\"tank\\\"\"\n#"];
  "#" [label="ztObject\n#"];
  "#" -> "#" [label="children"];
  "#" -> "#" [label="levelChanged\nshowLevel", style=dashed];
}
GRAPH
  # Names may be any text.
  {
    echo 'Zentova report 1 of process 1'
    echo '#1 ztRoot "a of #2"'
    echo '    signal "tick" calls onTick of #1 ztRoot "a of #2"'
  } >names.txt
  inspect 0 graph names.txt
  grep -qF '"#1" -> "#1" [label="tick\nonTick", style=dashed];' out.txt || fail "$(cat out.txt)"
  inspect 0 graph report.txt -o graph.dot
  [ ! -s out.txt ] || fail "$(cat out.txt)"
  if [ -n "$(command -v dot)" ]; then
    dot -Tsvg graph.dot -o graph.svg || fail "Graphviz does not take the graph"
  fi
}

# Blocks that are no objects, parts of blocks, fields that lead back, and names that nobody knows.
draws_every_kind_of_holder() {
  cat >kinds.txt <<'REPORT'
Zentova report 1 of process 1
#1 Plant "plant"
    count 1, 64 bytes, made by main
    held by a block of 128 bytes, made by start < main
    held by #2 Gauge in owner
    held by #3.1 Panel in owner
    held by #3.1 Panel in sender
    signal ? calls tick of #2 Gauge
    signal "level" calls show of #3.1 Panel
    signal "lost" calls tick of an object in other memory
#2 Gauge
    held by #1 Plant "plant" in gauges
    held by #3.1 Panel
    held by #1 Plant "plant" in signals
    and 4 more
#3.1 Panel
REPORT
  inspect 0 graph kinds.txt
  expect_message
  diff - <(tail -n +5 out.txt) <<'GRAPH' || fail "that is not the expected graph"
  "block 1" [label="a block of 128 bytes, made by start < main", style=dashed];
  "#1" [label="Plant \"plant\"\n#1"];
  "#2" [label="Gauge\n#2"];
  "#3.1" [label="Panel\n#3.1"];
  "block 1" -> "#1";
  "#3.1" -> "#1" [label="owner"];
  "#1" -> "#2" [label="?\ntick", style=dashed];
  "#1" -> "#3.1" [label="level\nshow", style=dashed];
  "#1" -> "#2" [label="gauges"];
  "#3.1" -> "#2";
}
GRAPH
}

refuses_what_is_no_report() {
  run "$ztinspect" graph missing.txt
  [ "$status" -eq 1 ] || fail "status $status"
  expect_message 'missing.txt: No such file or directory'
  : >empty.txt
  head -c 5000 /dev/zero >zeros.txt
  "$maker" plant plant.zt binary "$plugin"
  for file in empty.txt zeros.txt plant.zt "$plugin"; do
    inspect 1 graph "$file"
    [ ! -s out.txt ] || fail "$(cat out.txt)"
    expect_message "$file is no report of ztOOP_report"
  done
  inspect 1 graph .
  printf 'Zentova report 1 of process 1\n#1 ztRoot "cut\n' >cut.txt
  inspect 1 graph cut.txt
  expect_message 'cut.txt:2: a name has no end'
  printf 'Zentova report 1 of process 1\n#1 ztRoot "a"\n    held by ztRoot\n' >wrong.txt
  echo old >graph.dot
  inspect 1 graph wrong.txt -o graph.dot
  expect_message 'wrong.txt:3: that is no object'
  [ "$(cat graph.dot)" = old ] || fail "a file was written"
}

# A graph, or a message.
takes_reports_that_are_cut() {
  make_report
  local size length
  size=$(wc -c <report.txt)
  for ((length = 0; length < size; length += 7)); do
    head -c "$length" report.txt >cut.txt
    run "$ztinspect" graph cut.txt
    [ "$status" -le 1 ] || fail "status $status at $length bytes"
    [ "$status" -eq 0 ] || [ -s err.txt ] || fail "no message at $length bytes"
  done
}

"$case"
