#!/usr/bin/env python3
"""Where the instructions of the library's operations are spent: in the C library's memory functions, in its other
functions, and in the library and its callers; and how many blocks an operation allocates. Valgrind's Callgrind counts.

usage: shares.py FOLDER [PATTERN]
    FOLDER   where the programs are built
    PATTERN  a regular expression; only operations that it matches are counted
"""

import collections
import pathlib
import re
import shutil
import sys
import tempfile

import count

ALLOCATING = ("malloc", "calloc", "realloc")
MEMORY = re.compile(r"(_int_)?(malloc|calloc|realloc|free)|malloc_consolidate|sysmalloc|unlink_chunk.*|tcache_.*"
                    r"|_mid_memalign|alloc_perturb|systrim.*")


class Profile:
    """What one run of a program spends: instructions by object file and function, and calls by function."""

    def __init__(self, text):
        self.spent, self.calls = collections.Counter(), collections.Counter()
        self.names = {}
        place, called, is_callee = {}, None, False
        for line in text.splitlines():
            key, _, value = line.partition("=")
            if key in ("ob", "fn", "cob", "cfn"):
                name = self.name_of(key[-2:], value)
                if key == "cfn":
                    called = name
                elif key != "cob":
                    place[key] = name
            elif key == "calls":
                self.calls[called] += int(value.split()[0])
                is_callee = True  # the next line has what the callee spends
            elif re.match(r"[-+*\d]", line):
                if not is_callee:
                    self.spent[place["ob"], place["fn"]] += int(line.split()[-1])
                is_callee = False

    def name_of(self, kind, value):
        """A name is written once, behind its number."""
        number, name = re.match(r"\((\d+)\)(?: (.*))?", value).groups()
        if name:
            self.names[kind, number] = name
        return self.names[kind, number]

    def figures(self):
        of_memory = of_libc = total = 0
        for (binary, function), spent in self.spent.items():
            total += spent
            if re.search(r"libc[.-]", pathlib.Path(binary).name):
                is_memory = MEMORY.fullmatch(function.split("'")[0])
                of_memory += spent if is_memory else 0
                of_libc += 0 if is_memory else spent
        blocks = sum(self.calls[name] for name in ALLOCATING)
        return collections.Counter(blocks=blocks, memory=of_memory, libc=of_libc, total=total)


def profile(operation, rounds):
    with tempfile.TemporaryDirectory() as folder:
        file = pathlib.Path(folder, "profile")
        count.run(shutil.which("valgrind"), "--tool=callgrind", "--dump-line=no", f"--callgrind-out-file={file}",
                  operation.program, operation.name, str(rounds))
        return Profile(file.read_text()).figures()


def main():
    folder, pattern = sys.argv[1], (sys.argv[2:] or [""])[0]
    print("| operation | instructions | blocks | memory functions | other libc | the rest |")
    print("|---|---:|---:|---:|---:|---:|")
    for operation in count.operations(folder):
        if not re.search(pattern, operation.name):
            continue
        once, twice = (profile(operation, times * operation.rounds) for times in (1, 2))
        each = {key: (twice[key] - once[key]) / operation.rounds / operation.in_round for key in twice}
        rest = each["total"] - each["memory"] - each["libc"]
        print(f"| {operation.name} | {each['total']:,.0f} | {each['blocks']:.1f} | {each['memory']:,.0f} | "
              f"{each['libc']:,.0f} | {rest:,.0f} |", flush=True)


main()
