#!/usr/bin/env bash
# What ztinspect shows of stored files, and of damaged ones; see common.sh.
set -euo pipefail

# shellcheck source=tests/inspect/common.sh
. "$(CDPATH='' cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)/common.sh"

shows_a_tree_with_its_fields() {
  "$maker" plant plant.zt
  inspect 0 dump plant.zt
  expect_message
  diff - out.txt <<'TEXT' || fail 'that is not the expected tree'
ztRoot "plant" @0
    @104 uid = 1
    @108 name = "plant"
    @188 parentUid = -1
  ztRoot "hall" @192
      @296 uid = 2
      @300 name = "hall"
      @380 parentUid = 1
    ztRoot "tank" @384
        @488 uid = 3
        @492 name = "tank"
        @572 parentUid = 2
  ztRoot "night shift" @576
      @680 uid = 4
      @684 name = "night shift"
      @764 parentUid = 1
TEXT
}

shows_both_forms_alike() {
  "$maker" tags tags.zt binary "$plugin"
  "$maker" tags tags.txt text "$plugin"
  inspect 0 dump --load "$plugin" tags.txt
  sed 's/@[0-9]*//' out.txt >text.txt
  inspect 0 dump --load "$plugin" tags.zt
  sed 's/@[0-9]*//' out.txt | diff - text.txt || fail 'the forms differ'
}

shows_host_classes_and_their_parts() {
  "$maker" tags tags.zt binary "$plugin"
  inspect 0 dump --load "$plugin" tags.zt
  expect_line '  Sensors "sensors" @192'
  expect_line '      @384 attributes[0].name = "count"'
  expect_line '      @428 attributes[0].values.count = 3'
  expect_line '      @432 attributes[0].values[0..2] = 0 10 20'
  expect_line '      @556 attributes[1].values[8..9] = 4 4.5'
  "$maker" stations stations.zt binary "$plugin"
  inspect 0 dump --load "$plugin" stations.zt
  expect_line '      @384 height = 412.5'
  # No byte of a file commands the terminal.
  expect_line '  Station "Lake \x1b[31m" @589'
}

# A file has the series of a tag, and not how many there are: a tag of the library has none before they are read.
shows_tags_of_the_library_without_their_program() {
  local form
  for form in text binary; do
    "$maker" owntags tags.zt "$form"
    inspect 0 dump tags.zt
    expect_message
    sed 's/@[0-9]* //' out.txt | grep -A 10 'ztTag "sensors"' >found.txt || fail "$(cat out.txt)"
    for line in '      attributes[0].name = "count"' '      attributes[0].type = 1' \
      '      attributes[0].userValue = 7' '      attributes[0].values[0..2] = 0 10 20'; do
      grep -qxF -- "$line" found.txt || fail "the line is missing: $line" "$(cat out.txt)"
    done
  done
  expect_line '      @556 attributes[1].values[8..9] = 4 4.5'
  expect_line '    ztRoot "spare" @572'
  expect_line '  ztTag "empty" @764'
  head -c 560 tags.zt >cut.zt
  inspect 1 dump cut.zt
  expect_line 'ztTag "sensors" @192 (damaged at offset 556)'
}

gives_json() {
  "$maker" tags tags.zt binary "$plugin"
  inspect 0 dump --json --load "$plugin" tags.zt
  expect_json 'type(data).__name__, len(data)' 'list 2'
  expect_json '[f["value"] for f in data[1]["fields"] if f.get("name") == "attributes[1].values"]' \
    '[0, 0.5, 1, 1.5, 2, 2.5, 3, 3.5, 4, 4.5]'
  expect_json 'data[1]["offset"], data[1]["class"], data[1]["fields"][1]["value"]' '192 Sensors sensors'
}

skips_classes_that_nobody_knows() {
  local form
  for form in binary text; do
    "$maker" stations stations.zt "$form" "$plugin"
    inspect 0 dump stations.zt
    grep -qE '^ztRoot "cellar" @' out.txt || fail "$(cat out.txt)"
    [ "$(grep -c '^Station @.*(skipped, ' out.txt)" -eq 2 ] || fail "$(cat out.txt)"
    grep -qE 'class Station is not known: 2 records skipped, the first at offset 1(92|89)$' err.txt || fail "$(cat err.txt)"
  done
}

