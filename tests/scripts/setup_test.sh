#!/usr/bin/env bash
# One test of scripts/setup, in the current folder: setup_test.sh <case> <scripts/setup>
#
# The script finds only the commands in ./bin: a few of the system's, and ones that pretend.
set -euo pipefail

case=$1
setup=$2

fail() {
  printf '%s\n' "$@" >&2
  exit 1
}

# Makes a command of the lines given.
pretend() {
  local name=$1
  shift
  rm -f "bin/$name"
  printf '%s\n' '#!/usr/bin/env bash' "$@" >"bin/$name"
  chmod +x "bin/$name"
}

# A system with all that building takes, where one is root and every call of apt-get is written down.
prepare() {
  rm -rf bin calls.txt
  mkdir bin
  touch calls.txt
  local name
  for name in bash env sort chmod; do ln -s "$(command -v "$name")" "bin/$name"; done
  for name in g++ ninja; do pretend "$name" ':'; done
  pretend pkg-config ':'
  pretend cmake 'echo "cmake version 3.25.1"'
  pretend id 'echo 0'
  pretend apt-get 'echo "apt-get $*" >>calls.txt'
}

# The packages that were asked for, in order.
requested() {
  local call word words=
  while read -r call; do
    [[ $call == *' install '* ]] || continue
    for word in ${call#* install }; do [[ $word == -* ]] || words="$words $word"; done
  done <calls.txt
  echo "${words# }"
}

run() {
  status=0
  PATH=$PWD/bin "$setup" "$@" >out.txt 2>err.txt || status=$?
}

expect_status() {
  [ "$status" -eq "$1" ] || fail "the exit status is $status, not $1" "$(cat out.txt err.txt)"
}

expect_requested() {
  [ "$(requested)" = "$1" ] || fail "requested: $(requested)" "expected: $1"
}

expect_named() {
  grep -q "^Please install these packages .*: $1\$" err.txt || fail "not named: $1" "$(cat err.txt)"
}

asks_for_nothing_when_nothing_is_missing() {
  run build
  expect_status 0
  run
  expect_status 0
  [ ! -s calls.txt ] || fail "$(cat calls.txt)"
  if [ -s out.txt ] || [ -s err.txt ]; then fail "it is not silent"; fi
}

# From here on apt-get gives what it is asked for.
let_apt_get_install() {
  pretend apt-get 'echo "apt-get $*" >>calls.txt' \
    'case "$*" in *ninja-build*) echo "#!/usr/bin/env bash" >bin/ninja; chmod +x bin/ninja ;; esac'
}

installs_just_what_is_missing() {
  rm bin/ninja
  let_apt_get_install
  run build
  expect_status 0
  expect_requested ninja-build
  [[ $(head -n 1 calls.txt) == *update ]] || fail "the lists of packages were not updated first"
}

# What apt says is not in the way of what a script says itself.
shows_of_apt_only_what_failed() {
  rm bin/ninja
  pretend apt-get 'echo "Reading package lists"; echo "Selecting previously" >&2' \
    'echo "#!/usr/bin/env bash" >bin/ninja; chmod +x bin/ninja'
  run build
  expect_status 0
  [ ! -s out.txt ] || fail "$(cat out.txt)"
  [ "$(cat err.txt)" = 'Installing: ninja-build  done' ] || fail "$(cat err.txt)"

  rm bin/ninja
  pretend apt-get 'echo "Unable to locate package"; exit 100'
  run build
  expect_status 1
  grep -q 'Unable to locate package' err.txt || fail "$(cat err.txt)"
}

installs_through_sudo() {
  rm bin/ninja
  let_apt_get_install
  pretend id 'echo 1000'
  pretend sudo 'echo sudo >>calls.txt' '"$@"'
  run build
  expect_status 0
  expect_requested ninja-build
  [ "$(grep -c '^sudo$' calls.txt)" -eq 2 ]
}

names_the_packages_where_it_may_not_install() {
  rm bin/ninja bin/g++
  pretend id 'echo 1000'
  run build
  expect_status 1
  expect_named 'g++ ninja-build'
  [ ! -s calls.txt ] || fail "$(cat calls.txt)"

  pretend id 'echo 0'
  rm bin/apt-get
  run build
  expect_status 1
  expect_named 'g++ ninja-build'
}

names_the_packages_when_installing_fails() {
  rm bin/pkg-config
  pretend apt-get 'exit 100'
  run build
  expect_status 1
  expect_named 'pkg-config'
}

takes_an_old_cmake_for_missing() {
  local version
  for version in 3.9.6 3.24.4; do
    pretend cmake "echo 'cmake version $version'"
    run build
    expect_status 1
    expect_named cmake
  done
  for version in 3.25.0 3.31.2-rc1 4.0.1; do
    pretend cmake "echo 'cmake version $version'"
    run build
    expect_status 0
  done
}

knows_what_each_profile_takes() {
  pretend pkg-config 'exit 1'
  export ZT_DOCS_THEME=none.css
  run test
  expect_status 1
  expect_requested 'libgtest-dev valgrind clang libclang-rt-dev clang-format clang-tidy doxygen python3 abigail-tools chromium libcli11-dev nlohmann-json3-dev gdb'
  run coverage
  expect_status 1
  expect_named 'libgtest-dev gcovr'
  run bench
  expect_status 1
  expect_named 'libbenchmark-dev libglib2.0-dev python3 valgrind'
  run plot
  expect_status 1
  expect_named 'libbenchmark-dev libglib2.0-dev python3 valgrind gnuplot-nox'

  run fuzz
  expect_status 1
  expect_named 'clang libclang-rt-dev'

  run package
  expect_status 1
  expect_named 'dpkg-dev debhelper lintian mmdebstrap dh-python doxygen doxygen-awesome-css python3 libcli11-dev nlohmann-json3-dev'

  rm bin/g++ bin/cmake bin/ninja # which no page takes
  run docs
  expect_status 1
  expect_named 'doxygen doxygen-awesome-css python3'

  export ZT_DOCS_THEME= # which no package has to bring
  run docs
  expect_status 1
  expect_named 'doxygen python3'
}

refuses_an_unknown_profile() {
  run everything
  expect_status 2
  [ "$(cat err.txt)" = 'usage: scripts/setup [build|test|fuzz|coverage|bench|plot|docs|package]' ] ||
    fail "$(cat err.txt)"
}

prepare
"$case"
