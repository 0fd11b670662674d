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
  (cd "$1" && find "${@:2}" -name '*.h' && ls zentova.h zentova.hpp cpp/*.hpp) | sort >expected.txt
  (cd "$prefix/$INCLUDEDIR" && find . -type f | sed -n 's|^\./zentova/||p' | sort) >installed.txt
  diff expected.txt installed.txt
  [ "$(ls "$prefix/$INCLUDEDIR")" = zentova ]
}

# The files of a tool.
files_of_tool() {
  printf '%s\n' "./bin/$1" "./share/bash-completion/completions/$1" "./share/man/man1/$1.1"
}

# holds_the_library_and_what_finds_it <version> [tool]
holds_the_library_and_what_finds_it() {
  cd "$prefix"
  diff <(if [ $# -gt 1 ]; then files_of_tool "$2"; fi | sort) \
    <(find . ! -type d -path './[bs][ih]*' ! -path './share/gdb/*' | sort)
  # gdb takes the script by the path of the library, which was that of the folder that all was installed to.
  diff - <(cd "share/gdb/auto-load${prefix%/moved}/first/$LIBDIR" && find . ! -type d ! -path './zentova_gdb/*.py') \
    <<<"./libztcore.so.$1-gdb.py"
  diff - <(find . ! -type d ! -path "./$INCLUDEDIR/*" ! -path './[bs][ih]*' |
    grep -v 'Zentova[A-Za-z]*-[a-z]*\.cmake$' | sort) <<LIST
./$LIBDIR/cmake/Zentova/ZentovaConfig.cmake
./$LIBDIR/cmake/Zentova/ZentovaConfigVersion.cmake
./$LIBDIR/cmake/Zentova/ZentovaStaticTargets.cmake
./$LIBDIR/cmake/Zentova/ZentovaTargets.cmake
./$LIBDIR/libztcore.a
./$LIBDIR/libztcore.so
./$LIBDIR/libztcore.so.${1%%.*}
./$LIBDIR/libztcore.so.$1
./$LIBDIR/pkgconfig/zentova-static.pc
./$LIBDIR/pkgconfig/zentova.pc
LIST
  [ "$(readlink "$LIBDIR/libztcore.so")" = "libztcore.so.${1%%.*}" ]
  [ "$(readlink "$LIBDIR/libztcore.so.${1%%.*}")" = "libztcore.so.$1" ]
}

# parts_are_installed_on_their_own <build folder>: what programs run with, what they are built with, and tools.
parts_are_installed_on_their_own() {
  local folder=$PWD
  rm -rf runtime development tools
  mkdir tools
  "$CMAKE" --install "$1" --prefix "$PWD/runtime" --component runtime >/dev/null
  "$CMAKE" --install "$1" --prefix "$PWD/development" --component development >/dev/null
  "$CMAKE" --install "$1" --prefix "$PWD/tools" --component tools >/dev/null
  # What gdb loads is under the path of the library.
  files_of() { (cd "$1" && find . ! -type d | sed "s|auto-load$folder/[a-z]*/|auto-load/|" | sort); }
  [ "$(files_of runtime | grep -vc 'libztcore\.so\.')" -eq 0 ]
  grep -q 'libztcore\.so$' <<<"$(files_of development)"
  diff <(files_of moved) <((files_of runtime && files_of development && files_of tools) | sort)
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
  PKG_CONFIG_PATH=$prefix/$LIBDIR/pkgconfig pkg-config "$@"
}

# runs_a_program_in_cpp <source>
runs_a_program_in_cpp() {
  need_pkg_config
  # shellcheck disable=SC2046 # several flags
  "$CXX" -std=c++20 -Wall -Wextra -Werror "$1" $(flags --cflags --libs zentova) -o program
  LD_LIBRARY_PATH=$prefix/$LIBDIR ./program >printed.txt
  grep -qxF 'the level is 42' printed.txt
}

need_pkg_config() {
  if ! command -v pkg-config >/dev/null; then
    echo "not checked: no pkg-config here"
    # Where changes are judged, a check that is not made is no success.
    [ -z "${CI:-}" ] || exit 1
    exit 77
  fi
}

# compile_host <folder> <name for pkg-config> <compiler option>...: as README.md shows it.
compile_host() {
  mkdir -p "$1"
  # shellcheck disable=SC2046 # the flags are words
  "$CC" -std=c11 -Wall -Wextra -Wpedantic -Werror "${@:3}" $(flags --cflags "$2") "$here/host.c" \
    $(flags --libs "$2") -o "$1/host"
}

# configure_host <folder> <wanted version>
configure_host() {
  rm -rf "$1"
  "$CMAKE" -G Ninja -S "$here/host" -B "$1" -Dwanted="$2" \
    -DCMAKE_C_COMPILER="$CC" -DCMAKE_CXX_COMPILER="$CXX" -DCMAKE_PREFIX_PATH="$prefix"
}

what_the_host_prints() {
  cat <<'OUTPUT'
Gauge 42
read 21
first of 3: 1
OUTPUT
}

hosts_of_pkg_config_and_cmake_agree() {
  need_pkg_config
  compile_host pkg_config_host zentova
  (cd pkg_config_host && LD_LIBRARY_PATH="$prefix/$LIBDIR" ./host >../of_pkg_config.txt)

  configure_host cmake_host 1.0 >/dev/null
  "$CMAKE" --build cmake_host >/dev/null
  (cd cmake_host && ./host >../of_cmake.txt)

  diff of_pkg_config.txt of_cmake.txt
  diff <(what_the_host_prints) <(grep -E '^(Gauge|read|first)' of_cmake.txt)
  local told
  told=$(cd cmake_host && ./host_cpp)
  grep -qx 'the level is 42' <<<"$told"
}

