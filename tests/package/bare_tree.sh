#!/bin/sh
# Installs the packages beside this file in a bare Debian tree, builds and runs programs with them, and removes
# them. scripts/package runs it as root of that tree.
set -eu
cd "$(dirname "$0")"
export DEBIAN_FRONTEND=noninteractive

quietly() {
  if ! "$@" >/tmp/output.txt 2>&1; then
    cat /tmp/output.txt >&2
    exit 1
  fi
}

# What the packages' own names are found in, outside of this folder and of dpkg's and apt's records.
traces() {
  find / -xdev \( -path "$PWD" -o -path /proc -o -path /sys -o -path /var/lib/dpkg -o -path /var/lib/apt \
    -o -path /var/cache -o -path /var/log \) -prune -o \( -name '*zentova*' -o -name '*ztcore*' \) -print
}

packages=$(for file in *.deb; do dpkg-deb --field "$file" Package; done)

if command -v cc >/dev/null; then
  echo 'the tree is not bare: it has a compiler' >&2
  exit 1
fi
[ -z "$(traces)" ]

echo '   apt install ./*.deb'
# Trees made by tools may leave out what Debian installs: what is recommended.
quietly apt-get install --yes --install-recommends ./*.deb
sh debian/tests/programs c static python
ztinspect classes >/tmp/classes.txt
grep -q '^ztBaseClass ' /tmp/classes.txt
# gdb looks for the script of a library under the path of its file.
library=$(readlink -f /usr/lib/*/libztcore.so.1)
[ -f "/usr/share/gdb/auto-load$library-gdb.py" ]
ZENTOVA_TRACK=1 ztinspect classes >/tmp/classes.txt 2>/tmp/left.txt
grep -qx 'zentova: objects left at the end: 0' /tmp/left.txt

echo '   with g++ and cmake'
quietly apt-get install --yes --no-install-recommends cmake g++ make
sh debian/tests/programs c++ cmake

echo '   removing them'
# shellcheck disable=SC2086 # names are words
quietly apt-get purge --yes $packages
left=$(traces)
if [ -n "$left" ]; then
  printf 'left behind:\n%s\n' "$left" >&2
  exit 1
fi
echo '   nothing is left'
