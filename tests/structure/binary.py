#!/usr/bin/env python3
"""The library's file: what it links, and that only its own hooks run when it is loaded and unloaded.

usage: binary.py LIBRARY optimised|unoptimised

Then, how it is guarded, where the C library's own checks take an optimised build; and how little it takes of
what threads have.
"""

import fnmatch
import pathlib
import re
import sys
import typing

import tree

SONAME = "libztcore.so.1"
LINKED = {"libc.so.6"}
# What runs at each end: the library's hooks, none for each class, and what the compiler's own start-up files bring along.
HOOKS = {
    ".init_array": {"ztcore_lnx_init", "frame_dummy"},
    ".fini_array": {"ztcore_lnx_free", "_ZL11releaseLastv", "__do_global_dtors_aux"},
}
FORBIDDEN_SECTIONS = {".preinit_array", ".ctors", ".dtors"}
# Loaded libraries share some 1,600 bytes of each thread's.
MOST_THREAD_BYTES = 256
# What the library binds to whoever defines it first, as patterns.
REPLACEABLE = re.findall(r"^  ([\w*]+);$", (tree.ROOT / "cmake" / "replaceable.list").read_text(), re.M)


class Section(typing.NamedTuple):
    address: int
    offset: int  # in the file
    size: int


def sections(library):
    """Each section of the file by its name."""
    rows = re.findall(r"\] (\.\S+)\s+(?!NOBITS)\S+\s+([0-9a-f]+) ([0-9a-f]+) ([0-9a-f]+)",
                      tree.run("readelf", "--section-headers", "--wide", library))
    return {name: Section(*(int(number, 16) for number in numbers)) for name, *numbers in rows}


def named_addresses(library):
    names = {}
    for line in tree.run("nm", "--defined-only", library).splitlines():
        address, _, name = line.split()
        names.setdefault(int(address, 16), set()).add(name.split("@")[0])
    return names


def relocations(library):
    return tree.run("readelf", "--relocs", "--wide", library)


def packed_relocations(library):
    """The addresses of the words that are packed relocations. The distance of their target stands in the word."""
    # Of all of readelf's output, these alone are lines of one number.
    return [int(address, 16) for address in re.findall(r"^([0-9a-f]{16})$", relocations(library), re.M)]


def words(library, addresses):
    """Address to what stands there in the file."""
    contents = pathlib.Path(library).read_bytes()
    present = sections(library).values()
    found = {}
    for address in addresses:
        section = next(one for one in present if one.address <= address < one.address + one.size)
        at = address - section.address + section.offset
        found[address] = int.from_bytes(contents[at:at + 8], "little")
    return found


def pointers(library):
    """Address of each relocated word to the names of the function that it points at."""
    functions = named_addresses(library)
    packed = words(library, packed_relocations(library))
    found = {address: functions.get(target, set()) for address, target in packed.items()}
    for line in relocations(library).splitlines():
        relative = re.match(r"([0-9a-f]+)\s+\S+ R_X86_64_RELATIVE\s+([0-9a-f]+)", line)
        by_name = re.match(r"([0-9a-f]+)\s+\S+ R_X86_64_64\s+\S+ ([^\s@]+)", line)
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
        address, end = present[section].address, present[section].address + present[section].size
        run = [targets.get(at, set()) for at in range(address, end, 8)]
        hook = next(name for name in allowed if name.startswith("zt"))
        if sum(hook in names for names in run) != 1:
            problems.append(f"{section} does not run {hook} once")
        problems += [f"{section} runs {sorted(names) or 'what bears no name'}" for names in run
                     if not names & allowed]
    return problems


def first_instructions(library):
    """Name of each function to its first instruction."""
    code = tree.run("objdump", "--disassemble", "--section=.text", "--no-show-raw-insn", library)
    return dict(re.findall(r"^[0-9a-f]+ <(\S+)>:\n\s*[0-9a-f]+:\s+(\S+)", code, re.M))


