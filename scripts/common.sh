# Functions of the scripts, which source this file.
# shellcheck shell=bash

# shellcheck disable=SC2034 # used where this is sourced
root=$(CDPATH='' cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)

# Read from CMakeLists.txt, the only place that has it.
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

# Prints a line every 15 seconds, with the last line of the file, if one is named.
tick() {
  local seconds=0
  # It may outlive its parent, and must not keep a pipe of the script open.
  while sleep 15 >/dev/null 2>&1; do
    seconds=$((seconds + 15))
    printf '   %3d s  %s\n' "$seconds" "$(if [ $# -gt 0 ]; then tail -n 1 "$1" | cut -c 1-100; fi)"
  done
}

# Runs a command and prints a line every 15 seconds meanwhile.
ticking() {
  local ticker status=0
  tick &
  ticker=$!
  "$@" || status=$?
  kill "$ticker"
  wait "$ticker" 2>/dev/null || true
  return "$status"
}

# Runs a command like quietly, and prints a line about its progress every 15 seconds.
showing_life() {
  local log ticker status=0
  log=$(mktemp)
  tick "$log" &
  ticker=$!
  "$@" >"$log" 2>&1 || status=$?
  kill "$ticker"
  wait "$ticker" 2>/dev/null || true
  if [ "$status" -ne 0 ]; then cat "$log" >&2; fi
  rm -f "$log"
  return "$status"
}

cores() {
  nproc 2>/dev/null || echo 2
}
