#!/usr/bin/env python3
"""Measures how the cost of operations grows with the number of objects that could make each of them look through
all others. Prints a row for each number: the objects, and the nanoseconds of CPU time that each case takes for
one of them, or "?" where the whole would take too long.

usage: objects.py PROGRAM    PROGRAM: growth_objects of the benchmarks
"""

import pathlib
import re
import subprocess
import sys
import tempfile

SIZES = [1_000, 3_000, 10_000, 30_000, 100_000, 300_000, 1_000_000]
LONGEST = 20  # seconds


def run(program, *arguments):
    with tempfile.TemporaryDirectory() as folder:
        done = subprocess.run([program, *arguments], cwd=folder, capture_output=True, text=True)
    if done.returncode != 0:
        sys.exit(f"{program} {' '.join(arguments)} gives {done.returncode}\n{done.stderr}")
    return done.stdout


def measured(program, case):
    """Size to nanoseconds, as far as the next size stays short enough even if each takes longer by its ratio."""
    times = {}
    for size, following in zip(SIZES, [*SIZES[1:], SIZES[-1]]):
        times[size] = float(re.search(r"^each (.+)$", run(program, case, str(size)), re.M).group(1))
        if times[size] * size * (following / size) ** 2 > LONGEST * 1e9:
            break
    return times


def main():
    program = pathlib.Path(sys.argv[1]).resolve()
    cases = re.findall(r"^case (.+)$", run(program), re.M)
    columns = [measured(program, case) for case in cases]
    print("objects", *(f'"{case}"' for case in cases))
    for size in SIZES:
        print(size, *(f"{column[size]:.4g}" if size in column else "?" for column in columns), flush=True)


main()
