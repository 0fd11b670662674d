"""The picture of the classes, drawn from the public headers: each class below its parent, in the colour of its room,
with a link to its page."""

import re

import headers

STEP, ROW, WIDTH, TOP = 18, 22, 360, 12
# Of the boxes that stand for the rooms, on white and on black.
COLOURS = ["#2a6496", "#7a5195", "#2f7d4f", "#b0542a", "#a03060", "#6b6b00"]
# It stands in the page itself, so its style is that of the page's text.
STYLE = """\
.classtree text { font: 14px sans-serif; fill: currentColor; }
.classtree .room { font-size: 12px; opacity: 0.7; }
.classtree path { fill: none; stroke: #888; }
.classtree a:hover text { text-decoration: underline; }
"""


def classes(paths):
    """Each class: its parent and its room, in the order of the headers."""
    found = {}
    for path in paths:
        text = path.read_text()
        lists = {match["owner"]: headers.List(match) for match in headers.LIST.finditer(text)
                 if match["kind"] == "FIELDS"}
        for match in headers.CLASS.finditer(text):
            if not match["functions"] and match["name"] in lists:
                found[match["name"]] = (lists[match["name"]].parent, path.parent.name)
    return found


def rows(tree, parent=None, depth=0):
    """The classes in their order in the picture, each with its depth."""
    for name in sorted(name for name, (above, _) in tree.items() if above == parent):
        yield name, depth
        yield from rows(tree, name, depth + 1)


def drawn(paths):
    tree = classes(paths)
    rooms = list(dict.fromkeys(room for _, room in tree.values()))
    placed = {name: (depth, TOP + number * ROW) for number, (name, depth) in enumerate(rows(tree))}
    assert placed.keys() == tree.keys(), tree.keys() - placed.keys()
    height = TOP + len(placed) * ROW
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" class="classtree" viewBox="0 0 {WIDTH} {height}" '
             f'role="img" aria-label="The {len(tree)} classes">', f"<style>\n{STYLE}</style>"]
    for name, (depth, top) in placed.items():
        room = tree[name][1]
        x = 8 + depth * STEP
        below = [placed[child][1] for child, (parent, _) in tree.items() if parent == name]
        if below:
            lines = "".join(f"M{x + 5} {place}H{x + STEP}" for place in below)
            parts.append(f'<path d="M{x + 5} {top + 10}V{max(below)}{lines}"/>')
        colour = COLOURS[rooms.index(room) % len(COLOURS)]
        parts += [f'<rect x="{x}" y="{top - 5}" width="10" height="10" rx="2" fill="{colour}"/>',
                  f'<a href="struct{name}.html" target="_top"><text x="{x + 16}" y="{top + 5}">{name}</text></a>',
                  f'<text class="room" x="{WIDTH - 4}" y="{top + 5}" text-anchor="end">{room}</text>']
    return "\n".join([*parts, "</svg>"]) + "\n"
