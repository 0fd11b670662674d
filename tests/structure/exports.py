#!/usr/bin/env python3
"""The library exports exactly what the public headers mark as exported; all of it begins with zt and bears
the version that programs are bound to when they are linked.

usage: exports.py COMPILER LIBRARY
"""

import re
import sys

import tree

VERSION = "ZTCORE_1.0"


def declared(compiler):
    names = set()
    for declaration in re.findall(r"@export([^;{]*)", tree.declarations(compiler)):
        # A function's name stands before its arguments, a variable's at the end.
        names.add(re.search(r"(\w+)\s*(\(|$)", declaration.strip()).group(1))
    return names


def exported(library):
    """Name to version, with the @ or @@ before it, of every exported symbol."""
    symbols = tree.run("nm", "--dynamic", "--defined-only", "--with-symbol-versions", library).splitlines()
    names = [line.split()[-1] for line in symbols if not line.endswith(f" A {VERSION}")]
    return dict(re.fullmatch(r"([^@]*)(.*)", name).groups() for name in names)


def main():
    _, compiler, library = sys.argv
    in_headers, in_library = declared(compiler), exported(library)
    problems = ["no exported declaration was found"] if not in_headers else []
    problems += [f"{name}: declared, not exported" for name in sorted(in_headers - in_library.keys())]
    problems += [f"{name}: exported, not declared" for name in sorted(in_library.keys() - in_headers)]
    strangers = sorted(name for name in in_library if not name.startswith("zt"))
    problems += [f"{name}: does not begin with zt" for name in strangers]
    problems += [f"{name}: not of version {VERSION}" for name, version in sorted(in_library.items())
                 if version != f"@@{VERSION}"]
    tree.finish(problems)


main()
