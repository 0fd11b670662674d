#!/usr/bin/env python3
"""The picture of the rooms, docs/rooms.svg, shows what their files include.

usage: picture.py [--update]

A room stands above those that its files include, by the lines on the right; one that other lines lead to as well
is left out. The lines on the left lead up, to rooms that sources look ahead to: the modules that do it are named on the
right.
--update draws the picture anew.
"""

import re
import sys

import tree

PICTURE = tree.ROOT / "docs" / "rooms.svg"
WIDTH, BOX_WIDTH, BOX_HEIGHT, GAP = 760, 260, 46, 34
LEFT = 140  # of the boxes
CAPTIONS = 550
STYLE = """\
text { font: 13px sans-serif; fill: #222; }
.name { font-weight: bold; }
.small { font-size: 11px; fill: #666; }
rect { fill: #f4f6f8; stroke: #556; }
.page { fill: #fff; stroke: none; }
path { fill: none; stroke-width: 1.3; }
.down { stroke: #2a6496; marker-end: url(#to-down); }
.ahead { stroke: #b0542a; stroke-dasharray: 5 3; marker-end: url(#to-ahead); }
"""
MARKER = ('<marker id="to-{0}" viewBox="0 0 8 8" refX="8" refY="4" markerWidth="8" markerHeight="8" orient="auto">'
          '<path d="M0 0L8 4L0 8z" style="fill: {1}; stroke: none"/></marker>')


def subjects():
    """Room to what the reference pages say that it is."""
    groups = (tree.ROOT / "docs" / "rooms.dox").read_text()
    return {room: subject for room, subject in re.findall(r"@defgroup (\w+) \1: (.*)", groups) if room in tree.ROOMS}


def includes():
    """Pairs (room, included room), and the names of the modules, for rooms before and for later ones."""
    down, ahead = {}, {}
    for path in tree.room_files("*.h", "*.hh", "*.cpp"):
        room = path.parent.name
        for target in re.findall(r'^#include "(\w+)/', path.read_text(), re.M):
            if target != room:
                found = down if tree.ROOMS.index(target) < tree.ROOMS.index(room) else ahead
                found.setdefault((room, target), set()).add(path.stem)
    return down, ahead


def reduced(pairs):
    """Without those that others lead to as well."""
    reached = {room: set() for room in tree.ROOMS}
    for room in tree.ROOMS:  # each after those that it includes
        for target in (target for origin, target in pairs if origin == room):
            reached[room] |= {target} | reached[target]
    return [(room, target) for room, target in sorted(pairs)
            if not any(target in reached[other] for origin, other in pairs if origin == room)]


def top_of(room):
    """The first room stands at the bottom."""
    return 20 + (len(tree.ROOMS) - 1 - tree.ROOMS.index(room)) * (BOX_HEIGHT + GAP)


def box(room, subject):
    middle = LEFT + BOX_WIDTH // 2
    top = top_of(room)
    return [f'<rect x="{LEFT}" y="{top}" width="{BOX_WIDTH}" height="{BOX_HEIGHT}" rx="5"/>',
            f'<text class="name" x="{middle}" y="{top + 19}" text-anchor="middle">{room}</text>',
            f'<text class="small" x="{middle}" y="{top + 35}" text-anchor="middle">{subject}</text>']


def arc(pair, edge, turn, kind):
    """A line from one room to another beside the boxes; the farther they are apart, the farther out."""
    places = [tree.ROOMS.index(room) for room in pair]
    spread = places[0] - places[1]
    start, end = (top_of(room) + BOX_HEIGHT // 2 + shift for room, shift in zip(pair, (3 * spread, -3 * spread)))
    out = edge + turn * (14 + 30 * abs(spread))
    return f'<path class="{kind}" d="M{edge} {start}C{out} {start} {out} {end} {edge} {end}"/>'


def captions(ahead):
    """Which modules of a room look ahead, beside the room."""
    for room in tree.ROOMS:
        lines = [f"to {target}: {', '.join(sorted(names))}" for (origin, target), names in sorted(ahead.items())
                 if origin == room]
        for number, line in enumerate(lines):
            y = top_of(room) + BOX_HEIGHT // 2 + 4 + 14 * number - 7 * (len(lines) - 1)
            yield f'<text class="small" x="{CAPTIONS}" y="{y}">{line}</text>'


def drawn():
    down, ahead = includes()
    if not down:
        sys.exit("no include was found")
    height = top_of(tree.ROOMS[0]) + BOX_HEIGHT + 50
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{height}" '
             f'viewBox="0 0 {WIDTH} {height}">', f"<style>\n{STYLE}</style>",
             "<defs>" + MARKER.format("down", "#2a6496") + MARKER.format("ahead", "#b0542a") + "</defs>"]
    parts.append(f'<rect class="page" width="{WIDTH}" height="{height}"/>')
    for room, subject in subjects().items():
        parts += box(room, subject)
    parts += [arc(pair, LEFT + BOX_WIDTH, 1, "down") for pair in reduced(down)]
    parts += [arc(pair, LEFT, -1, "ahead") for pair in sorted(ahead)]
    parts += captions(ahead)
    parts += [f'<text class="small" x="{LEFT + BOX_WIDTH + 8}" y="{height - 14}">includes</text>',
              f'<text class="small" x="{LEFT - 8}" y="{height - 14}" text-anchor="end">sources look ahead</text>',
              "</svg>"]
    return "\n".join(parts) + "\n"


def main():
    if "--update" in sys.argv:
        PICTURE.write_text(drawn())
    current = PICTURE.is_file() and PICTURE.read_text() == drawn()
    tree.finish([] if current else ["docs/rooms.svg does not show the includes as they are: picture.py --update"])


main()
