#!/usr/bin/env python3
"""Reads files of the library as docs/formats.md describes them, without the library.

usage: reader.py tree <file>    the nodes of a file that ztRoot_saveTree wrote, of the classes of host.c
       reader.py values <file>  the values of the other file of host.c, in the order in which it writes them
"""

import pathlib
import struct
import sys

END_OF_TREE = b"(end of tree)"


class Damaged(Exception):
    pass


class Binary:
    def __init__(self, data):
        self.data, self.at = data, 0

    def take(self, count):
        taken = self.data[self.at : self.at + count]
        if len(taken) < count:
            raise Damaged(f"{count} bytes are missing at {self.at}")
        self.at += count
        return taken

    def number(self, form):
        return struct.unpack(form, self.take(struct.calcsize(form)))[0]

    def int(self):
        return self.number("<i")

    def long(self):
        return self.number("<q")

    def float(self):
        return self.number("<d")

    def char(self):
        return self.take(1)

    def bytes(self, count):
        return self.take(count)

    def text(self, size):
        del size  # its zero byte ends it
        end = self.data.index(b"\0", self.at)
        return self.take(end + 1 - self.at)[:-1]


class Text(Binary):
    """The same values in the text form."""

    def line(self):
        end = self.data.index(b"\n", self.at)
        return self.take(end + 1 - self.at)[:-1]

    def line_feed(self):
        if self.take(1) != b"\n":
            raise Damaged(f"no line feed at {self.at - 1}")

    def int(self):
        return int(self.line())

    def long(self):
        return self.int()

    def float(self):
        return float(self.line())

    def char(self):
        return self.bytes(1)

    def bytes(self, count):
        taken = self.take(count)
        self.line_feed()
        return taken

    def text(self, size):
        line = self.line()
        return b"" if line == b"null" and size != 5 else line


def name_in(field):
    return field.split(b"\0")[0].decode()


# Records ----------------------------------------------------------------------------------------------------


def string(file):
    return file.text(file.int()).decode()


def stored_string(file):
    count = file.int()
    if file.bytes(1) != b":":
        raise Damaged("no mark of a string")
    if count <= 1:
        return None if count == 0 else ""
    return file.bytes(count - 1).decode()


def array(file, form):
    return [struct.unpack(form, file.bytes(struct.calcsize(form)))[0] for _ in range(file.int())]


def attribute(file, form):
    name = name_in(file.bytes(32))
    kind, again, user = file.int(), file.int(), file.int()
    if kind != again:
        raise Damaged("two types")
    return name, kind, user, array(file, form)


class Identity:
    def __init__(self, file):
        self.field = file.bytes(100)
        self.name = name_in(self.field)
        for end in ("\r\n", "\n", "\r"):
            if len(self.name) > 1 and self.name.endswith(end):
                self.name = self.name.removesuffix(end)
        self.version = file.int()

    def distance(self):
        length = len(self.field.split(b"\0")[0])
        hint = self.field[83:99]
        if length > 82 or any(self.field[length:83]) or hint[:6] != b"above:" or not hint[6:].isdigit():
            return 0
        return int(hint[6:])


def number(value):
    return f"{value:.6f}"


class Node:
    """What all nodes store, and what those of the classes of host.c store behind it."""

    def __init__(self, identity, file):
        self.identity, self.parent, self.children, self.more = identity, None, [], ""
        self.uid = file.int()
        self.name = name_in(file.bytes(80))
        self.parent_uid = file.int()
        if identity.name == "Room":
            self.more = f" area {number(file.float())}"
        elif identity.name == "Station":
            attributes = (attribute(file, "<i"), attribute(file, "<d"))
            self.more = "".join(f" {name} type {kind} user {user}: {' '.join(map(number, values))}"
                                for name, kind, user, values in attributes)
        elif identity.name != "ztRoot":
            raise Damaged(f"a record of class {identity.name}")

    def lines(self, indent=0):
        yield (f"{' ' * indent}{self.identity.name} version {self.identity.version} uid {self.uid} "
               f"'{self.name}'{self.more}")
        for child in self.children:
            yield from child.lines(indent + 2)


# Files ------------------------------------------------------------------------------------------------------


def check_sum(data):
    total = 0
    for at in range(0, len(data), 8):
        word = int.from_bytes(data[at : at + 8], "little")
        total = (total ^ word) * 0x9E3779B97F4A7C15 % 2**64
        total ^= total >> 32
    return total


def mark_of(data, form):
    """What the mark at the end says, if the file ends with one of that form: nodes, bytes, sum."""
    try:
        file = form(data[-168:])
        if file.bytes(100) != END_OF_TREE.ljust(100, b"\0") or file.int() != 1:
            return None
        words = file.bytes(64).decode().split(" ")
    except (Damaged, ValueError):
        return None
    if words[0::2] != ["nodes", "bytes", "sum"]:
        return None
    return int(words[1]), int(words[3]), int(words[5], 16)


def put_together(nodes):
    first = {}
    for node in nodes:
        first.setdefault(node.uid, node)
    for place, node in enumerate(nodes):
        distance = node.identity.distance()
        if 0 < distance <= place and nodes[place - distance].uid == node.parent_uid:
            node.parent = nodes[place - distance]
        elif node.parent_uid not in (0, -1):
            node.parent = first.get(node.parent_uid)
    for node in nodes:
        above, seen = node.parent, {node}
        while above is not None and above not in seen:
            seen.add(above)
            above = above.parent
        if above is node:
            node.parent = None
    for node in nodes:
        if node.parent is not None:
            node.parent.children.append(node)
    return [node for node in nodes if node.parent is None]


def tree(data):
    for form in (Binary, Text):
        mark = mark_of(data, form)
        if mark is None:
            continue
        count, size, total = mark
        if size != len(data) - 168 or check_sum(data[:size]) != total:
            raise Damaged("the file differs from what was saved")
        file, nodes = form(data[:size]), []
        while file.at < size:
            nodes.append(Node(Identity(file), file))
        if len(nodes) != count:
            raise Damaged("the number of records differs")
        for root in put_together(nodes):
            yield from root.lines()
        return
    raise Damaged("no mark at the end")


def values(data):
    # The first value is an int, whose third byte is 0 in the binary form only.
    file = Binary(data) if data[2] == 0 else Text(data)
    yield f"int {file.int()} {file.int()} {file.int()}"
    yield f"long {file.long()} {file.long()}"
    yield f"float {number(file.float())} {number(file.float())}"
    yield f"char {file.char()[0]}"
    yield f"bytes {file.bytes(5).hex()}"
    yield f"text '{file.text(6).decode()}' '{file.text(1).decode()}'"
    for _ in range(3):
        yield f"string '{string(file)}'"
        file.char()
    for _ in range(4):
        text = stored_string(file)
        yield "no string" if text is None else f"stored '{text}'"
    identity = Identity(file)
    yield f"{identity.name} version {identity.version}: {array(file, '<i')}"
    yield f"floats {' '.join(map(number, array(file, '<d')))}"
    yield f"chars {array(file, '<b')}"
    yield f"strings {[string(file) for _ in range(file.int())]}"
    yield f"links {[file.int() for _ in range(file.int())]}"
    yield f"handle {file.int()} {file.int()}"
    if file.at != len(data):
        raise Damaged(f"{len(data) - file.at} bytes are left")


def main():
    kinds = {"tree": tree, "values": values}
    try:
        for line in kinds[sys.argv[1]](pathlib.Path(sys.argv[2]).read_bytes()):
            print(line)
    except Damaged as reason:
        sys.exit(f"damaged: {reason}")


main()
