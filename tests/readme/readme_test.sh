#!/usr/bin/env bash
# Compiles the programs of README.md in the current folder and compares their outputs with those shown:
#   readme_test.sh <root of the tree> <library> <C compiler> [compiler option...]
#
# Each block marked "c" is a whole program, and the next one marked "text" its output without the log's first
# and last lines.
set -euo pipefail

root=$1
library=$2
compiler=("${@:3}")

# Prints the block of that number and language.
block() {
  awk -v number="$1" -v opening="\`\`\`$2" '
    $0 == opening { inside = ++count == number; next }
    /^```/        { inside = 0 }
    inside' "$root/README.md"
}

blocks_of() {
  grep -c "^\`\`\`$1\$" "$root/README.md"
}

without_log() {
  sed -e '1,/^$/d' -e '/^Zentova - Freeing library/,$d'
}

programs=$(blocks_of c)
[ "$programs" -ge 2 ]
[ "$programs" -eq "$(blocks_of text)" ]

for ((i = 1; i <= programs; ++i)); do
  block "$i" c >"program$i.c"
  block "$i" text >"expected$i.txt"
  "${compiler[@]}" -std=c11 -Wall -Wextra -Wpedantic -Werror -I"$root" "program$i.c" "$library" \
    -Wl,-rpath,"$(dirname -- "$library")" -o "program$i"
  "./program$i" >"output$i.txt"
  diff "expected$i.txt" <(without_log <"output$i.txt")
done
