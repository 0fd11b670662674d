#!/usr/bin/env bash
# The pages of ztinspect report as files; page_test.py opens them. See common.sh.
set -euo pipefail

# shellcheck source=tests/inspect/common.sh
. "$(CDPATH='' cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)/common.sh"

# data_of <page> <expression>: what the data of a page gives. "records" are its records, "about" what holds for all.
data_of() {
  python3 - "$1" "$2" <<'PYTHON'
import json, re, sys
page = open(sys.argv[1], encoding="utf-8").read()
blocks = re.findall(r'<script type="application/json" (class="records"|id="about")>(.*?)</script>', page, re.S)
records = [record for kind, block in blocks[:-1] for record in json.loads(block)]
about = json.loads(blocks[-1][1])
classes = {entry["name"]: entry for entry in about["classes"]}
def slots(entry):
    return len(entry["slots"]) + (slots(classes[entry["parent"]]) if entry["parent"] else 0)
print(eval(sys.argv[2]))
PYTHON
}

# expect_data <page> <expression> <value>
expect_data() {
  local found
  found=$(data_of "$1" "$2") || fail "no data: $2"
  [ "$found" = "$3" ] || fail "$2 is $found, not $3"
}

writes_a_page_of_both_forms() {
  local form
  for form in text binary; do
    "$maker" owntags tags.zt "$form"
    inspect 0 report tags.zt -o page.html
    expect_message
    [ ! -s out.txt ] || fail 'there is output'
    expect_data page.html '[record[4] for record in records]' "['plant', 'sensors', 'spare', 'empty']"
    expect_data page.html 'about["parents"]' '[-1, 0, 1, 0]'
    expect_data page.html 'about["form"], about["problems"]' "('$form', [])"
    expect_data page.html 'records[1][5][-1][2]' '[0, 0.5, 1, 1.5, 2, 2.5, 3, 3.5, 4, 4.5]'
  done
  # A class has the slots of those above it, and its own.
  expect_data page.html 'sum(map(slots, about["classes"]))' 1824
  inspect 0 report tags.zt
  cmp out.txt page.html || fail 'standard output has another page'
}

needs_nothing_from_elsewhere() {
  "$maker" plant plant.zt
  inspect 0 report plant.zt -o page.html
  grep -q "Content-Security-Policy\" content=\"default-src 'none'" page.html || fail 'there is no policy'
  # The name of SVG is no address.
  if sed 's,http://www.w3.org/2000/svg,,' page.html | grep -nE '(src|href)="[^#]|https?:|@import|url\(' >found.txt; then
    fail "$(cut -c 1-200 found.txt)"
  fi
}

keeps_names_inside_of_its_data() {
  "$maker" signs signs.zt binary "$plugin"
  inspect 0 report signs.zt --load "$plugin" -o page.html
  if grep -q '</script><script>document' page.html; then fail 'a name ends the data'; fi
  expect_data page.html 'records[6][4]' "</script><script>document.title = 'broken'</script>"
  expect_data page.html 'records[8][4], records[9][4]' \
    "('bell\\\\x07 tab\\\\x09 escape\\\\x1b[31m', 'no text: \\\\xff\\\\xc3(')"
  # Links are numbers, other values are texts.
  expect_data page.html '[record[5][3][2] for record in records[1:6]]' '[3, 2, 4, 99, -1]'
}

shows_what_there_is_of_damaged_files() {
  "$maker" plant plant.zt
  head -c 700 plant.zt >cut.zt
  rm -f page.html
  inspect 1 report cut.zt -o page.html
  expect_message 'cut.zt: damaged at offset 684: the file ends where 80 bytes should be'
  expect_data page.html 'len(records), records[-1][6:]' \
    "(4, ['the file ends where 80 bytes should be', 684])"
  expect_data page.html 'about["problems"]' "['damaged at offset 684: the file ends where 80 bytes should be']"
  "$maker" stored stored.zt
  inspect 1 report stored.zt -o page.html
  expect_data page.html 'about["problems"][0][:11]' 'incomplete:'
  inspect 0 report --no-end stored.zt -o page.html
  expect_data page.html 'about["problems"]' '[]'
  "$maker" stations stations.zt binary "$plugin"
  inspect 0 report stations.zt -o page.html
  expect_data page.html 'about["problems"]' \
    "['class Station is not known: 2 records skipped, the first at offset 192']"
}

# A node above itself, by way of another one, stands at the top.
opens_circles_of_parents() {
  "$maker" plant plant.zt
  printf '\2\0\0\0' | dd of=plant.zt bs=1 seek=188 conv=notrunc 2>/dev/null
  inspect 1 report plant.zt -o page.html
  expect_message 'plant.zt: damaged at offset 768: the check sum does not match'
  expect_data page.html 'about["parents"]' '[-1, 0, 1, 0]'
}

# Wherever it is cut, there is a page with a reason; none for what has no record.
shows_files_that_are_cut_anywhere() {
  local size length
  "$maker" owntags whole.zt
  size=$(stat -c %s whole.zt)
  for ((length = 0; length < size; length += 149)); do
    head -c "$length" whole.zt >cut.zt
    rm -f page.html
    inspect 1 report cut.zt -o page.html
    if [ "$length" -lt 104 ]; then
      [ ! -e page.html ] || fail "there is a page for $length bytes"
    else
      expect_data page.html 'len(about["problems"]), len(about["parents"]) == len(records)' '(1, True)'
    fi
  done
}

leaves_no_half_page() {
  rm -rf folder
  mkdir folder
  echo old >folder/page.html
  : >empty.zt
  inspect 1 report empty.zt -o folder/page.html
  expect_message 'empty.zt is empty'
  inspect 1 report "$0" -o folder/page.html
  if [ "$(ls folder)" != page.html ] || [ "$(cat folder/page.html)" != old ]; then fail "$(ls folder)"; fi
  "$maker" plant plant.zt
  inspect 1 report plant.zt -o folder/missing/page.html
  inspect 1 report plant.zt -o /dev/full
  expect_message '/dev/full: No space left on device'
  status=0
  "$ztinspect" report plant.zt >/dev/full 2>err.txt || status=$?
  [ "$status" -eq 1 ] || fail "the exit status is $status"
  expect_message 'standard output: No space left on device'
  # More than a pipe holds, into one that nobody reads.
  "$maker" many many.zt 5000
  "$ztinspect" report many.zt 2>err.txt | head -c 1 >one.txt || true
  expect_message 'standard output: Broken pipe'
  inspect 0 report plant.zt -o folder/page.html
  [ "$(ls folder)" = page.html ] || fail "$(ls folder)"
}

takes_options_in_any_order() {
  "$maker" stations stations.zt binary "$plugin"
  inspect 0 report --load "$plugin" stations.zt -o page.html
  expect_message
  inspect 0 report -o page.html --load "$plugin" --load "$plugin" stations.zt
  expect_data page.html 'len(records)' 4
}

"$case"
