#!/usr/bin/env bash
# The tests of the demonstration host; see common.sh.
set -euo pipefail

# shellcheck source=tests/examples/common.sh
. "$(CDPATH='' cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)/common.sh"

store() {
  run "$program" store "$data" n.bin n.txt
  expect_status 0
}

loads_in_another_process_what_it_stored() {
  store
  expect_output network_store_expected.txt
  run "$program" load "$data" n.bin n.txt
  expect_status 0
  expect_output network_load_expected.txt
}

# The figures of one station, taken from the data by another program.
agrees_with_other_tools() {
  store
  local figures
  figures=$(awk -F, '$2 == "Ridge" && $1 == "Temperature" { n++; t += $4 }
                     $2 == "Ridge" && $1 == "Rainfall" { r += $4; m += $5 }
                     END { printf "%-10s %8d %10.2f %8.1f %10.1f", "Ridge", n, t / n, r, m / 60 }' "$data")
  expect_line "$figures"
}

takes_four_arguments() {
  local usage='usage: network store|load <data file> <binary file> <text file>'
  run "$program"
  expect_status 2
  expect_message "$usage"
  run "$program" print "$data" n.bin n.txt
  expect_status 2
  expect_message "$usage"
}

refuses_unreadable_and_unwritable_files() {
  rm -rf missing.csv folder
  mkdir folder
  run "$program" store missing.csv n.bin n.txt
  expect_status 1
  expect_message 'network: cannot open missing.csv: No such file or directory'
  run "$program" store "$data" folder n.txt
  expect_status 1
  expect_message 'network: cannot write folder'
  run "$program" store "$data" /dev/full n.txt
  expect_status 1
  expect_message 'network: cannot write /dev/full'
  run "$program" load "$data" missing.bin n.txt
  expect_status 1
  expect_message 'network: cannot read missing.bin'
}

refuses_malformed_rows() {
  printf '%s\n' 'kind,station,time,value,detail' 'Humidity,Ridge,2024-03-01T02:00,80,2.0' >bad.csv
  run "$program" store bad.csv n.bin n.txt
  expect_status 1
  expect_message 'network: bad.csv:2: the row is no temperature and no rainfall'
}

notices_damaged_files() {
  store
  head -c 1000 n.bin >cut.bin
  run "$program" load "$data" cut.bin n.txt
  expect_status 1
  expect_message 'network: cannot read cut.bin'
  # A byte within the first temperature of the first station.
  cp n.bin changed.bin
  printf '\377' | dd of=changed.bin bs=1 seek=440 conv=notrunc 2>/dev/null
  run "$program" load "$data" changed.bin n.txt
  expect_status 1
  expect_message 'network: changed.bin differs from the data'
}

leaves_no_memory_in_use() {
  expect_nothing_in_use 0 store "$data" n.bin n.txt
  expect_nothing_in_use 0 load "$data" n.bin n.txt
  head -c 1000 n.bin >cut.bin
  expect_nothing_in_use 1 load "$data" cut.bin n.txt
  expect_nothing_in_use 1 store missing.csv n.bin n.txt
}

"$case"
