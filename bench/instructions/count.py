#!/usr/bin/env python3
"""Instructions per operation, counted by Valgrind's Cachegrind: they are the same in every run of one program on
one machine.

usage: count.py PROGRAM [PATTERN]
    PROGRAM  built from a file of this folder: it lists its operations, or runs one
    PATTERN  only operations that the regular expression matches
"""

import concurrent.futures
import os
import re
import subprocess
import sys

ROUNDS = 300


def counted(program, operation, rounds):
    """The instructions of a whole run."""
    command = ["valgrind", "--tool=cachegrind", "--cache-sim=no", "--cachegrind-out-file=/dev/null",
               program, operation, str(rounds)]
    # Where there are two memory regions of the same size, their order in memory decides on a few instructions.
    done = subprocess.run(["setarch", "-R", *command], capture_output=True, text=True,
                          env={"PATH": os.environ["PATH"], **preloaded()})
    found = re.search(r"I\s+refs:\s+([\d,]+)", done.stderr)
    if done.returncode != 0 or not found:
        sys.exit(f"{' '.join(command)} gives {done.returncode}\n{done.stdout}{done.stderr}")
    return int(found.group(1).replace(",", ""))


def preloaded():
    """Where the dynamic linker finds the library, if that is said."""
    return {name: os.environ[name] for name in ("LD_LIBRARY_PATH",) if name in os.environ}


def operations(program):
    """Pairs of name and how often a round does it."""
    listed = subprocess.run([program], capture_output=True, text=True, check=True).stdout
    return [(name, int(count)) for count, name in re.findall(r"^operation (\d+) (.+)$", listed, re.M)]


def per_operation(program, operation, in_round):
    rounds = max(ROUNDS // in_round, 4)
    once, twice = (counted(program, operation, count) for count in (rounds, 2 * rounds))
    return (twice - once) / rounds / in_round


def count(program, pattern=""):
    """Yields (operation, instructions)."""
    chosen = [(name, in_round) for name, in_round in operations(program) if re.search(pattern, name)]
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        counts = pool.map(lambda one: per_operation(program, *one), chosen)
        for (name, _), instructions in zip(chosen, counts):
            yield name, instructions


if __name__ == "__main__":
    for name, instructions in count(*sys.argv[1:]):
        print(f"{instructions:12.1f}  {name}", flush=True)
