#!/usr/bin/env bash
# Runs the tests of the package for Python, in the current folder: pytest_test.sh <root of the tree> <library>
#
# Without pytest they are skipped; with CI set in the environment they fail instead.
set -euo pipefail

root=$1
export ZENTOVA_LIBRARY=$2 PYTHONPATH=$root/python PYTHONDONTWRITEBYTECODE=1
unset ZENTOVA_LOG

# Debian's interpreter finds Debian's pytest, also where another one comes first.
for python in python3 /usr/bin/python3; do
  if "$python" -c 'import sys, pytest; sys.exit(sys.version_info < (3, 11))' 2>/dev/null; then
    exec "$python" -m pytest -q -p no:cacheprovider --basetemp=tests "$root/python/tests"
  fi
done
if [ -n "${CI-}" ]; then
  echo 'not tested, and CI is set: no Python 3.11 with pytest'
  exit 1
fi
echo 'skipped: no Python 3.11 with pytest'
exit 77
