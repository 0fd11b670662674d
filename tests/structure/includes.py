#!/usr/bin/env python3
"""Includes are written from the root and go down: a file includes its own room and the rooms before it.
Headers without exception, and public headers no private one; of the sources those that the list below names.

Modules need each other in one direction only. What implements a module is its source and its private header; the
public header, which declares classes for hosts and for the library alike, stands below."""

import re

import tree

# What sources include of a later room, and why; for each of their rooms.
UPWARD = {
    ("core/ztcore.cpp", "zentova.h"): "the list of the library's classes",
    ("core/ztcore.cpp", "objects/ztreport.hh"): "what is left when the library is unloaded",
    ("core/ztshared.cpp", "containers/ztavltree.h"): "a class whose objects may share a block",
    ("core/ztshared.cpp", "objects/ztobject.h"): "the others",
    ("core", "io/ztfile.h"): "the identity of a class is read and written through the methods of a file",
    ("containers", "io/ztfile.h"): "elements are read and written through the methods of a file",
    ("containers", "io/ztclaims.hh"): "a count in a file claims memory for elements that have yet to arrive",
    ("containers", "io/ztstream.hh"): "an array asks whether the stream of a file has a byte left",
    ("containers", "io/ztstring.h"): "there are lists of strings, and the library knows its own comparison functions",
    ("containers", "objects/ztobject.h"): "the library knows its own comparison functions",
    ("objects", "tags/zttag.hh"): "a tree of tags is copied and assigned in one loop",
}


def included_by(path):
    for line in path.read_text().splitlines():
        match = re.match(r'\s*#\s*include\s*"([^"]*)"', line)
        if match:
            yield match.group(1)


def goes_up(path, target):
    room = target.split("/")[0]
    return room not in tree.ROOMS or tree.ROOMS.index(room) > tree.ROOMS.index(path.parent.name)


def exception_for(path, target):
    """The entry of the list that lets a source include what is of a later room, or None."""
    if path.suffix != ".cpp":
        return None
    for place in (tree.name_of(path), path.parent.name):
        if (place, target) in UPWARD:
            return place, target
    return None


def problems_of(path, used):
    for target in included_by(path):
        if not (tree.ROOT / target).is_file():
            yield f'{tree.name_of(path)}: "{target}" is not written from the root'
        elif goes_up(path, target):
            exception = exception_for(path, target)
            used.add(exception)
            if exception is None:
                yield f'{tree.name_of(path)}: "{target}" is of a later room'
        if path.suffix == ".h" and not target.endswith(".h"):
            yield f'{tree.name_of(path)}: "{target}" is private'


def part_of(path):
    """The public header itself, or what implements a module."""
    return path if path.suffix == ".h" else path.with_suffix("")


def circles_in(needs):
    """One circle for each way that leads back to where it came from; `needs` says what each part includes."""
    visited = set()

    def visit(way):
        visited.add(way[-1])
        for target in sorted(needs.get(way[-1], ())):
            if target in way:
                yield way[way.index(target):] + [target]
            elif target not in visited:
                yield from visit(way + [target])

    for part in sorted(needs):
        if part not in visited:
            yield from visit([part])


def circles():
    needs = {}
    for path in tree.room_files("*.h", "*.hh", "*.cpp"):
        targets = {part_of(tree.ROOT / target) for target in included_by(path)} - {part_of(path)}
        needs.setdefault(part_of(path), set()).update(targets)
    for circle in circles_in(needs):
        yield "a circle: " + " -> ".join(map(tree.name_of, circle))


used = set()
problems = [problem for path in tree.room_files("*.h", "*.hh", "*.cpp") for problem in problems_of(path, used)]
problems += [f'{place}: nothing of it includes "{target}" any more' for place, target in set(UPWARD) - used]
problems += circles()
tree.finish(problems)
