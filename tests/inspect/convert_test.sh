#!/usr/bin/env bash
# What ztinspect says of whole files, writes of them, and finds to differ; see common.sh.
set -euo pipefail

# shellcheck source=tests/inspect/common.sh
. "$(CDPATH='' cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)/common.sh"

verifies_whole_files() {
  local kind form
  for kind in plant tags owntags stations; do
    for form in binary text; do
      "$maker" "$kind" file.zt "$form" "$plugin"
      inspect 0 verify --load "$plugin" file.zt
      expect_message
      [ ! -s out.txt ] || fail "$(cat out.txt)"
    done
  done
  "$maker" stored stored.zt
  inspect 1 verify stored.zt
  inspect 0 verify --no-end stored.zt
  inspect 1 verify file.zt
  grep -q 'class Station is not known: 2 records skipped' err.txt || fail "$(cat err.txt)"
  "$maker" objects objects.zt
  inspect 0 verify --no-end objects.zt
  tail -c +193 stored.zt >headless.zt
  inspect 1 verify --no-end headless.zt
  expect_message 'headless.zt: 2 nodes name a parent that is not there'
}

# comes_back <file> <form> [option...]
comes_back() {
  local file=$1 form=$2
  shift 2
  inspect 0 convert "$file" --to json -o back.json "$@"
  expect_message
  inspect 0 convert back.json --to "$form" -o back.zt
  cmp "$file" back.zt || fail "$file does not come back"
}

json_comes_back_to_the_same_bytes() {
  local kind form
  for kind in plant tags owntags stations stored objects; do
    for form in binary text; do
      "$maker" "$kind" file.zt "$form" "$plugin"
      comes_back file.zt "$form" --no-end --load "$plugin"
      # Also what belongs to classes that are not known.
      comes_back file.zt "$form" --no-end
    done
  done
  cp back.json out.txt
  expect_json '[r["class"] for r in data]' "['ztIntArray', 'ztLink', 'ztString']"
}

the_forms_come_back_to_each_other() {
  local kind
  for kind in plant tags owntags stations; do
    "$maker" "$kind" file.zt binary "$plugin"
    "$maker" "$kind" file.txt text "$plugin"
    inspect 0 convert file.zt --to text -o made.txt --load "$plugin"
    cmp file.txt made.txt || fail "$kind: the text form differs from that of the library"
    inspect 0 convert file.txt --to binary -o made.zt --load "$plugin"
    cmp file.zt made.zt || fail "$kind: the binary form differs from that of the library"
    inspect 0 convert file.txt --to json -o made.json --load "$plugin"
    inspect 0 convert made.json --to binary -o made.zt
    cmp file.zt made.zt || fail "$kind: the binary form of the JSON differs"
    inspect 0 convert file.zt --to binary --load "$plugin"
    cmp file.zt out.txt || fail "$kind: a copy differs"
  done
}

leaves_no_half_file() {
  "$maker" plant plant.zt
  head -c 700 plant.zt >cut.zt
  rm -rf folder
  mkdir folder
  echo old >folder/out.json
  inspect 1 convert cut.zt --to json -o folder/out.json
  expect_message 'cut.zt: damaged at offset 684: the file ends where 80 bytes should be'
  if [ "$(ls folder)" != out.json ] || [ "$(cat folder/out.json)" != old ]; then fail "$(ls folder)"; fi
  inspect 1 convert plant.zt --to json -o folder/missing/out.json
  rm -f pipe
  mkfifo pipe
  inspect 1 convert pipe --to json -o folder/out.json
  expect_message 'pipe is no regular file'
  inspect 1 convert plant.zt --to json -o /dev/full
  expect_message '/dev/full: No space left on device'
  inspect 0 convert plant.zt --to json -o folder/out.json
  [ "$(ls folder)" = out.json ] || fail "$(ls folder)"
  "$maker" stations stations.zt binary "$plugin"
  inspect 1 convert stations.zt --to text -o folder/out.txt
  expect_message \
    'stations.zt: class Station is not known, so it has no other form (--load names its plugin)'
  [ "$(ls folder)" = out.json ] || fail "$(ls folder)"
}

