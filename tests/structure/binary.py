#!/usr/bin/env python3
"""The library's file: what it links, and that only its own hooks run when it is loaded and unloaded.

usage: binary.py LIBRARY
"""

import re
import sys

import tree

SONAME = "libztcore.so.1"
LINKED = {"libc.so.6", "libm.so.6"}
# What runs at each end: the library's hooks, none for each class, and what the compiler's own start-up files bring along.
HOOKS = {
    ".init_array": {"ztcore_lnx_init", "frame_dummy"},
    ".fini_array": {"ztcore_lnx_free", "_ZL11releaseLastv", "__do_global_dtors_aux"},
}
FORBIDDEN_SECTIONS = {".preinit_array", ".ctors", ".dtors"}


def sections(library):
    """Name to (address, size)."""
    rows = re.findall(r"\] (\.\S+)\s+\S+\s+([0-9a-f]+) [0-9a-f]+ ([0-9a-f]+)",
                      tree.run("readelf", "--section-headers", "--wide", library))
    return {name: (int(address, 16), int(size, 16)) for name, address, size in rows}


def pointers(library):
    """Address of each relocated word to the names of the function that it points at."""
    functions = {}
    for line in tree.run("nm", "--defined-only", library).splitlines():
        address, _, name = line.split()
        functions.setdefault(int(address, 16), set()).add(name)
    found = {}
    for line in tree.run("readelf", "--relocs", "--wide", library).splitlines():
        relative = re.match(r"([0-9a-f]+)\s+\S+ R_X86_64_RELATIVE\s+([0-9a-f]+)", line)
        by_name = re.match(r"([0-9a-f]+)\s+\S+ R_X86_64_64\s+\S+ (\S+)", line)
        if relative:
            found[int(relative.group(1), 16)] = functions.get(int(relative.group(2), 16), set())
        elif by_name:
            found[int(by_name.group(1), 16)] = {by_name.group(2)}
    return found


def wrong_hooks(library):
    present = sections(library)
    targets = pointers(library)
    problems = [f"section {name} is there" for name in sorted(FORBIDDEN_SECTIONS & present.keys())]
    for section, allowed in HOOKS.items():
        address, size = present[section]
        run = [targets.get(at, set()) for at in range(address, address + size, 8)]
        hook = next(name for name in allowed if name.startswith("zt"))
        if sum(hook in names for names in run) != 1:
            problems.append(f"{section} does not run {hook} once")
        problems += [f"{section} runs {sorted(names) or 'what bears no name'}" for names in run
                     if not names & allowed]
    return problems


def main():
    library = sys.argv[1]
    dynamic = tree.run("readelf", "--dynamic", "--wide", library)
    linked = set(re.findall(r"\(NEEDED\).*\[(.*)\]", dynamic))
    problems = [f"links {name}" for name in sorted(linked - LINKED)]
    if re.findall(r"\(SONAME\).*\[(.*)\]", dynamic) != [SONAME]:
        problems.append(f"is not named {SONAME}")
    # They would keep the library from being unloaded.
    symbols = tree.run("readelf", "--symbols", "--wide", library)
    unique = sorted(set(re.findall(r" UNIQUE .* (\S+)$", symbols, re.M)))
    problems += [f"{name} is of unique linkage" for name in unique]
    tree.finish(problems + wrong_hooks(library))


main()
