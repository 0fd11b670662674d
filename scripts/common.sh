# What the scripts share; sourced by them.
# shellcheck shell=bash

# shellcheck disable=SC2034 # used where this is sourced
root=$(CDPATH='' cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)

# What stands in CMakeLists.txt alone.
# shellcheck disable=SC2034
rooms=$(sed -n 's/^set(ZT_ROOMS \(.*\))$/\1/p' "$root/CMakeLists.txt")
# shellcheck disable=SC2034
version=$(sed -n 's/^project(zentova VERSION \([0-9.]*\).*/\1/p' "$root/CMakeLists.txt")

say() {
  printf '== %s\n' "$*"
}

# Runs a command and shows its output only when it fails.
quietly() {
  local output
  if output=$("$@" 2>&1); then return 0; fi
  printf '%s\n' "$output" >&2
  return 1
}

cores() {
  nproc 2>/dev/null || echo 2
}
