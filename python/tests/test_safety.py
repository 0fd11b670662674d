"""No crash from Python alone: every member of every class with wrong numbers, kinds and ended objects."""

import os
import subprocess
import sys

import pytest

from conftest import ROOT, TESTS


@pytest.mark.parametrize("seed", [1, 2])
def test_no_call_from_python_crashes(plugins, tmp_path, seed):
    environment = os.environ | {"PYTHONPATH": str(ROOT / "python"), "PYTHONDONTWRITEBYTECODE": "1"}
    done = subprocess.run([sys.executable, "-X", "faulthandler", TESTS / "fuzzed.py", tmp_path, str(seed), "1",
                           *(plugins / f"{name}.so" for name in ("gauge", "probe", "meter"))], env=environment,
                          capture_output=True, text=True, timeout=300)
    assert done.returncode == 0, done.stderr[-3000:]
    counts, last = done.stdout.splitlines()[-2:]
    assert last == "all done"
    print(counts)
    numbers = dict(one.split("=") for one in counts.split())
    # Calls come through, and calls are refused.
    for name, least in (("classes", 66), ("methods", 1900), ("calls", 30000), ("returned", 8000), ("TypeError", 5000),
                        ("EndedError", 2000), ("UnsafeError", 3000)):
        assert int(numbers[name]) >= least, counts
