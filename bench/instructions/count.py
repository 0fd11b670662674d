#!/usr/bin/env python3
"""Instructions per operation, counted by Valgrind's Cachegrind: they are the same in every run of one program on
one machine, but for an instruction in a whole run.

usage: count.py FOLDER [PATTERN]
    FOLDER   holds the programs, whose names begin with instructions_: each lists its operations, or runs one
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

PREFIX = "instructions_"


class Operation(typing.NamedTuple):
    program: pathlib.Path
    name: str
    in_round: int  # how often a round does it
    rounds: int  # how many rounds are enough to count


def library_path():
    """Where the dynamic linker finds the library, if that is said. Nothing else of the environment is passed on:
    nothing of it may decide on a count."""
    return {name: os.environ[name] for name in ("LD_LIBRARY_PATH",) if name in os.environ}


def counted(operation, rounds):
    """The instructions of a whole run."""
    command = [shutil.which("valgrind"), "--tool=cachegrind", "--cache-sim=no", "--cachegrind-out-file=/dev/null",
               operation.program, operation.name, str(rounds)]
    # The library writes its log into the current folder.
    with tempfile.TemporaryDirectory() as folder:
        done = subprocess.run(command, capture_output=True, text=True, cwd=folder, env=library_path())
    found = re.search(r"I\s+refs:\s+([\d,]+)", done.stderr)
    if done.returncode != 0 or not found:
        sys.exit(f"{' '.join(map(str, command))} gives {done.returncode}\n{done.stdout}{done.stderr}")
    return int(found.group(1).replace(",", ""))


def operations(folder):
    """What the programs list."""
    for program in sorted(pathlib.Path(folder).resolve().glob(f"{PREFIX}*")):
        if program.is_file() and os.access(program, os.X_OK):
            listed = subprocess.run([program], capture_output=True, text=True, check=True).stdout
            for in_round, rounds, name in re.findall(r"^operation (\d+) (\d+) (.+)$", listed, re.M):
                yield Operation(program, name, int(in_round), int(rounds))


def per_operation(operation):
    once, twice = (counted(operation, count * operation.rounds) for count in (1, 2))
    return (twice - once) / operation.rounds / operation.in_round


def count(chosen):
    """Yields the name of each operation and its instructions."""
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for operation, instructions in zip(chosen, pool.map(per_operation, chosen)):
            yield operation.name, instructions


def main():
    folder, pattern = sys.argv[1], (sys.argv[2:] or [""])[0]
    chosen = [operation for operation in operations(folder) if re.search(pattern, operation.name)]
    for name, instructions in count(chosen):
        print(f"{instructions:12.1f}  {name}", flush=True)


if __name__ == "__main__":
    main()
