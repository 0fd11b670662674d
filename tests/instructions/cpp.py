#!/usr/bin/env python3
"""No operation of the layer for C++ takes more than three percent more instructions than the same in C.

usage: cpp.py PROGRAM
    PROGRAM  lists pairs of operations: "C: NAME" and, behind it, "C++: NAME"
"""

import pathlib
import re
import shutil
import sys

HERE = pathlib.Path(__file__).resolve().parent
sys.path += [str(HERE.parents[1] / "bench" / "instructions"), str(HERE.parent / "structure")]

import count
import tree

TOLERANCE = 1.03


def operations_of(program):
    listed = count.run(program).stdout
    return [count.Operation(program, name, int(in_round), int(rounds))
            for in_round, rounds, name in re.findall(r"^operation (\d+) (\d+) (.+)$", listed, re.M)]


def problems_of(figures):
    """What is wrong with figures by operation."""
    pairs = {name[len("C: "):] for name in figures if name.startswith("C: ")}
    if {f"{language}: {name}" for name in pairs for language in ("C", "C++")} != set(figures) or not pairs:
        yield "the operations are no pairs of C and C++"
        return
    for name in sorted(pairs):
        in_c, in_cpp = figures[f"C: {name}"], figures[f"C++: {name}"]
        if in_cpp > in_c * TOLERANCE:
            yield f"{name}: {in_cpp:.1f} instructions in C++, {in_c:.1f} in C ({100 * (in_cpp / in_c - 1):+.1f} %)"


def main():
    program = pathlib.Path(sys.argv[1]).resolve()
    if not shutil.which("valgrind"):
        tree.skip("no valgrind")
    figures = {}
    for operation, figure in count.count(operations_of(program)):
        print(f"{figure:12.1f}  {operation}", flush=True)
        figures[operation] = figure
    tree.finish(list(problems_of(figures)))


if __name__ == "__main__":
    main()
