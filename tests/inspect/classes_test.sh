#!/usr/bin/env bash
# What ztinspect shows of classes, and what it refuses; see common.sh.
set -euo pipefail

# shellcheck source=tests/inspect/common.sh
. "$(CDPATH='' cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)/common.sh"

shows_each_class_with_its_slots() {
  inspect 0 classes --json
  expect_message
  expect_json 'sum(len(c["slots"]) for c in data)' 1824
  expect_json '[c["name"] for c in data].index("ztRoot") > [c["name"] for c in data].index("ztObject")' True
  expect_json '[c["slots"][40]["name"] for c in data if c["name"] == "ztTag"]' "['findChildById']"
  expect_json '[f["offset"] for c in data if c["name"] == "ztRoot" for f in c["fields"] if f["name"] == "uid"]' '[128]'
  expect_json '[s["declaration"] for c in data if c["name"] == "ztRoot" for s in c["signals"]]' \
    "['childAdded(ztRoot *child)', 'childDeleted(ztRoot *child)']"
  inspect 0 classes
  expect_line '    ztRoot (version 1, 152 bytes)'
  expect_line '        slot 34 int32_t (*generateUid)(void *node)'
  expect_line '        signal childDeleted(ztRoot *child)'
}

shows_classes_of_plugins() {
  inspect 0 classes --json --load "$plugin" --load "$plugin"
  expect_json '[c["parent"] for c in data if c["name"] == "Station"]' "['ztRoot']"
  expect_json '[p["name"] for c in data if c["name"] == "Station" for p in c["properties"]][-1]' height
  inspect 0 classes --load "$plugin"
  expect_line '      Station (version 2, 168 bytes)'
  expect_line '          field 152 height: double'
}

draws_a_graph() {
  inspect 0 classes --dot
  [ "$(head -n 1 out.txt)" = 'digraph classes {' ] || fail 'no graph'
  expect_line '  "ztObject" -> "ztRoot";'
  inspect 2 classes --dot --json
}

leaves_no_log() {
  rm -f -- *.log
  inspect 0 classes
  [ "$(head -n 1 out.txt)" = 'ztBaseClass (version 1, 16 bytes)' ] || fail "$(head -n 3 out.txt)"
  if compgen -G '*.log'; then fail 'there is a log file'; fi
}

refuses_what_is_no_plugin() {
  local reason='cannot load text.so: ./text.so:'
  echo text >text.so
  inspect 1 classes --load text.so
  grep -qF "ztinspect: $reason" err.txt || fail "$(cat err.txt)"
  inspect 1 classes --load missing.so
  grep -qF 'missing.so' err.txt || fail "$(cat err.txt)"
  [ ! -s out.txt ] || fail 'there is output'
  # A library of another interface has another number in its name.
  if command -v gcc >/dev/null && [ -z "${ZT_SANITIZED-}" ]; then
    echo 'int zentova;' | gcc -shared -fPIC -x c - -Wl,-soname,libztcore.so.2 -o libztcore.so.2
    echo 'extern int zentova; int use(void) { return zentova; }' |
      gcc -shared -fPIC -x c - -x none "$PWD/libztcore.so.2" -Wl,-rpath,"$PWD" -o other.so
    inspect 1 classes --load other.so
    expect_message 'other.so is linked with another version of libztcore.so'
    echo 'int use(void) { return 1; }' | gcc -shared -fPIC -x c - -o none.so
    inspect 1 classes --load none.so
    expect_message 'none.so registers no class'
  fi
}

reports_closed_and_full_outputs() {
  "$ztinspect" classes --json 2>err.txt | : || true
  [ "${PIPESTATUS[0]}" -le 1 ] || fail 'it did not end by itself'
  status=0
  "$ztinspect" classes >/dev/full 2>err.txt || status=$?
  [ "$status" -eq 1 ] || fail "the exit status is $status"
  expect_message 'standard output: No space left on device'
  status=0
  "$ztinspect" classes >&- 2>err.txt || status=$?
  [ "$status" -eq 1 ] || fail "the exit status is $status"
}

refuses_wrong_command_lines() {
  inspect 2
  inspect 2 nothing
  inspect 2 classes --load
  inspect 0 --help
  inspect 0 --version
}

# words_of_help [subcommand]: the long options and the subcommands.
words_of_help() {
  "$ztinspect" "$@" --help | grep -oE '^  (-[a-z],)?(--[a-z-]+|[a-z]+)' | sed 's/^ *\(-[a-z],\)\{0,1\}//'
}

the_completion_and_the_manual_know_every_word() {
  local command word
  # Where no file is offered.
  rm -rf nothing
  mkdir nothing
  cd nothing
  # shellcheck source=tools/inspect/ztinspect.bash
  . "$root/tools/inspect/ztinspect.bash"
  for command in '' $(words_of_help | grep -v '^--'); do
    COMP_WORDS=(ztinspect ${command:+"$command"} '')
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    COMPREPLY=()
    # Outside of a completion, bash refuses its options.
    _ztinspect 2>/dev/null || true
    diff <(words_of_help ${command:+"$command"} | sort) <(printf '%s\n' "${COMPREPLY[@]}" | sort) ||
      fail "the completion of ztinspect $command differs from its help"
    while read -r word; do
      sed 's/[\\]//g' "$root/docs/man/ztinspect.1" | grep -E -- "(^|[ .])$word( |$)" >/dev/null ||
        fail "not in the manual: $word"
    done < <(words_of_help ${command:+"$command"})
  done
}

"$case"
