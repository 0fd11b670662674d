#!/usr/bin/env bash
# The tests of the list of words; see common.sh.
set -euo pipefail

# shellcheck source=tests/examples/common.sh
. "$(CDPATH='' cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)/common.sh"

prints_the_summary() {
  run "$program" "$data" people I dragon us
  expect_status 0
  expect_output word_list_expected.txt
}

# The same figures by other means.
agrees_with_other_tools() {
  run "$program" "$data" because
  expect_status 0
  local all listed sorted share
  all=$(wc -l <"$data")
  LC_ALL=C sort "$data" >sorted.txt
  awk '{ print length($0) }' sorted.txt | sort -n >lengths.txt
  expect_line "Read $all words."
  expect_line "The first by the alphabet: $(head -n 6 sorted.txt | paste -sd' ')"
  expect_line "The last: $(tail -n 6 sorted.txt | paste -sd' ')"
  expect_line "The middle length is $(sed -n "$((all / 2 + 1))p" lengths.txt) letters, the greatest $(
    tail -n 1 lengths.txt), first met in \"$(grep -m 1 -x ".\{$(tail -n 1 lengths.txt)\}" sorted.txt)\"."
  listed=$(grep -nx because "$data" | cut -d: -f1)
  sorted=$(grep -nx because sorted.txt | cut -d: -f1)
  share=$(awk '{ all += length($0) } END { printf "%.2f", 100 * 7 / all }' "$data")
  expect_line "  because: number $listed of the list, $sorted by the alphabet, $share % of all letters"
}

reads_unusual_lists() {
  # Blanks, empty lines, words met twice, letters of more than one byte, no line end, the longest line.
  printf ' \ftwo\r\n\n\ttwo words \nnull\nna\303\257ve\n%062d\ntwo' 7 >odd.txt
  run "$program" odd.txt two 'two words' null naïve "$(printf '%062d' 7)"
  expect_status 0
  expect_line 'Read 6 words.'
  expect_line '  two words: number 2 of the list, 6 by the alphabet, 10.34 % of all letters'
  expect_line '  null: number 3 of the list, 3 by the alphabet, 4.60 % of all letters'
  expect_line "  $(printf '%062d' 7): number 5 of the list, 1 by the alphabet, 71.26 % of all letters"

  # A length and a number of words that are blanks as bytes.
  printf '%010d\n' {1..32} >blanks.txt
  run "$program" blanks.txt
  expect_status 0
  expect_line 'Read 32 words.'
}

refuses_an_unreadable_file() {
  run "$program"
  expect_status 2
  expect_message 'usage: word_list <text file> [<word>...]'

  rm -rf missing.txt
  run "$program" missing.txt
  expect_status 1
  expect_message 'word_list: cannot open missing.txt: No such file or directory'

  mkdir -p folder.txt
  run "$program" folder.txt
  expect_status 1
  expect_message 'word_list: cannot read folder.txt: Is a directory'
}

refuses_what_is_no_list() {
  printf '\n \n' >empty.txt
  run "$program" empty.txt
  expect_status 1
  expect_message 'word_list: cannot use empty.txt: there is no word in it'

  local message='word_list: cannot use long.txt: a line is too long, or holds a zero byte'
  printf 'word\n%063d\n' 7 >long.txt
  run "$program" long.txt
  expect_status 1
  expect_message "$message"
  printf 'zero\0byte\nword\n' >long.txt
  run "$program" long.txt
  expect_status 1
  expect_message "$message"
}

leaves_no_memory_in_use() {
  expect_nothing_in_use 0 "$data" people dragon
  printf 'word\n%063d\n' 7 >long.txt
  expect_nothing_in_use 1 long.txt
  expect_nothing_in_use 1 missing.txt
}

"$case"