# The static library: none is loaded, also with no library at all and in a program at a fixed address.
static_hosts_load_no_library() {
  need_pkg_config
  configure_host cmake_static_host 1.0 >/dev/null
  "$CMAKE" --build cmake_static_host --target host_static >/dev/null
  mkdir -p static_hosts
  cp cmake_static_host/host_static static_hosts/of_cmake
  local way
  for way in -pie -no-pie -static; do
    compile_host static_host zentova-static "$way"
    mv static_host/host "static_hosts/of_pkg_config$way"
  done
  for way in static_hosts/of_*; do
    if grep -q 'NEEDED.*ztcore' <<<"$(readelf --dynamic "$way")"; then
      echo "$way loads the library"
      return 1
    fi
    (cd static_hosts && "../$way") >of_static.txt
    diff <(what_the_host_prints) <(grep -E '^(Gauge|read|first)' of_static.txt)
    # Calls are told as those of the program, although the library is part of its file.
    (cd static_hosts && ZENTOVA_TRACK=lives "../$way" 2>&1 >of_static.txt) >lives.txt
    [ "$way" = static_hosts/of_pkg_config-static ] || grep -q 'made #1 Gauge, by main+0x' lives.txt || {
      cat lives.txt
      return 1
    }
    grep -q 'objects left at the end: 0' lives.txt
  done
}

# As with the shared library, a program may define the memory functions, and may make objects before main.
static_hosts_begin_before_main_and_replace_memory_functions() {
  need_pkg_config
  # shellcheck disable=SC2046 # the flags are words
  "$CC" -std=c11 -Wall -Wextra -Werror $(flags --cflags zentova-static) "$here/early.c" \
    $(flags --libs zentova-static) -o early
  ./early >early.txt
  diff - <(grep -E '^(early|main|exit|replaced)' early.txt) <<'OUTPUT'
early 1
main 1
replaced 1
exit 1
OUTPUT
}

# What a program gets of the static library besides the public names would be in the way of its own.
the_static_library_shows_public_names_only() {
  diff <(nm --extern-only --defined-only "$prefix/$LIBDIR/libztcore.a" | sed -n 's/^[0-9a-f]* . //p' | sort) \
    <(nm --dynamic --defined-only "$prefix/$LIBDIR/libztcore.so" | sed -n 's/^[0-9a-f]* [^A] \(.*\)@@.*/\1/p' | sort)
}

cmake_says_which_component_is_missing() {
  rm -rf components
  mkdir components
  cat >components/CMakeLists.txt <<'LISTS'
cmake_minimum_required(VERSION 3.25)
project(components LANGUAGES C CXX)
find_package(Zentova 1.0 COMPONENTS ${wanted})
if(NOT Zentova_FOUND)
  message(FATAL_ERROR "not found: ${Zentova_NOT_FOUND_MESSAGE}")
endif()
LISTS
  configure() {
    "$CMAKE" -G Ninja -S components -B components/build -Dwanted="$1" -DCMAKE_PREFIX_PATH="$prefix" \
      -DCMAKE_C_COMPILER="$CC" -DCMAKE_CXX_COMPILER="$CXX" >components.txt 2>&1
  }
  configure 'shared;static;cpp'
  configure ''
  if configure 'shared;python'; then
    echo 'a component that is not there was found'
    return 1
  fi
  grep -q 'not found:.*python' components.txt
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

# warnings_are_errors_where_asked_for <root of the tree>: packagers and users have other compilers.
warnings_are_errors_where_asked_for() {
  local choice found
  for choice in ON OFF ''; do
    rm -rf packaged
    "$CMAKE" -G Ninja -S "$1" -B packaged ${choice:+-DZT_WERROR="$choice"} \
      -DCMAKE_C_COMPILER="$CC" -DCMAKE_CXX_COMPILER="$CXX" >/dev/null
    found=
    if grep -q -- -Werror packaged/compile_commands.json; then found=ON; fi
    [ "$found" = "${choice#OFF}" ]
  done
}

# a_plain_configuration_builds_the_library_alone <root of the tree>: with make, and without the tests' tools.
a_plain_configuration_builds_the_library_alone() {
  rm -rf plain
  "$CMAKE" -G 'Unix Makefiles' -S "$1" -B plain -DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON \
    -DCMAKE_DISABLE_FIND_PACKAGE_Python3=ON -DCMAKE_DISABLE_FIND_PACKAGE_CLI11=ON \
    -DCMAKE_C_COMPILER="$CC" -DCMAKE_CXX_COMPILER="$CXX" >/dev/null
  "$CMAKE" --build plain -- --dry-run >plain.txt
  diff - <(grep -o 'Built target .*' plain.txt | tr -d '"' | sort -u) <<<'Built target ztcore'
  "$CMAKE" --build plain --target help >plain.txt
  grep -qw network plain.txt
}

# a_plain_configuration_builds_the_tool_where_it_can <root of the tree>: where its libraries are installed.
a_plain_configuration_builds_the_tool_where_it_can() {
  rm -rf tool
  "$CMAKE" -G 'Unix Makefiles' -S "$1" -B tool -DCMAKE_C_COMPILER="$CC" -DCMAKE_CXX_COMPILER="$CXX" >/dev/null
  grep -q '^all: tools/inspect/all$' tool/CMakeFiles/Makefile2
  "$CMAKE" --build tool --target help >tool.txt
  grep -qw ztinspect tool.txt
}

"$@"
