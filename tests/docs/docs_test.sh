#!/usr/bin/env bash
# One test of the pages, in the current folder: docs_test.sh <case> <root of the tree>
set -euo pipefail

root=$2
here=$(CDPATH='' cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)
# The theme is the same CSS whatever the pages hold.
export ZT_DOCS_THEME=

if ! command -v doxygen >/dev/null; then
  echo "not checked: no doxygen here"
  # Where changes are judged, a check that is not made is no success.
  [ -z "${CI:-}" ] || exit 1
  exit 77
fi

fail() {
  printf '%s\n' "$@" >&2
  exit 1
}

# has <page> <text>: a page holds a text.
has() {
  grep -qF -- "$2" "pages/$1" || fail "$1 does not hold: $2"
}

build_pages() {
  rm -rf pages
  "$1/scripts/docs" "$PWD/pages" >output.txt 2>&1
}

# Every class has its pages, and the words of a method stand with the method.
reference() {
  build_pages "$root" || fail "$(cat output.txt)"
  has index.html 'Zentova OOP Engine'
  local class classes=0
  while read -r class; do
    has annotated.html ">$class<"
    has annotated.html ">${class}Methods<"
    has "struct$class.html" "${class}_ctor"
    has house.html "struct$class.html"
    classes=$((classes + 1))
  done < <(sed -n 's/^ZT_DECLARE_CLASS(\(zt[A-Za-z]*\))$/\1/p' "$root"/*/*.h)
  [ "$classes" -ge 62 ] || fail "only $classes classes"
  has structztArray.html 'elements'
  has structztArrayMethods.html 'pushBack'
  has structztArrayMethods.html 'Removes the element at an index.'
  has classzt_1_1Own.html 'The only owner of an object'
  has group__cpp.html 'zt::Own'
  has readme.html 'ZT_DEFINE_CLASS'
  has rooms.svg '<svg'
}

# The next ones look at the pages that `reference` built.

# How many names there are, and that each has a comment.
counts_every_public_name() {
  grep '^Names in C: ' output.txt
  grep -q '^Names in C: [1-9].* Names in C++: [1-9][0-9]*\. Without a comment: 0\.$' output.txt
}

# The lines `#include <...>` on the pages of the names compile as they stand.
shows_includes_as_programs_write_them() {
  cat pages/struct*.html pages/class*.html pages/union*.html | sed -n 's/.*<code>#include &lt;\([^&]*\)&gt;.*/\1/p' |
    sed 's/<[^>]*>//g' | sort -u >included.txt
  grep -v 'hpp$' included.txt | sed 's/.*/#include <&>/' >included.c
  sed 's/.*/#include <&>/' included.txt >included.cpp
  [ "$(wc -l <included.c)" -ge 40 ] || fail "only $(wc -l <included.c) headers" "$(cat included.txt)"
  grep -qx '#include <containers/ztarray.h>' included.c
  grep -qx '#include <zentova.hpp>' included.cpp
  # Where they are installed, the headers have the folder of the tree for themselves.
  "${CC:-cc}" -std=c11 -fsyntax-only -I "$root" included.c
  "${CXX:-c++}" -std=c++20 -fsyntax-only -I "$root" included.cpp
}

leads_to_pages_that_are_there() {
  "${PYTHON:-python3}" -B "$here/links.py" pages
}

# No page shows a name of C++ that a program may not use, or begins a sentence with a name in capitals.
shows_no_name_that_nobody_can_write() {
  [ "$(grep -c 'zt::' pages/group__cpp.html)" -gt 20 ]
  if grep -l 'detail::\|>requires ' pages/*zt_1_1*.html pages/group__cpp.html pages/namespace*.html; then
    fail "private names are shown"
  fi
  if grep '\bZt[A-Z]' pages/*.html; then fail "names are written in another way"; fi
}

# Edits a copy of what the pages are made of.
copy_tree() {
  rm -rf tree
  mkdir tree
  (cd "$root" && tar -c --exclude=build --exclude=.git --exclude=corpus --exclude=__pycache__ .) | tar -x -C tree
}

# Whether no pages are made of the copy, and the reason is told by a line with the given words.
is_refused() {
  if build_pages tree; then fail "it is not missed"; fi
  grep -q -- "$1" output.txt || fail "$(cat output.txt)"
}

refuses_an_undocumented_method() {
  copy_tree
  sed -i '/^ \*  - .removeAt.: /d' tree/containers/ztarray.h
  is_refused 'removeAt.*ztArrayMethods is not documented'
}

refuses_an_undocumented_name_of_cpp() {
  copy_tree
  sed -i '/^  \/\*\* Removes all elements\. \*\/$/d' tree/cpp/views.hpp
  is_refused 'clear().*is not documented'
}

# What Doxygen does not see: functions that every class gets from a macro.
refuses_a_name_that_only_the_compiler_knows() {
  copy_tree
  sed -i 's/^  ZT_SHORT_NAMES(C) .*\\$/ZT_API int32_t C##_more(void); &/' tree/core/ztclass.h
  is_refused '^without a comment: ztArray_more$'
}

refuses_a_link_that_leads_nowhere() {
  copy_tree
  echo 'See [nothing](docs/nothing.md) and [no heading](CONTRIBUTING.md#nothing).' >>tree/README.md
  is_refused 'README.md: leads nowhere: docs/nothing.md'
  grep -q 'README.md: no such heading: CONTRIBUTING.md#nothing' output.txt || fail "$(cat output.txt)"
}

# The guide comes before the other documents; each of its questions is found under its words.
takes_a_guide_and_finds_its_questions() {
  copy_tree
  rm -rf tree/docs/guide
  mkdir tree/docs/guide
  printf '# The guide\n\n- [Storing](02-storing.md)\n- [Questions](how-do-i.md#how-do-i-store-an-object)\n' \
    >tree/docs/guide/README.md
  printf '# Objects\n\n## In C\n\nText.\n\n## In C\n\n[Second](#in-c-1)\n' >tree/docs/guide/01-objects.md
  printf '# Storing\n\n[Back](README.md), [further](../../README.md#in-c)\n' >tree/docs/guide/02-storing.md
  printf '# How do I …\n\n## How do I store an object?\n\nSo.\n' >tree/docs/guide/how-do-i.md
  build_pages tree || fail "$(cat output.txt)"
  has guide_readme.html 'href="guide_02_storing.html"'
  has guide_readme.html 'href="guide_how_do_i.html#guide_how_do_i_how_do_i_store_an_object"'
  has guide_01_objects.html 'href="guide_01_objects.html#guide_01_objects_in_c_1"'
  has guide_how_do_i.html 'id="guide_how_do_i_how_do_i_store_an_object"'
  local order
  order=$(grep -o 'href="\(guide_[a-z0-9_]*\|architecture\)\.html"' pages/pages.html | tr '\n' ' ')
  [ "$order" = "$(printf 'href="%s.html" ' guide_readme guide_01_objects guide_02_storing guide_how_do_i architecture)" ] ||
    fail "in another order: $order"
  local start
  for start in how_20do_20i_20store store_20an_20object object_3f; do
    grep -q "^  \[\"$start.*How do I store an object?" pages/search/all_*.js || fail "not found: $start"
  done
}

"$1"
