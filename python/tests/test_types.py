"""Type hints: mypy, where it is installed, accepts the package and a user's program, and finds the slips of another."""

import os
import subprocess
import sys

import pytest

from conftest import ROOT

RIGHT = '''
import zentova as zt


@zt.subclass
class Flow(zt.ztTag):
    limit = zt.prop("ztInt", 10)
    litres = zt.series(float, 24)

    def write(self, file: zt.Object) -> int:
        return int(self.up("write", file) and file.writeInt(self.limit))


def names(tree: zt.Tree) -> list[str]:
    return [node.name for node in tree]


def total(tag: zt.Object) -> float:
    series: zt.Series = tag.attributes["litres"]
    return float(sum(series)) + series.total


def follow(node: zt.Object) -> dict[str, int]:
    return {name: link.targetId for name, link in zt.links(node).items()}


flow = Flow(name="Monday")
saved: int = zt.save_tree(flow, "flow.zt", text=True)
seen: list[int] = []
connection: zt.Connection = zt.connect(flow, "childAdded", seen.append)
with connection:
    zt.emit(flow, "own", 1, arguments=["int32_t"])
print(names(zt.open_tree("flow.zt")), total(flow), follow(flow), [one.kind for one in zt.properties(Flow)])
'''
SLIPS = {
    'zt.save_tree(1, "a", binary=True)': 'Unexpected keyword argument "binary"',
    'zt.connect(zt.ztRoot(), 5, print)': 'Argument 2 to "connect" has incompatible type "int"',
    'size: str = len(zt.open_tree("a"))': 'expression has type "int"',
    'zt.prop(5)': 'Argument 1 to "prop" has incompatible type "int"',
    'zt.open_tree("a").nodes': '"Tree" has no attribute "nodes"',
    'zt.signals(zt.ztRoot).levels': '"list[str]" has no attribute "levels"|"List[str]" has no attribute "levels"',
    'zt.series(float).append(1)': '"series" has no attribute "append"',
}


def test_mypy_accepts_the_package_and_a_program_and_finds_slips(tmp_path):
    pytest.importorskip("mypy")
    (tmp_path / "right.py").write_text(RIGHT)
    (tmp_path / "slips.py").write_text("import zentova as zt\n" + "\n".join(SLIPS))
    environment = os.environ | {"MYPYPATH": str(ROOT / "python")}
    done = subprocess.run([sys.executable, "-m", "mypy", "--config-file", ROOT / "python" / "pyproject.toml", "--cache-dir",
                           os.devnull, "right.py", "slips.py"], cwd=tmp_path, env=environment, capture_output=True,
                          text=True)
    # Errors of the package would be told as well.
    told = [line for line in done.stdout.splitlines() if " error: " in line]
    assert done.returncode == 1 and all(line.startswith("slips.py:") for line in told), done.stdout + done.stderr
    for number, expected in enumerate(SLIPS.values(), 2):
        found = [line for line in told if line.startswith(f"slips.py:{number}:")]
        assert any(text in line for line in found for text in expected.split("|")), (expected, done.stdout)
