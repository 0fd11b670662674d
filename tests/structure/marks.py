#!/usr/bin/env python3
"""In the lists of methods and class functions every pointer to `void` or to characters has a mark of core/ztoop.h,
which says who releases what it leads to; the leading argument needs none. The lists are read as the preprocessor
leaves them, because that is the text that a class keeps: a mark that is a macro would be gone.

usage: marks.py [C_COMPILER]
"""

import re
import sys

import tree

TABLE = re.compile(r"\bstruct\s+(\w+)(?:Methods|Functions)\s*\{([^{}]*)\}")
SLOT = re.compile(r"(?P<result>.*)\(\*(?P<name>\w+)\) ?\((?P<arguments>.*)\)")
UNMARKED = re.compile(r"\b(?:void|char) ?\*")

# Needs no mark: class and method, the pointer, the reason.
ALLOWED = {
    ("ztFile", "readChar", "char *out"): "one character, written like the number of readInt",
}


def slots(compiler):
    """Declaration to the class that has it first, of every slot that is a function."""
    found = {}
    for name, body in TABLE.findall(tree.declarations(compiler)):
        for declaration in body.split(";"):
            found.setdefault(" ".join(declaration.split()), name)
    return {slot: name for declaration, name in found.items() if (slot := SLOT.fullmatch(declaration))}


def unmarked(found):
    """Class, method and pointer of every pointer without a mark."""
    for slot, name in found.items():
        for pointer in [slot["result"], *slot["arguments"].split(",")[1:]]:
            if UNMARKED.search(pointer):
                yield name, slot["name"], pointer.strip()


def main():
    found = slots(sys.argv[1] if len(sys.argv) > 1 else "gcc")
    problems = [] if found else ["no method was found"]
    pointers = set(unmarked(found))
    problems += [f"{name}: {method} has no mark: {pointer}"
                 for name, method, pointer in sorted(pointers - ALLOWED.keys())]
    problems += [f"marks.py allows what is not there: {' '.join(entry)}"
                 for entry in sorted(ALLOWED.keys() - pointers)]
    tree.finish(problems)


main()
