#!/usr/bin/env bash
# One test of the version, in the current folder: version_test.sh <case> <root of the tree> <library>
set -euo pipefail

case=$1 root=$2 library=$3

fail() {
  printf '%s\n' "$@" >&2
  exit 1
}

# Copies what is named of the tree into ./checkout.
check_out() {
  rm -rf checkout
  mkdir checkout
  local name
  for name in "$@"; do cp -R "$root/$name" checkout; done
}

# Compiles a program of ./checkout for the language and with the options given, and runs it.
compile_and_run() {
  (
    cd checkout
    "$@" -Wall -Wextra -Wpedantic -Werror -I. program.c -x none "$library" \
      -Wl,-rpath,"$(dirname -- "$library")" -o program
    ./program
  ) >output.txt
}

write_program() {
  cat >checkout/program.c <<'PROGRAM'
#include "zentova.h"

#include <stdio.h>

#if ZT_VERSION_NUMBER != ZT_VERSION_MAJOR * 10000 + ZT_VERSION_MINOR * 100 + ZT_VERSION_PATCH
#error "the number is not that of the parts"
#endif

int main(void) {
  printf("program of %s\n", ZT_VERSION);
  return ztOOP_isClassRegistered("ztObject") ? 0 : 1;
}
PROGRAM
}

# A header that had to be made by configuring would not be there.
programs_compile_in_a_checkout_with_its_root_alone() {
  # shellcheck disable=SC2046 # names are words
  check_out zentova.h $(cd "$root" && sed -n 's/^set(ZT_ROOMS \(.*\))$/\1/p' CMakeLists.txt)
  find checkout -type f -not -name '*.h' -delete
  write_program
  compile_and_run "$CC" -std=c11
  compile_and_run "$CXX" -x c++ -std=c++20
}

headers_library_and_build_agree() {
  programs_compile_in_a_checkout_with_its_root_alone
  grep -qxF "# Zentova OOP Engine started - Version $ZT_VERSION" output.txt || fail "$(cat output.txt)"
  grep -qxF "program of $ZT_VERSION" output.txt || fail "$(cat output.txt)"
}

configuring_refuses_headers_of_another_version() {
  check_out CMakeLists.txt cmake core
  local part
  for part in MAJOR MINOR PATCH; do
    sed "s/\(#define ZT_VERSION_$part\) .*/\1 999/" "$root/core/ztversion.h" >checkout/core/ztversion.h
    rm -rf build
    if "$CMAKE" -G Ninja -S checkout -B build -DCMAKE_C_COMPILER="$CC" -DCMAKE_CXX_COMPILER="$CXX" \
      >output.txt 2>&1; then
      fail "a $part of 999 is taken"
    fi
    grep -q "ZT_VERSION_$part in core/ztversion.h is \"999\"" output.txt || fail "$(cat output.txt)"
  done
}

"$case"
