#!/usr/bin/env bash
# One test of the reference pages, in the current folder: docs_test.sh <case> <root of the tree>
set -euo pipefail

root=$2

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

# Every class has its pages, and the words of a method stand with the method.
reference() {
  rm -rf pages
  "$root/scripts/docs" "$PWD/pages"
  has index.html 'Zentova OOP Engine'
  local class classes=0
  while read -r class; do
    has annotated.html ">$class<"
    has annotated.html ">${class}Methods<"
    has "struct$class.html" "${class}_ctor"
    classes=$((classes + 1))
  done < <(sed -n 's/^ZT_DECLARE_CLASS(\(zt[A-Za-z]*\))$/\1/p' "$root"/*/*.h)
  [ "$classes" -ge 62 ] || fail "only $classes classes"
  has structztArray.html 'elements'
  has structztArrayMethods.html 'pushBack'
  has structztArrayMethods.html 'Removes the element at an index.'
}

# Whether Doxygen misses the words of ztArray's `removeAt` in a copy of the headers.
removeAt_is_missed() {
  cat "$root/docs/Doxyfile" - >Doxyfile <<'SETTINGS'
INPUT = containers/ztarray.h
GENERATE_HTML = NO
SETTINGS
  (cd tree && ZT_DOCS_FOLDER=. ZT_VERSION='' doxygen ../Doxyfile) >output.txt 2>&1 || true
  grep -q 'setAt' output.txt && fail "$(cat output.txt)"
  grep -q 'removeAt.*ztArrayMethods is not documented' output.txt
}

refuses_an_undocumented_method() {
  rm -rf tree
  mkdir tree
  cp -R "$root/containers" "$root/docs" tree
  if removeAt_is_missed; then fail "it is missed though it is there"; fi
  sed -i '/^ \*  - .removeAt.: /d' tree/containers/ztarray.h
  removeAt_is_missed
}

"$1"