def unguarded_targets(library):
    """What is called by its address and does not begin as such a target does."""
    first = first_instructions(library)
    exported = tree.run("nm", "--dynamic", "--defined-only", library)
    called = set(re.findall(r" T (\S+)", exported)).union(*pointers(library).values())
    targets = called & first.keys()
    if not targets:
        return ["no function that is called by its address was found"]
    bare = sorted(name for name in targets if first[name] != "endbr64")
    if not bare:
        return []
    return [f"called by their addresses, {len(bare)} functions do not begin with endbr64: {bare[:5]}"]


def wrong_bindings(library):
    """Of its own functions, the dynamic linker looks up those of the list only, the memory functions among them."""
    own = set(re.findall(r" (zt\w+)@@?ZTCORE", relocations(library)))
    problems = [f"looks up {name}, which is its own" for name in sorted(own)
                if not any(fnmatch.fnmatchcase(name, pattern) for pattern in REPLACEABLE)]
    problems += [f"does not look up {name}, which programs replace"
                 for name in ("ztm_alloc", "ztm_realloc", "ztm_free") if name not in own]
    return problems


def weak_points(library, dynamic, symbols, optimised):
    segments = tree.run("readelf", "--segments", "--wide", library)
    properties = re.findall(r"Properties: (.*)", tree.run("readelf", "--notes", "--wide", library))
    imported = set(re.findall(r" UND (\w+)", symbols))
    problems = {
        "is not bound when it is loaded": not re.search(r"\(FLAGS\).*BIND_NOW", dynamic),
        "leaves its tables writable": "GNU_RELRO" not in segments,
        "has a stack that runs code": not re.search(r"GNU_STACK(\s+0x[0-9a-f]+){5} RW ", segments),
        "has code that can be written": re.search(r"LOAD(\s+0x[0-9a-f]+){5} RWE", segments),
        "changes its code when it is loaded": "TEXTREL" in dynamic,
        "does not guard its stack": "__stack_chk_fail" not in imported,
        "does not note that calls and returns are guarded": properties != ["x86 feature: IBT, SHSTK"],
        "runs what is no target of calls, _init or _fini": re.search(r"\((INIT|FINI)\)", dynamic),
        "does not have sizes checked": optimised and "__vsnprintf_chk" not in imported,
    }
    return [problem for problem, found in problems.items() if found]


def wrong_thread_storage(library, symbols):
    """Storage of threads that libraries may use without a call, and not too much of it."""
    segment = re.search(r"^\s*TLS(?:\s+0x[0-9a-f]+){4}\s+0x([0-9a-f]+)",
                        tree.run("readelf", "--segments", "--wide", library), re.M)
    size = int(segment.group(1), 16) if segment else 0
    problems = [f"takes {size} bytes of each thread's storage"] if size > MOST_THREAD_BYTES else []
    kinds = set(re.findall(r"R_X86_64_(\w*(?:TP|TLS)\w*)", relocations(library)))
    problems += [f"finds a thread's storage by {kind}" for kind in sorted(kinds - {"TPOFF64"})]
    if "__tls_get_addr" in symbols:
        problems.append("calls __tls_get_addr")
    return problems


def main():
    _, library, build = sys.argv
    dynamic = tree.run("readelf", "--dynamic", "--wide", library)
    linked = set(re.findall(r"\(NEEDED\).*\[(.*)\]", dynamic))
    problems = [f"links {name}" for name in sorted(linked - LINKED)]
    if re.findall(r"\(SONAME\).*\[(.*)\]", dynamic) != [SONAME]:
        problems.append(f"is not named {SONAME}")
    # They would keep the library from being unloaded.
    symbols = tree.run("readelf", "--symbols", "--wide", library)
    unique = sorted(set(re.findall(r" UNIQUE .* (\S+)$", symbols, re.M)))
    problems += [f"{name} is of unique linkage" for name in unique]
    problems += wrong_hooks(library) + unguarded_targets(library) + wrong_thread_storage(library, symbols)
    problems += wrong_bindings(library)
    tree.finish(problems + weak_points(library, dynamic, symbols, build == "optimised"))


main()
