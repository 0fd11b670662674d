# How the baseline is written and compared.
# shellcheck shell=bash

tests_abi=$(CDPATH='' cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)
# shellcheck disable=SC2034 # used where this is sourced
baseline=$tests_abi/libztcore.so.1.abi
headers=$(CDPATH='' cd -- "$tests_abi/../.." && pwd)

# describe <library>: its symbols, and the types of the public headers that they take, without a folder.
describe() {
  abidw --exported-interfaces-only --headers-dir "$headers" --drop-private-types --no-corpus-path \
    --no-comp-dir-path --no-show-locs --no-parameter-names --no-write-default-sizes --type-id-style hash "$1" |
    sed "s|\(<abi-instr .*path='\)[^']*/\([^/']*/[^/']*'\)|\1\2|"
}

# compare <baseline> <description>: additional functions are no difference.
compare() {
  abidiff --no-added-syms "$1" "$2"
}
