#!/usr/bin/env python3
"""What is said once stands nowhere else: the version, besides CMake's in the numbers of core/ztversion.h, and
the list of the rooms."""

import re

import tree

# A list of changes names the version of each, and packages that from which on there is a symbol.
MAY_NAME_VERSIONS = {"CMakeLists.txt", "CHANGELOG.md", "debian/changelog", "debian/libztcore1.symbols"}
MAY_LIST_ROOMS = {"CMakeLists.txt"}
VERSION = re.compile(rf"(?<![\d.]){re.escape(tree.VERSION)}(?![\d.]*\d)")
ROOM_LIST = re.compile(r"\W+".join(tree.ROOMS))


def problems_of(path):
    name = tree.name_of(path)
    text = tree.text_of(path) or ""
    for what, pattern, allowed in (("the version", VERSION, MAY_NAME_VERSIONS),
                                   ("the rooms", ROOM_LIST, MAY_LIST_ROOMS)):
        for match in pattern.finditer("" if name in allowed else text):
            yield f"{name}:{text.count(chr(10), 0, match.start()) + 1}: spells out {what}"


def main():
    own = tree.text_of(tree.ROOT / "CMakeLists.txt")
    problems = [] if VERSION.search(own) and ROOM_LIST.search(own) else ["CMakeLists.txt: not found there"]
    tree.finish(problems + [problem for path in tree.kept() for problem in problems_of(path)])


main()
