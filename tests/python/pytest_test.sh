#!/usr/bin/env bash
# Runs the tests of the package for Python: pytest_test.sh <root of the tree> <library>
#
# Without pytest they are skipped; with CI set in the environment they fail instead.
set -euo pipefail

root=$1
export ZENTOVA_LIBRARY=$2 PYTHONPATH=$root/python PYTHONDONTWRITEBYTECODE=1
unset ZENTOVA_LOG

# pytest clears the folder that it is given, so it is a new one.
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

# Debian's interpreter finds Debian's pytest, also where another one comes first.
for python in python3 /usr/bin/python3; do
  if "$python" -c 'import sys, pytest; sys.exit(sys.version_info < (3, 11))' 2>/dev/null; then
    "$python" -m pytest -q -p no:cacheprovider --basetemp="$folder/tests" "$root/python/tests"
    exit
  fi
done
if [ -n "${CI-}" ]; then
  echo 'not tested, and CI is set: no Python 3.11 with pytest'
  exit 1
fi
echo 'skipped: no Python 3.11 with pytest'
exit 77
