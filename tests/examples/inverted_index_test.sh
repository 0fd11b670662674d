#!/usr/bin/env bash
# The tests of the inverted index; see common.sh.
set -euo pipefail

# shellcheck source=tests/examples/common.sh
. "$(CDPATH='' cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)/common.sh"

prints_the_summary() {
  run "$program" "$data" Alice rabbit dinah "wouldn't" dragon
  expect_status 0
  expect_output inverted_index_expected.txt
}

# The same figures by other means.
agrees_with_other_tools() {
  run "$program" "$data" alice well
  expect_status 0
  local all different
  tr -cs "A-Za-z'" '\n' <"$data" | tr '[:upper:]' '[:lower:]' | sed "s/^'*//; s/'*\$//; /^\$/d" >words.txt
  all=$(wc -l <words.txt)
  different=$(LC_ALL=C sort -u words.txt | wc -l)
  expect_line "Read $all words, $different of them different."
  expect_line "  the        $(printf '%4d' "$(grep -cx the words.txt)")"
  expect_line "First words: $(LC_ALL=C sort -u words.txt | head -n 8 | paste -sd' ')"
  expect_line "Last words:  $(LC_ALL=C sort -ur words.txt | head -n 8 | paste -sd' ')"
  expect_line "  well: $(grep -noiw well "$data" | cut -d: -f1 | paste -sd' ')"
}

reads_unusual_texts() {
  : >empty.txt
  run "$program" empty.txt word
  expect_status 0
  expect_line 'Read 0 words, 0 of them different.'
  expect_line '  word: not in the text'

  # No line end, a word longer than the room for one, quotation marks, bytes that are no letters.
  printf "'Tis %0100d \377 o'clock'\nTIS %s" 7 "$(printf 'a%.0s' {1..100})" >odd.txt
  run "$program" odd.txt tis "o'clock" aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa
  expect_status 0
  expect_line 'Read 4 words, 3 of them different.'
  expect_line '  tis: 1 2'
  expect_line "  o'clock: 1"
  expect_line '  aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa: 2'
}

refuses_an_unreadable_file() {
  run "$program"
  expect_status 2
  expect_message 'usage: inverted_index <text file> [<word>...]'

  rm -rf missing.txt
  run "$program" missing.txt
  expect_status 1
  expect_message 'inverted_index: cannot open missing.txt: No such file or directory'

  mkdir -p folder.txt
  run "$program" folder.txt
  expect_status 1
  expect_message 'inverted_index: cannot read folder.txt'
}

leaves_no_memory_in_use() {
  expect_nothing_in_use 0 "$data" alice dragon
  expect_nothing_in_use 1 missing.txt
}

"$case"
