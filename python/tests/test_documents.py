"""What README.md and the guide show in Python runs and prints what is shown."""

import re
import subprocess
import sys

import pytest

from conftest import ROOT, TESTS, compiled


def blocks(document):
    """Pairs of a block in Python and the output that the next block shows."""
    text = (ROOT / document).read_text()
    found = re.findall(r"^```python\n(.*?)^```\n(?:[^`]*^```(?:text|console)\n(.*?)^```$)?", text, re.M | re.S)
    return [(source, shown) for source, shown in found]


@pytest.mark.parametrize("document, least", [("docs/guide/11-python.md", 7), ("README.md", 1)])
def test_the_sessions_print_what_is_shown(run, tmp_path, document, least):
    compiled(TESTS / "gauge.c", tmp_path)
    parts = blocks(document)
    assert len(parts) >= least
    done = run("".join(source for source, _ in parts))
    assert (done.stderr, done.returncode) == ("", 0)
    assert done.stdout == "".join(shown for _, shown in parts)


def test_the_session_of_the_readme_is_one(run, tmp_path):
    compiled(TESTS / "gauge.c", tmp_path)
    sessions = re.findall(r"^```pycon\n(.*?)^```$", (ROOT / "README.md").read_text(), re.M | re.S)
    assert len(sessions) == 1 and sessions[0].count(">>>") > 10
    (tmp_path / "session.txt").write_text(sessions[0])
    done = run("""if True:
        import doctest, io, contextlib
        said = io.StringIO()
        with contextlib.redirect_stdout(said):
            failed = doctest.testfile("session.txt", module_relative=False)
        print(failed.failed, failed.attempted, said.getvalue())""")
    assert (done.stderr, done.returncode) == ("", 0)
    assert done.stdout.split()[:2] == ["0", str(sessions[0].count(">>>"))], done.stdout


def test_the_version_is_the_library_s():
    pytest.importorskip("setuptools")
    done = subprocess.run([sys.executable, "setup.py", "--version"], cwd=ROOT / "python", capture_output=True, text=True)
    header = (ROOT / "core" / "ztversion.h").read_text()
    parts = re.findall(r"#define ZT_VERSION_(?:MAJOR|MINOR|PATCH) (\d+)", header)
    assert len(parts) == 3 and done.stdout.split()[-1] == ".".join(parts)
