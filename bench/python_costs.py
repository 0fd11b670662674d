#!/usr/bin/env python3
"""What calls from Python cost, in proportion to PyGObject (Debian's python3-gi), measured by turns in one run; and
how long a million stored nodes take to open and walk.

    PYTHONPATH=python ZENTOVA_LIBRARY=build/release/libztcore.so python3 bench/python_costs.py

The first table is what the package is held to: a method call 1.2 times, reading and writing a property 0.6 times.
"""

import gc
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[1]
ROUNDS, CALLS = 151, 2000
NODES = 1_000_000


def gauge(folder):
    """The plugin of the tests."""
    plugin = pathlib.Path(folder) / "gauge.so"
    subprocess.run([os.environ.get("CC", "cc"), "-O2", "-shared", "-fPIC", "-I", ROOT,
                    ROOT / "python" / "tests" / "gauge.c", "-o", plugin], check=True)
    return plugin


def timed(function):
    """Seconds for a number of calls, without those of the loop."""
    begin = time.perf_counter()
    function()
    return time.perf_counter() - begin


def loop(statement, names):
    """A function that runs a statement many times."""
    lines = f"def run():\n for _ in range({CALLS}):\n  {statement}\n"
    names = dict(names)
    exec(lines, names)
    return names["run"]


def compare(what, ours, theirs, limit=None):
    """Runs two functions by turns. Prints the median time of each, and the median of the proportions of each round:
    the three of a round follow each other within milliseconds, so what else the machine does disturbs them alike."""
    nothing = loop("pass", {})
    found = []
    for _ in range(ROUNDS):
        base = timed(nothing)
        found.append((timed(ours) - base, timed(theirs) - base))
    mine, other = (statistics.median(times) / CALLS * 1e9 for times in zip(*found))
    ratio = statistics.median(one / two for one, two in found)
    held = "" if limit is None else f"   at most {limit}: {'yes' if ratio <= limit else 'NO'}"
    print(f"{what:58} {mine:7.0f} ns {other:7.0f} ns   {ratio:5.2f}{held}", flush=True)
    return ratio


def main():
    try:
        import gi
        gi.require_version("Gio", "2.0")
        from gi.repository import Gio, GObject
    except (ImportError, ValueError):
        sys.exit("python3-gi is needed for the comparison, with the Python that Debian installs")
    import zentova as zt

    class Theirs(GObject.Object):
        level = GObject.Property(type=int, default=0)

    with tempfile.TemporaryDirectory() as folder:
        zt.load_plugin(gauge(folder))
        names = {"node": zt.ztRoot(name="a"), "gauge": zt.Gauge(), "action": Gio.SimpleAction.new("a", None),
                 "theirs": Theirs(), "listener": Gio.SocketListener()}
        print(f"{'':58} {'ours':>10} {'PyGObject':>10}   ratio")
        compare("a method, no arguments: getUid(), get_enabled()", loop("node.getUid()", names),
                loop("action.get_enabled()", names), 1.2)
        compare("a method, one number: setUid(7), set_backlog(7)", loop("node.setUid(7)", names),
                loop("listener.set_backlog(7)", names), 1.2)
        compare("a method, a text: getName(), get_name()", loop("node.getName()", names),
                loop("action.get_name()", names), 1.2)
        compare("reading a property: gauge.level, action.props.enabled", loop("gauge.level", names),
                loop("action.props.enabled", names), 0.6)
        compare("writing it, another value each time (two)", loop("gauge.level = 3; gauge.level = 4", names),
                loop("action.props.enabled = False; action.props.enabled = True", names), 0.6)
        compare("reading and writing it (two)", loop("gauge.level; gauge.level = 3; gauge.level; gauge.level = 4", names),
                loop("action.props.enabled; action.props.enabled = False; "
                     "action.props.enabled; action.props.enabled = True", names), 0.6)
        print("against other ways of PyGObject:")
        compare("reading: action.get_property('enabled')", loop("gauge.level", names),
                loop("action.get_property('enabled')", names))
        compare("writing: action.set_property('enabled', True)", loop("gauge.level = 3", names),
                loop("action.set_property('enabled', True)", names))
        compare("both, of a class in Python there: GObject.Property", loop("gauge.level; gauge.level = 3", names),
                loop("theirs.level; theirs.level = 3", names))
        walked(zt, folder)


def walked(zt, folder):
    """A million nodes, saved, opened and walked."""
    def times(node, count):
        parent = zt.ztRoot(name="node")
        for _ in range(count):
            parent.addChild(node.clone())
        return parent

    root = times(times(times(zt.ztRoot(name="leaf"), 99), 99), 99)
    path = os.path.join(folder, "tree.zt")
    begin = time.perf_counter()
    saved = zt.save_tree(root, path)
    print(f"{saved} nodes: saved in {time.perf_counter() - begin:.1f} s,", end=" ")
    del root
    gc.collect()
    begin = time.perf_counter()
    tree = zt.open_tree(path)
    print(f"opened in {time.perf_counter() - begin:.1f} s,", end=" ", flush=True)
    begin = time.perf_counter()
    count = sum(1 for _ in tree)
    print(f"walked in {time.perf_counter() - begin:.1f} s,", end=" ", flush=True)
    begin = time.perf_counter()
    named = sum(1 for node in tree if node.name == "leaf")
    print(f"walked with their names in {time.perf_counter() - begin:.1f} s")
    assert count == saved == len(tree) and named > saved * 0.9


main()
