#!/usr/bin/env bash
# Compiles the programs of a document in the current folder and compares their outputs with those shown:
#   readme_test.sh <document> <root of the tree> <library> <C compiler> <C++ compiler> [compiler option...]
#
# Each block marked "c" is a whole program in C and in C++, each marked "cpp" one in C++, and the next one marked
# "text" its output without the log's first and last lines.
set -euo pipefail

root=$2
document=$root/$1
library=$3
c=$4
cpp=$5
options=(-Wall -Wextra -Wpedantic -Werror "-I$root" "${@:6}")

# Prints the block of that number and language, a regular expression.
block() {
  awk -v number="$1" -v opening="^\`\`\`($2)\$" '
    $0 ~ opening { inside = ++count == number; next }
    /^```/       { inside = 0 }
    inside' "$document"
}

blocks_of() {
  grep -cE "^\`\`\`($1)\$" "$document"
}

without_log() {
  sed -e '1,/^$/d' -e '/^Zentova - Freeing library/,$d'
}

# Builds a program, runs it and compares its output: expect_output <number> <compiler> <option...>
expect_output() {
  "${@:2}" "${options[@]}" "program$1" -x none "$library" -Wl,-rpath,"$(dirname -- "$library")" -o "run$1"
  "./run$1" >"output$1.txt"
  diff "expected$1.txt" <(without_log <"output$1.txt")
}

in_c=$(blocks_of c)
in_cpp=$(blocks_of cpp)
[ "$in_c" -ge 2 ]
[ "$in_cpp" -ge 1 ]
[ $((in_c + in_cpp)) -eq "$(blocks_of text)" ]

for ((i = 1; i <= in_c + in_cpp; ++i)); do
  block "$i" 'c|cpp' >"program$i"
  block "$i" text >"expected$i.txt"
  expect_output "$i" "$cpp" -std=c++20 -x c++
  if ! grep -q 'zentova\.hpp' "program$i"; then
    expect_output "$i" "$c" -std=c11 -x c
  fi
done
