#!/usr/bin/env python3
"""Measures how the cost of a tree's operations grows with the number of its elements, and prints a row
for each number: the elements, the keys compared in a search, and the nanoseconds of one push, find, pop
and step of a walk.

usage: tree.py PROGRAM    PROGRAM: the benchmarks of containers
"""

import json
import pathlib
import subprocess
import sys
import tempfile

OPERATIONS = ["push", "find", "pop", "walk"]
SIZES = [10**power for power in range(3, 8)]
NANOSECONDS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}


def entries(program, pattern, *options):
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run(
            [program.resolve(), f"--benchmark_filter={pattern}", "--benchmark_out=result.json", *options],
            cwd=folder, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True)
        return json.loads(pathlib.Path(folder, "result.json").read_text())["benchmarks"]


def size_of(entry):
    return int(entry["run_name"].split("/")[2])


def per_element(program, operation):
    """Number of elements to nanoseconds for one of them, the median of the repetitions."""
    found = entries(program, f"tree: {operation}/zentova", "--benchmark_repetitions=3")
    return {size_of(entry): entry["cpu_time"] * NANOSECONDS[entry["time_unit"]] / size_of(entry)
            for entry in found if entry.get("aggregate_name") == "median"}


def comparisons(program):
    """Number of elements to keys compared in a search."""
    found = entries(program, "tree: counted find/zentova", "--benchmark_min_time=0")
    return {size_of(entry): entry["comparisons"] / size_of(entry) for entry in found}


def main():
    program = pathlib.Path(sys.argv[1])
    columns = [comparisons(program), *(per_element(program, operation) for operation in OPERATIONS)]
    print("elements", "comparisons", *OPERATIONS)
    for size in SIZES:
        print(size, *(f"{column[size]:.3g}" for column in columns))


main()