takes_files_without_end_where_asked() {
  "$maker" stored stored.zt
  inspect 1 dump stored.zt
  expect_line '    ztRoot "tank" @384'
  expect_message 'stored.zt: incomplete: there is no mark of the end (--no-end takes files without)'
  inspect 0 dump --no-end stored.zt
  expect_message
  "$maker" objects objects.zt
  inspect 0 dump --no-end objects.zt
  expect_line '    @108 (bytes)[0..2] = 1 2 3'
  expect_line '    @224 targetId = 3'
  expect_line '    @336 buffer[0] = "Aare"'
}

# Each message has a reason, and an offset within the file or at its end.
shows_cut_files_to_the_damage() {
  local step size length
  for step in 1 13; do
    # Each byte of a small file; some of a larger one in the text form.
    if [ "$step" = 1 ]; then "$maker" many whole.zt 1; else "$maker" plant whole.zt text; fi
    size=$(stat -c %s whole.zt)
    for ((length = 0; length < size; length += step)); do
      head -c "$length" whole.zt >cut.zt
      inspect 1 dump cut.zt
      [[ $(<err.txt) =~ ^"ztinspect: cut.zt"(": damaged at offset "[0-9]+": ".|": incomplete: "|" is empty") ]] ||
        fail "$length: $(<err.txt)"
    done
  done
  head -c 500 whole.zt >cut.zt
  inspect 1 dump cut.zt
  expect_line 'ztRoot "tank" @377 (damaged at offset 482)'
  expect_message 'cut.zt: damaged at offset 482: the file ends where 80 bytes should be'
  inspect 1 dump --json cut.zt
  expect_json 'data[-1]["damaged"]["offset"]' 482
}

notices_changed_bytes_and_data_behind() {
  "$maker" plant plant.zt
  cp plant.zt changed.zt
  printf 'X' | dd of=changed.zt bs=1 seek=110 conv=notrunc 2>/dev/null
  inspect 1 dump changed.zt
  expect_message 'changed.zt: damaged at offset 768: the check sum does not match'
  cp plant.zt changed.zt
  printf '\2' | dd of=changed.zt bs=1 seek=868 conv=notrunc 2>/dev/null
  inspect 1 dump --no-end changed.zt
  expect_message 'changed.zt: damaged at offset 872: the mark of the end is damaged'
  cat plant.zt plant.zt >twice.zt
  inspect 1 dump twice.zt
  expect_message 'twice.zt: damaged at offset 936: there is data behind the mark of the end'
  tail -c +193 plant.zt >headless.zt
  inspect 1 dump headless.zt
  expect_message 'headless.zt: damaged at offset 576: the mark of the end belongs to another length'
}

refuses_foreign_files() {
  : >empty.zt
  inspect 1 dump empty.zt
  expect_message 'empty.zt is empty'
  inspect 1 dump "$ztinspect"
  expect_message "$ztinspect: damaged at offset 0: there is no class identity"
  inspect 1 dump "$0"
  expect_message "$0: damaged at offset 0: there is no class identity"
  inspect 1 dump missing.zt
  expect_message 'missing.zt: No such file or directory'
  inspect 1 dump .
  expect_message '. is no regular file'
  rm -f pipe
  mkfifo pipe
  inspect 1 dump pipe
  expect_message 'pipe is no regular file'
}

# A count that promises what is not there takes no memory: an array, and a text.
refuses_giant_counts() {
  "$maker" objects objects.zt
  printf '\377\377\377\177' | dd of=objects.zt bs=1 seek=104 conv=notrunc 2>/dev/null
  ulimit -v "${ZT_MEMORY_LIMIT:-unlimited}"
  inspect 1 dump --no-end objects.zt
  grep -q 'damaged at offset 1[0-9][0-9]*: ' err.txt || fail "$(cat err.txt)"
  "$maker" objects objects.zt
  printf '\376\377\377\177' | dd of=objects.zt bs=1 seek=332 conv=notrunc 2>/dev/null
  inspect 1 dump --no-end objects.zt
  grep -q 'damaged at offset 3[0-9][0-9]*: ' err.txt || fail "$(cat err.txt)"
}

"$case"
