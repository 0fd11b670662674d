#!/usr/bin/env bash
# Compiles a program with both compilers or one, runs it and compares what it prints with NAME.expected, without the
# log's first and last lines; once more under $VALGRIND, if that is set, where nothing may be left:
#   program_test.sh <root of the tree> <library> <compiler> <NAME> [compiler option...]
#
# A file plugin.cpp is built first and its path passed on. Without the compiler the test is skipped, but not under CI.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$1
library=$2
compiler=$3
name=$4
options=("${@:5}")
valgrind=${VALGRIND:-}

if ! command -v "$compiler" >/dev/null; then
  [ -z "${CI:-}" ] || exit 1
  exit 77
fi

build() {
  "$compiler" -std=c++20 -Wall -Wextra -Werror -I"$root" "${options[@]}" "$@" "$library" \
    -Wl,-rpath,"$(dirname -- "$library")"
}

without_log() {
  sed -e '1,/^$/d' | sed -e '/^Zentova - Freeing library/,$d'
}

build "$here/$name.cpp" -o "$name"
build "$here/plugin.cpp" -shared -fPIC -fvisibility=hidden -o plugin.so
"./$name" ./plugin.so >output.txt
diff "$here/$name.expected" <(without_log <output.txt)
if [ -n "$valgrind" ]; then
  "$valgrind" --quiet --leak-check=full --show-leak-kinds=all --errors-for-leak-kinds=all --error-exitcode=1 \
    "./$name" ./plugin.so >output.txt
  diff "$here/$name.expected" <(without_log <output.txt)
fi
