#!/usr/bin/env python3
"""Includes are written from the root, and headers include only their own room and the rooms before it;
public headers no private one."""

import re

import tree


def problems_of(path):
    for line in path.read_text().splitlines():
        match = re.match(r'\s*#\s*include\s*"([^"]*)"', line)
        if not match:
            continue
        target = match.group(1)
        if not (tree.ROOT / target).is_file():
            yield f'{tree.name_of(path)}: "{target}" is not written from the root'
        elif path.suffix != ".cpp":
            room = target.split("/")[0]
            if room not in tree.ROOMS or tree.ROOMS.index(room) > tree.ROOMS.index(path.parent.name):
                yield f'{tree.name_of(path)}: "{target}" is of a later room'
            if path.suffix == ".h" and not target.endswith(".h"):
                yield f'{tree.name_of(path)}: "{target}" is private'


tree.finish([problem for path in tree.room_files("*.h", "*.hh", "*.cpp") for problem in problems_of(path)])
