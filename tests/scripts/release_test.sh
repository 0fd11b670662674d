#!/usr/bin/env bash
# One test of scripts/release, in the current folder: release_test.sh <case> <root of the tree>
#
# It runs in ./tree, a repository of what the script looks at.
set -euo pipefail

case=$1 root=$2

fail() {
  printf '%s\n' "$@" >&2
  exit 1
}

commit() {
  git -C tree add --all
  git -C tree -c user.name=test -c user.email=test@localhost commit --quiet --message=state
}

prepare() {
  if ! command -v git >/dev/null; then
    echo "not checked: no git here"
    # Where changes are judged, a check that is not made is no success.
    [ -z "${CI:-}" ] || exit 1
    exit 77
  fi
  rm -rf tree
  mkdir -p tree/core tree/debian tree/scripts
  cp "$root/CMakeLists.txt" "$root/CONTRIBUTING.md" "$root/CHANGELOG.md" tree
  cp "$root/core/ztversion.h" tree/core
  cp "$root/debian/changelog" tree/debian
  cp "$root/scripts/common.sh" "$root/scripts/release" tree/scripts
  echo build >tree/.gitignore
  git -c init.defaultBranch=main init --quiet tree
  commit
}

# Leaves the output in out.txt and the exit status in $status.
release() {
  status=0
  tree/scripts/release "$@" >out.txt 2>&1 || status=$?
}

expect_open() {
  [ "$status" -eq 1 ] || fail "the exit status is $status" "$(cat out.txt)"
  [ "$(grep -c '^   OPEN ' out.txt)" -eq 1 ] || fail "$(cat out.txt)"
  grep -q "^   OPEN  $1" out.txt || fail "not open: $1" "$(cat out.txt)"
}

says_what_a_release_takes() {
  release
  [ "$status" -eq 0 ] || fail "$(cat out.txt)"
  grep -q '^1\. ' out.txt || fail "$(cat out.txt)"
  [ "$(grep -c '^   done ' out.txt)" -eq 4 ] || fail "$(cat out.txt)"
  [ ! -e tree/build ] || fail 'it wrote an archive'
}

# refuses <file> <what sed changes> <what is open>
refuses() {
  sed -i "$2" "tree/$1"
  commit
  release --archive
  expect_open "$3"
  git -C tree reset --quiet --hard HEAD~1
}

refuses_versions_that_differ() {
  refuses core/ztversion.h 's/\(#define ZT_VERSION_MINOR\) .*/\1 99/' core/ztversion.h
  refuses CHANGELOG.md '0,/^## /s/^## .*/## 99.0/' CHANGELOG.md
  refuses debian/changelog '1s/(.*)/(99.0)/' debian/changelog
}

refuses_what_is_not_committed() {
  echo >>tree/CHANGELOG.md
  release --archive
  expect_open 'everything is committed'
  [ ! -e tree/build ] || fail 'it wrote an archive'
}

writes_the_same_archive_again() {
  release --archive
  [ "$status" -eq 0 ] || fail "$(cat out.txt)"
  (cd tree/build && sha256sum --quiet --check ./*.sha256)
  mv tree/build first
  touch tree/CHANGELOG.md
  release --archive
  diff first/*.sha256 tree/build/*.sha256
  rm -rf first
  mkdir unpacked
  tar -xf tree/build/*.tar.gz -C unpacked --strip-components=1
  diff -r --exclude=.git --exclude=build tree unpacked
  rm -rf unpacked
}

prepare
"$case"
