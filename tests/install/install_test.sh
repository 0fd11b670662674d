#!/usr/bin/env bash
# One test of the installed library, in the current folder: install_test.sh <case> [argument...]
#
# `installs` puts it into ./moved, which the other cases look at.
set -euo pipefail

here=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)
prefix=$PWD/moved

# installs <build folder>: not where it is used from, so that nothing may depend on where that is.
installs() {
  rm -rf first moved
  "$CMAKE" --install "$1" --prefix "$PWD/first" --strip >/dev/null
  mv first moved
}

# holds_the_public_headers_and_nothing_else <root of the tree> <room>...
holds_the_public_headers_and_nothing_else() {
  (cd "$1" && find "${@:2}" -name '*.h' && ls zentova.h zentova.hpp) | sort >expected.txt
  (cd "$prefix/$INCLUDEDIR" && find . -type f | sed -n 's|^\./zentova/||p' | sort) >installed.txt
  diff expected.txt installed.txt
  [ "$(ls "$prefix/$INCLUDEDIR")" = zentova ]
}

# holds_the_library_and_what_finds_it <version>
holds_the_library_and_what_finds_it() {
  cd "$prefix"
  diff - <(find . ! -type d ! -path "./$INCLUDEDIR/*" | grep -v 'ZentovaConfig-[a-z]*\.cmake$' | sort) <<LIST
./$LIBDIR/cmake/Zentova/ZentovaConfig.cmake
./$LIBDIR/cmake/Zentova/ZentovaConfigVersion.cmake
./$LIBDIR/libztcore.so
./$LIBDIR/libztcore.so.${1%%.*}
./$LIBDIR/libztcore.so.$1
./$LIBDIR/pkgconfig/zentova.pc
LIST
  [ "$(readlink "$LIBDIR/libztcore.so")" = "libztcore.so.${1%%.*}" ]
  [ "$(readlink "$LIBDIR/libztcore.so.${1%%.*}")" = "libztcore.so.$1" ]
}

# names_no_folder_of_the_build <folder>...
names_no_folder_of_the_build() {
  local folder
  for folder in "$@" "$PWD"; do
    if grep --recursive --files-with-matches --fixed-strings -- "$folder" "$prefix"; then
      echo "these files name $folder"
      return 1
    fi
  done
}

flags() {
  PKG_CONFIG_PATH=$prefix/$LIBDIR/pkgconfig pkg-config "$@" zentova
}

# runs_a_program_in_cpp <source>
runs_a_program_in_cpp() {
  # shellcheck disable=SC2046 # several flags
  "$CXX" -std=c++20 -Wall -Wextra -Werror "$1" $(flags --cflags --libs) -o program
  LD_LIBRARY_PATH=$prefix/$LIBDIR ./program >printed.txt
  grep -qxF 'the level is 42' printed.txt
}

# configure_host <folder> <wanted version>
configure_host() {
  rm -rf "$1"
  "$CMAKE" -G Ninja -S "$here/host" -B "$1" -Dwanted="$2" \
    -DCMAKE_CXX_COMPILER="$CXX" -DCMAKE_PREFIX_PATH="$prefix"
}

hosts_of_pkg_config_and_cmake_agree() {
  if ! command -v pkg-config >/dev/null; then
    echo "not checked: no pkg-config here"
    # Where changes are judged, a check that is not made is no success.
    [ -z "${CI:-}" ] || exit 1
    exit 77
  fi
  mkdir -p pkg_config_host
  # shellcheck disable=SC2046 # the flags are words
  "$CC" -std=c11 -Wall -Wextra -Wpedantic -Werror $(flags --cflags) "$here/host.c" $(flags --libs) \
    -o pkg_config_host/host
  (cd pkg_config_host && LD_LIBRARY_PATH="$prefix/$LIBDIR" ./host >../of_pkg_config.txt)

  configure_host cmake_host 1.0 >/dev/null
  "$CMAKE" --build cmake_host >/dev/null
  (cd cmake_host && ./host >../of_cmake.txt)

  diff of_pkg_config.txt of_cmake.txt
  diff - <(grep -E '^(Gauge|read|first)' of_cmake.txt) <<'OUTPUT'
Gauge 42
read 21
first of 3: 1
OUTPUT
}

cmake_takes_only_a_version_that_fits() {
  local version
  for version in 0.9 1.1 2.0; do
    if configure_host refused_host "$version" >refused.txt 2>&1; then
      echo "version $version was found"
      return 1
    fi
    grep -q "requested version \"$version\"" refused.txt
  done
}

# A library of the same names without versions stands in for the one that such a host was linked with.
runs_hosts_linked_before_symbols_had_versions() {
  local library=$prefix/$LIBDIR/libztcore.so
  rm -rf unversioned
  mkdir unversioned
  nm --dynamic --defined-only "$library" | sed -n 's/^.* T \(\w*\).*/void \1(void) {}/p' >unversioned/names.c
  "$CC" -shared -fPIC -Wl,-soname,libztcore.so.1 unversioned/names.c -o unversioned/libztcore.so
  for folder in unversioned "$prefix/$LIBDIR"; do
    "$CC" -std=c11 -I"$prefix/$INCLUDEDIR/zentova" "$here/host.c" "$folder/libztcore.so" -o unversioned/host
    readelf --version-info unversioned/host | grep -c 'Name: ZTCORE_1\.0 ' >>unversioned/versions.txt || true
    (cd unversioned && LD_LIBRARY_PATH="$prefix/$LIBDIR" ./host >>output.txt 2>&1)
  done
  diff - unversioned/versions.txt <<<$'0\n1'
  diff - <(grep -Ev '^(Zentova|#|Cleaning|$)' unversioned/output.txt) <<'OUTPUT'
Gauge 42
read 21
first of 3: 1
Gauge 42
read 21
first of 3: 1
OUTPUT
}

# packagers_may_have_warnings_stay_warnings <root of the tree>
packagers_may_have_warnings_stay_warnings() {
  local choice
  for choice in ON OFF; do
    rm -rf packaged
    "$CMAKE" -G Ninja -S "$1" -B packaged -DZT_WERROR=$choice -DZT_BUILD_TESTS=OFF \
      -DCMAKE_C_COMPILER="$CC" -DCMAKE_CXX_COMPILER="$CXX" >/dev/null
    [ "$(grep -q -- -Werror packaged/compile_commands.json && echo ON || echo OFF)" = $choice ]
  done
}

"$@"
