#!/usr/bin/env bash
# One test of the check of the guide, in the current folder, on a copy of the guide that has what the check looks for:
#   checks_test.sh <case> <root of the tree> <python> <library> <C compiler> <C++ compiler>
set -euo pipefail

case=$1 root=$2 python=$3 library=$4 c=$5 cpp=$6

fail() {
  printf '%s\n' "$@" >&2
  exit 1
}

prepare() {
  rm -rf tree
  mkdir -p tree/docs tree/tests
  cp -R "$root/docs/guide" tree/docs
  cp -R "$root/tests/guide" "$root/tests/structure" tree/tests
  cp "$root/CMakeLists.txt" "$root/README.md" tree
  # The headers.
  local file
  for file in "$root"/*; do [ -e "tree/${file##*/}" ] || ln -s "$file" tree; done
}

# Leaves the output of a command of the check in out.txt and its exit status in $status.
check() {
  status=0
  "$python" -B tree/tests/guide/guide.py "$@" >out.txt 2>&1 || status=$?
}

# expect_refused <text>: the check fails and says so.
expect_refused() {
  [ "$status" -eq 1 ] || fail "the exit status is $status" "$(cat out.txt)"
  grep -qF -- "$1" out.txt || fail "not said: $1" "$(cat out.txt)"
}

takes_the_guide_as_it_is() {
  check shown
  [ "$status" -eq 0 ] || fail "$(cat out.txt)"
}

refuses_a_block_that_differs_from_its_listing() {
  sed -i 's/gauge->level = 0;/gauge->level = 1;/' tree/docs/guide/listings/gauge.c
  check shown
  expect_refused 'differs from listings/gauge.c'
  check update
  takes_the_guide_as_it_is
  grep -q 'gauge->level = 1;' tree/docs/guide/02-own-class.md
}

refuses_a_listing_that_is_shown_nowhere() {
  echo 'int one;' >tree/docs/guide/listings/one.c
  sed -i 's|^int main|// begin more\n// end more\nint main|' tree/docs/guide/listings/02_own_class.cpp
  sed -i 's|// begin once|// begin twice|; s|// end once|// end twice|' tree/docs/guide/listings/howdoi_memory.c
  sed -i 's|^// end string$||' tree/docs/guide/listings/05_text.c
  check shown
  expect_refused 'listings/one.c: shown nowhere: the file'
  expect_refused 'listings/one.c: built nowhere'
  expect_refused 'listings/05_text.c: the region string does not end'
  sed -i '/assert(seen == NULL)/d' tree/docs/guide/listings/howdoi_memory.c
  check shown
  expect_refused 'listings/howdoi_memory.c: shown nowhere: twice'
}

refuses_a_block_without_a_listing() {
  # shellcheck disable=SC2016 # the quotes are a block's
  printf '\nSome code:\n\n```c\nint one;\n```\n' >>tree/docs/guide/01-first-object.md
  check shown
  expect_refused 'no link to a listing stands above this block'
}

refuses_an_answer_that_is_not_tested() {
  printf '\n### How do I fly?\n\nAs a bird does.\n' >>tree/docs/guide/how-do-i.md
  # shellcheck disable=SC2016
  printf '\n### How do I swim?\n\n```sh\nswim --fast\n```\n' >>tree/docs/guide/how-do-i.md
  check shown
  expect_refused 'without a tested answer: How do I fly?'
  expect_refused 'run nowhere: swim --fast'
}

refuses_another_output() {
  sed -i 's/%s is a node/%s is no node/' tree/docs/guide/listings/01_first_object.cpp
  check run "$library" "$c" "$cpp" 01-first-object.md
  expect_refused '+Gate is no node: 1'
}

refuses_another_output_of_a_session() {
  local ztinspect=./ztinspect
  printf '#!/bin/sh\necho something else\n' >ztinspect
  chmod +x ztinspect
  check session "$library" "$c" "$cpp" 13-ztinspect.md "$PWD/$ztinspect"
  expect_refused '+something else'
  grep -qF -- '-the same' out.txt || fail "$(cat out.txt)"
}

refuses_an_answer_that_is_wrong() {
  sed -i 's/opening == 50/opening == 51/' tree/docs/guide/listings/howdoi_signals.c
  find tree/docs/guide/listings -name 'howdoi_*' ! -name howdoi_signals.c -delete
  check run "$library" "$c" "$cpp" how-do-i.md
  expect_refused 'opening == 51'
  expect_refused 'failed with 134'
}

refuses_a_warning() {
  sed -i 's/^int main(void) {/&\n  int unused;/' tree/docs/guide/listings/01_first_object.c
  check run "$library" "$c" "$cpp" 01-first-object.md
  expect_refused 'unused'
}

prepare
"$case"
