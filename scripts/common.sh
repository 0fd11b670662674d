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

# Runs a command like quietly, and shows a line of its progress every 15 seconds.
showing_life() {
  local log status=0
  log=$(mktemp)
  "$@" >"$log" 2>&1 &
  local command=$! waited=0
  while kill -0 "$command" 2>/dev/null; do
    sleep 1
    waited=$((waited + 1))
    if [ $((waited % 15)) -eq 0 ]; then printf '   %3d s  %s\n' "$waited" "$(tail -n 1 "$log" | cut -c 1-100)"; fi
  done
  wait "$command" || status=$?
  if [ "$status" -ne 0 ]; then cat "$log" >&2; fi
  rm -f "$log"
  return "$status"
}

cores() {
  nproc 2>/dev/null || echo 2
}
