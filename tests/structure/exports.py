#!/usr/bin/env python3
"""The library exports exactly what the public headers mark as exported, and all of it begins with zt.

usage: exports.py COMPILER LIBRARY
"""

import re
import sys

import tree


def declared(compiler):
    names = set()
    for declaration in re.findall(r"@export([^;{]*)", tree.declarations(compiler)):
        # A function's name stands before its arguments, a variable's at the end.
        names.add(re.search(r"(\w+)\s*(\(|$)", declaration.strip()).group(1))
    return names


def exported(library):
    symbols = tree.run("nm", "--dynamic", "--defined-only", library).splitlines()
    return {line.split()[-1].split("@")[0] for line in symbols}


def main():
    _, compiler, library = sys.argv
    in_headers, in_library = declared(compiler), exported(library)
    problems = ["no exported declaration was found"] if not in_headers else []
    problems += [f"{name}: declared, not exported" for name in sorted(in_headers - in_library)]
    problems += [f"{name}: exported, not declared" for name in sorted(in_library - in_headers)]
    strangers = sorted(name for name in in_library if not name.startswith("zt"))
    problems += [f"{name}: does not begin with zt" for name in strangers]
    tree.finish(problems)


main()
