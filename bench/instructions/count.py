#!/usr/bin/env python3
"""Instructions per operation, counted by Valgrind's Cachegrind: they are the same in every run of one program on
one machine, but for an instruction in a whole run.

usage: count.py FOLDER [PATTERN]
    FOLDER   where the programs are built: each lists its operations, or runs one
    PATTERN  a regular expression; only operations that it matches are counted
"""

import concurrent.futures
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import typing


class Operation(typing.NamedTuple):
    program: pathlib.Path
    name: str
    in_round: int  # how often a round does it
    rounds: int  # how many rounds are enough to count


def library_path():
    """Where the dynamic linker finds the library, if that is said. Nothing else of the environment is passed on:
    nothing of it may decide on a count."""
    return {name: os.environ[name] for name in ("LD_LIBRARY_PATH",) if name in os.environ}


def run(*command):
    """Runs it in a folder that goes, where the library writes its log."""
    with tempfile.TemporaryDirectory() as folder:
        done = subprocess.run(command, capture_output=True, text=True, cwd=folder, env=library_path())
    if done.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))} gives {done.returncode}\n{done.stdout}{done.stderr}")
    return done


def instructions(*command):
    """The instructions of a whole run."""
    done = run(shutil.which("valgrind"), "--tool=cachegrind", "--cache-sim=no", "--cachegrind-out-file=/dev/null",
               *command)
    return int(re.search(r"I\s+refs:\s+([\d,]+)", done.stderr).group(1).replace(",", ""))


def compiled(folder):
    """What the build says of itself: pairs of a word and the rest of its line."""
    lines = pathlib.Path(folder, "compiled.txt").read_text().splitlines()
    return [tuple(line.split(" ", 1)) for line in lines]


def operations(folder):
    """What the programs list."""
    for program in [pathlib.Path(folder, name).resolve() for word, name in compiled(folder) if word == "program"]:
        listed = run(program).stdout
        for in_round, rounds, name in re.findall(r"^operation (\d+) (\d+) (.+)$", listed, re.M):
            yield Operation(program, name, int(in_round), int(rounds))


def per_operation(operation):
    once, twice = (instructions(operation.program, operation.name, str(times * operation.rounds))
                   for times in (1, 2))
    return (twice - once) / operation.rounds / operation.in_round


def count(chosen):
    """Yields the name of each operation and its instructions."""
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for operation, figure in zip(chosen, pool.map(per_operation, chosen)):
            yield operation.name, figure


def main():
    folder, pattern = sys.argv[1], (sys.argv[2:] or [""])[0]
    chosen = [operation for operation in operations(folder) if re.search(pattern, operation.name)]
    for name, figure in count(chosen):
        print(f"{figure:12.1f}  {name}", flush=True)


if __name__ == "__main__":
    main()