refuses_wrong_json() {
  local json
  for json in '[' '[]x' '[1]' '[{}]' '[{"class":"ztRoot"}]' '[{"class":"","version":1,"fields":[]}]' \
    '[{"class":"A","version":1,"fields":[{"kind":"int","value":"x"}]}]' \
    '[{"class":"A","version":1,"fields":[{"kind":"int","value":3000000000}]}]' \
    '[{"class":"A","version":1,"fields":[{"kind":"int","hex":"00"}]}]' \
    '[{"class":"A","version":1,"fields":[{"kind":"bytes","hex":"0x"}]}]' \
    '[{"class":"A","version":1,"fields":[{"kind":"bytes","size":1,"value":"xyz"}]}]' \
    '[{"class":"A","version":1,"fields":[{"kind":"word","value":1}]}]' \
    '[{"class":"A","version":1,"unknown":true,"fields":[]}]' \
    '[{"class":"A","version":1,"fields":5}]' \
    '[{"class":"(end of tree)","version":1},{"class":"A","version":1,"fields":[]}]'; do
    echo "$json" >wrong.json
    inspect 1 convert wrong.json --to binary
    grep -q '^ztinspect: wrong.json: .' err.txt || fail "$json" "$(cat err.txt)"
  done
}

compares_by_identifier() {
  "$maker" plant plant.zt
  "$maker" plant plant.txt text
  "$maker" other other.zt
  inspect 0 diff plant.zt plant.txt
  [ ! -s out.txt ] || fail "$(cat out.txt)"
  inspect 1 diff plant.txt other.zt
  expect_message
  diff - out.txt <<'TEXT' || fail 'that is not the expected difference'
changed ztRoot 2 "great hall": name: "hall" -> "great hall"
moved ztRoot 3 "tank" from 2 to 1
added ztRoot 5 "yard" below 1
removed ztRoot 4 "night shift" from 1
TEXT
  head -c 700 plant.zt >cut.zt
  inspect 1 diff plant.zt cut.zt
  expect_line 'removed ztRoot 4 "night shift" from 1'
  expect_message 'cut.zt: damaged at offset 684: the file ends where 80 bytes should be'
}

compares_values_of_host_classes() {
  "$maker" tags tags.zt binary "$plugin"
  inspect 0 convert tags.zt --load "$plugin" --to json -o tags.json
  sed 's/"hex":"0a000000"/"hex":"0b000000"/' tags.json >changed.json
  inspect 0 convert changed.json --to binary -o changed.zt
  inspect 1 diff tags.zt changed.zt --load "$plugin"
  expect_line 'changed Sensors 20 "sensors": attributes[0].values[1]: 10 -> 11'
  [ "$(wc -l <out.txt)" -eq 1 ] || fail "$(cat out.txt)"
  inspect 1 diff tags.zt changed.zt
  grep -q '^changed Sensors @192: bytes of a class that is not known$' out.txt || fail "$(cat out.txt)"
}

# Each side shows its value as what it is there.
compares_values_of_another_type() {
  "$maker" signs integers.zt binary "$plugin"
  inspect 0 convert integers.zt --load "$plugin" --to json -o integers.json
  python3 - <<'PYTHON'
import json, struct

records = json.load(open("integers.json"))
tag = next(record for record in records if record["class"] == "ztTag")
for field in tag["fields"]:
    if field["name"] == "attributes[0].type":
        field["value"] = 2
    if field["name"] == "attributes[0].values":
        field["hex"] = struct.pack("<d", field.pop("value") + 0.5).hex()
json.dump(records, open("reals.json", "w"))
PYTHON
  inspect 0 convert reals.json --to binary -o reals.zt
  inspect 1 diff integers.zt reals.zt --load "$plugin"
  expect_line 'changed ztTag 11 "sensors": attributes[0].type: 1 -> 2'
  expect_line 'changed ztTag 11 "sensors": attributes[0].values[0]: 0 -> 0.5'
  expect_line 'changed ztTag 11 "sensors": attributes[0].values[1]: 10 -> 10.5'
}

"$case"
