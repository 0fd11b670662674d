#!/usr/bin/env bash
# The tests of the example that stores single readings; see common.sh.
set -euo pipefail

# shellcheck source=tests/examples/common.sh
. "$(CDPATH='' cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)/common.sh"

expect_no_results() {
  if grep -E '^(Read|Stored|Station)' out.txt; then fail "a run that failed printed results"; fi
}

prints_the_summary() {
  run "$program" "$data"
  expect_status 0
  expect_output station_log_expected.txt
}

# Those that other programs leave for a moment at the same time vanish by themselves.
stored_logs() {
  grep -l -a '^Temperature' /tmp/zt* 2>/dev/null || true
}

leaves_no_temporary_file() {
  local before left=
  before=$(stored_logs)
  run "$program" "$data"
  expect_status 0
  for _ in {1..100}; do
    left=$(comm -13 <(sort <<<"$before") <(stored_logs | sort))
    if [ -z "$left" ]; then return; fi
    sleep 0.1
  done
  fail "left behind: $left"
}

takes_one_argument() {
  run "$program"
  expect_status 2
  expect_message 'usage: station_log <data file>'
  run "$program" "$data" "$data"
  expect_status 2
}

refuses_an_unreadable_file() {
  rm -rf missing.csv folder.csv
  run "$program" missing.csv
  expect_status 1
  expect_message 'station_log: cannot open missing.csv: No such file or directory'
  expect_no_results

  mkdir folder.csv
  run "$program" folder.csv
  expect_status 1
  expect_message 'station_log: cannot read folder.csv: Is a directory'
}

names='kind,station,time,value,detail'
good='Temperature,Harbour,2024-03-01T00:00,5.0,2.0'

# Expects that a file of the lines given is refused: expect_refused <message> <line>...
expect_refused() {
  local message=$1
  shift
  printf '%b\n' "$@" >bad.csv
  run "$program" bad.csv
  expect_status 1
  expect_message "station_log: $message"
  expect_no_results
}

# The same for one row, which follows a good one.
expect_row_refused() {
  expect_refused "bad.csv:4: $2" '# A comment.' "$names" "$good" "$1"
}

refuses_malformed_rows() {
  local columns='a row has five columns: kind,station,time,value,detail'
  expect_row_refused 'Temperature,Harbour,2024-03-01T02:00,5.0' "$columns"
  expect_row_refused 'Temperature,Harbour,2024-03-01T02:00,5.0,2.0,' "$columns"
  expect_row_refused 'not a row' "$columns"

  expect_row_refused 'Humidity,Harbour,2024-03-01T02:00,80,2.0' 'there is no such kind of measurement'
  expect_row_refused ',Harbour,2024-03-01T02:00,5.0,2.0' 'there is no such kind of measurement'
  expect_row_refused '%s%n,Harbour,2024-03-01T02:00,5.0,2.0' 'there is no such kind of measurement'
  expect_row_refused 'Measurement,Harbour,2024-03-01T02:00,5.0,2.0' 'there is no such kind of measurement'
  expect_row_refused 'ztFile,Harbour,2024-03-01T02:00,5.0,2.0' 'the kind is a class, but not of measurements'

  local station='the name of a station has 1 to 15 characters'
  expect_row_refused 'Temperature,,2024-03-01T02:00,5.0,2.0' "$station"
  expect_row_refused 'Temperature,Sixteen letters.,2024-03-01T02:00,5.0,2.0' "$station"
  local time='the time is not of the form 2024-03-01T06:00'
  expect_row_refused 'Temperature,Harbour,,5.0,2.0' "$time"
  expect_row_refused 'Temperature,Harbour,2024-03-01 02:00,5.0,2.0' "$time"
  expect_row_refused 'Temperature,Harbour,2024-03-01T02:00:00,5.0,2.0' "$time"
  local value='the value is not a number'
  expect_row_refused 'Temperature,Harbour,2024-03-01T02:00,,2.0' "$value"
  expect_row_refused 'Temperature,Harbour,2024-03-01T02:00,5.0C,2.0' "$value"
  expect_row_refused 'Temperature,Harbour,2024-03-01T02:00,1e,2.0' "$value"
  expect_row_refused 'Temperature,Harbour,2024-03-01T02:00,nan,2.0' "$value"
  expect_row_refused 'Temperature,Harbour,2024-03-01T02:00,1e999,2.0' "$value"

  expect_row_refused 'Temperature,Harbour,2024-03-01T02:00,-274,2.0' 'the temperature is below absolute zero'
  expect_row_refused 'Temperature,Harbour,2024-03-01T02:00,5.0,high' 'the height is not a number'
  expect_row_refused 'Rainfall,Harbour,2024-03-01T02:00,-0.1,60' 'the rainfall is negative'
  local period='the period is not a whole number of minutes from 1 to 1440'
  expect_row_refused 'Rainfall,Harbour,2024-03-01T02:00,0.1,0' "$period"
  expect_row_refused 'Rainfall,Harbour,2024-03-01T02:00,0.1,1441' "$period"
  expect_row_refused 'Rainfall,Harbour,2024-03-01T02:00,0.1,0.5' "$period"
  expect_row_refused 'Rainfall,Harbour,2024-03-01T02:00,0.1,hour' "$period"

  local long='the line is too long, or holds a zero byte'
  expect_row_refused "$(printf 'Temperature,%0200d' 0)" "$long"
  expect_row_refused 'Temperature,Har\0000bour,2024-03-01T02:00,5.0,2.0' "$long"

  local header='the row of names, kind,station,time,value,detail, is missing'
  expect_refused "bad.csv:1: $header" "$good"
  expect_refused "bad.csv:1: $header" '# A comment.'
  expect_refused 'the data file has no measurements' "$names"
}

leaves_no_memory_in_use() {
  expect_nothing_in_use 0 "$data"
  printf '%s\n' "$names" "$good" 'Rainfall,Harbour,2024-03-01T02:00,-1,60' >bad.csv
  expect_nothing_in_use 1 bad.csv
  expect_nothing_in_use 1 missing.csv
}

"$case"
