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
ROUNDS, CALLS, WIDTH = 151, 2000, 58
NODES = 1_000_000


def plugin(folder, name):
    """A plugin of the tests."""
    made = pathlib.Path(folder) / f"{name}.so"
    subprocess.run([os.environ.get("CC", "cc"), "-O2", "-shared", "-fPIC", "-I", ROOT,
                    ROOT / "python" / "tests" / f"{name}.c", "-o", made], check=True)
    return made


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
    print(f"{what:{WIDTH}} {mine:7.0f} ns {other:7.0f} ns   {ratio:5.2f}{held}", flush=True)
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
        text = GObject.Property(type=str, default="")

    with tempfile.TemporaryDirectory() as folder:
        for name in ("gauge", "meter"):
            zt.load_plugin(plugin(folder, name))

        @zt.subclass
        class Alarm(zt.Gauge):
            limit = zt.prop("ztInt", 10)
            text = zt.prop("ztString")

        @zt.subclass
        class Node(zt.ztRoot):
            pass

        names = {"node": zt.ztRoot(name="a"), "gauge": zt.Gauge(), "meter": zt.Meter(), "alarm": Alarm(), "own": Node(),
                 "action": Gio.SimpleAction.new("a", None), "theirs": Theirs(), "listener": Gio.SocketListener(),
                 "described": Gio.TlsPassword.new(Gio.TlsPasswordFlags.NONE, "a")}

        def row(what, ours, theirs, limit=None):
            compare(f"{what}: {ours}", loop(ours, names), loop(theirs, names), limit)

        print(f"{'':{WIDTH}} {'ours':>10} {'PyGObject':>10}   ratio")
        for what, one in (("library", "node"), ("plugin", "meter"), ("Python", "own")):
            count = "Turns" if one == "meter" else "Uid"
            row(what, f"{one}.get{count}()", "action.get_enabled()", 1.2)
            row(what, f"{one}.set{count}(7)", "listener.set_backlog(7)", 1.2)
            row(what, f"{one}.getName()", "action.get_name()", 1.2)
        read, write = "action.props.enabled", "action.props.enabled = False; action.props.enabled = True"
        text, change = "described.props.description", "described.props.description = 'a'; described.props.description = 'b'"
        row("library", "node.name", text, 0.6)
        row("library", "node.name = 'a'; node.name = 'b'", change, 0.6)
        row("plugin", "gauge.level", read, 0.6)
        row("plugin", "gauge.level = 3; gauge.level = 4", write, 0.6)
        row("plugin", "gauge.level; gauge.level = 3", "action.props.enabled; action.props.enabled = False", 0.6)
        row("Python, inherited", "alarm.level", read, 0.6)
        row("Python, inherited", "alarm.level = 3; alarm.level = 4", write, 0.6)
        row("Python, its own", "alarm.limit", "theirs.level", 0.6)
        row("Python, its own", "alarm.limit = 3; alarm.limit = 4", "theirs.level = 3; theirs.level = 4", 0.6)
        row("Python, its own", "alarm.text", text, 0.6)
        row("Python, its own", "alarm.text = 'a'; alarm.text = 'b'", change, 0.6)
        print("against other ways of PyGObject:")
        row("get_property('enabled')", "gauge.level", "action.get_property('enabled')")
        row("set_property('enabled', True)", "gauge.level = 3", "action.set_property('enabled', True)")
        row("of a class in Python", "alarm.text", "theirs.text")
        row("of a class in Python", "alarm.text = 'a'; alarm.text = 'b'", "theirs.text = 'a'; theirs.text = 'b'")
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
