"""The commands: zt live, zt graph, zt class, zt object."""

import collections
import itertools

import gdb

from .describe import fields_of, slots_of, static_properties
from .live import Registry, Search
from .memory import Unreadable, regions
from .model import Space
from .printers import ObjectPrinter, nesting, type_of
from .values import NoObject, Pointer, Problem, function_at, most_shown, symbol_at


class Command(gdb.Command):
    """A command, whose text is its help. What memory does not give is reported as gdb reports errors."""

    def __init__(self, name, **options):
        super().__init__(name, gdb.COMMAND_DATA, **options)

    def invoke(self, argument, from_tty):
        self.dont_repeat()
        try:
            self.run(argument.strip())
        except (Unreadable, NoObject, gdb.error) as problem:
            raise gdb.GdbError(str(problem))

    def run(self, argument):
        raise NotImplementedError


class Zt(gdb.Command):
    """Objects of the Zentova OOP Engine.

"print" shows an object as its class, its reference count and its name, and below that what it holds: the elements
of a container, the connections of a signal, otherwise its fields. Pointers among these are one line each. Queues
begin with the front, stacks with the bottom, trees and maps with the least key.

The commands read memory only, and call nothing in the program. So they work on core files as well. "print/r" shows
what a type says, without all this."""

    def __init__(self):
        super().__init__("zt", gdb.COMMAND_DATA, prefix=True)


class Live(Command):
    """Live objects.
Usage: zt live [CLASS]

Without an argument, counts the objects of each class; those of a class below it are not counted with it. With a
class, lists its objects and those of the classes below it, with address, count and name.

The objects are found by their first word, the address of a class, in all memory that the program may write to. So
they are candidates: memory that was freed and not used again may still hold what looks like an object. These are
left out: reference counts of 0 and impossible ones; the objects that the registry keeps for its classes; parts of
a shared block that has no living part; stack that no function uses; and, where the heap is one of the GNU C
library, memory that is freed or in the cache of a thread. What the library keeps for itself, such as the
properties that classes declare, is counted."""

    def run(self, argument):
        space = Space()
        search = Search(space)
        if argument:
            self.list(search, argument)
        else:
            self.count(search)

    @staticmethod
    def count(search):
        counts = collections.Counter(found.klass.name for found in search.objects())
        for name, count in sorted(counts.items(), key=lambda item: (-item[1], item[0])):
            gdb.write(f"{count:>9}  {name}\n")
        gdb.write(f"{sum(counts.values()):>9}  objects of {len(counts)} classes\n")

    @staticmethod
    def list(search, name):
        count = 0
        for found in search.objects():
            if found.klass.is_a(name):
                gdb.write(f"{found.address:#x} {found.label()}\n")
                count += 1
        if not count and name not in search.registry.classes:
            raise gdb.GdbError(f'No class "{name}" is registered, and no object of one was found.')
        gdb.write(f"{count} object{'' if count == 1 else 's'} of {name} and the classes below it\n")


class Graph(Command):
    """Objects and how they are connected, as a graph in the language DOT.
Usage: zt graph [FILE]

Writes to the file, or shows the graph without one. Its nodes are the live objects of ztObject and the classes below
it, as "zt live" finds them. A line leads from each node of a tree to its children, and a dashed arrow from the sender
of a signal to each receiver, with signal and slot. The connections by which the engine itself disconnects objects
that end are left out.

"dot -Tsvg FILE" draws it."""

    def run(self, argument):
        lines = "".join(f"{line}\n" for line in self.lines())
        if not argument:
            gdb.write(lines)
            return
        try:
            with open(argument, "w", encoding="utf-8") as file:
                file.write(lines)
        except OSError as problem:
            raise gdb.GdbError(f"{argument}: {problem.strerror}")

    def lines(self):
        search = Search(Space())
        objects = {found.address: found for found in search.objects() if found.klass.is_a("ztObject")}
        yield "digraph objects {"
        yield "  node [shape=box];"
        for found in objects.values():
            yield f"  o{found.address:x} [label={dot_text(self.label(found))}];"
        for found in objects.values():
            for lines in (self.children(found, objects), self.connections(found, objects)):
                try:
                    yield from lines
                except (Unreadable, NoObject) as problem:
                    yield f"  // {found.address:#x}: {problem}"
        yield "}"

    @staticmethod
    def label(found):
        try:
            name = found.name()
        except (Unreadable, NoObject):
            name = None
        return f"{found.klass.name}\n{name or hex(found.address)}"

    @staticmethod
    def children(found, objects):
        if not found.klass.is_a("ztRoot"):
            return
        for child in found.children():
            if isinstance(child, Problem):
                yield f"  // {found.address:#x}: {child}"
            elif child in objects:
                yield f"  o{found.address:x} -> o{child:x} [arrowhead=none];"

    @staticmethod
    def connections(found, objects):
        for signal in found.signals():
            for slot in signal.slots():
                receiver = slot.word("ztSlot", "receiver")
                if receiver not in objects or slot.is_tie():
                    continue
                function = slot.word("ztSlot", "function")
                text = f"{signal.name()}\n{symbol_at(function) or slot.name() or function_at(function)}"
                yield f"  o{found.address:x} -> o{receiver:x} [style=dashed, label={dot_text(text)}];"


def dot_text(text):
    marks = {"\\": "\\\\", '"': '\\"', "\n": "\\n"}
    return '"' + "".join(marks.get(mark) or (mark if mark.isprintable() else "?") for mark in text) + '"'


class ShowClass(Command):
    """What a class is.
Usage: zt class [NAME]

Shows the classes above it, its version and size, its fields with their offsets and types, and each slot of its
method table: its number, its name, the function in it, and the class whose own version that is; then the properties
that it and the classes above it declare. In place of a name, an expression may stand that gives an object or a class.
Fields and names of slots come from the texts that classes carry; a class without texts shows those that it inherits.

Without an argument, lists the registered classes."""

    def run(self, argument):
        space = Space()
        classes = Registry(space, [region for region in regions() if region.writable]).classes
        if not argument:
            self.list(classes)
            return
        self.show(space, classes.get(argument) or self.evaluated(space, argument))

    @staticmethod
    def list(classes):
        for klass in sorted(classes.values(), key=lambda klass: klass.description().split(" : ")[::-1]):
            gdb.write(f"{klass.description()}\n")
        gdb.write(f"{len(classes)} classes\n")

    @staticmethod
    def evaluated(space, argument):
        try:
            address = address_of(argument)
        except gdb.error:
            raise gdb.GdbError(f'No class "{argument}" is registered.')
        return space.class_at(address) or space.object_at(address).klass

    @staticmethod
    def show(space, klass):
        gdb.write(f"{klass.description()}\n")
        gdb.write(f"version {klass.version}, {klass.size} bytes, descriptor {klass.address:#x}\n")
        for field in fields_of(space, klass):
            gdb.write(f"{field.line()}\n")
        for slot in slots_of(space, klass):
            gdb.write(f"{slot.line()}\n")
        for declared in static_properties(space, klass):
            gdb.write(f"property {' '.join(declared.details())}\n")


class ShowObject(Command):
    """All of one object.
Usage: zt object EXPRESSION

The expression gives the object or its address, also as a pointer to void. Shows its classes, its fields, its own
properties, its signals with their connections, the sender of the signal that it is receiving, its place in a tree and
its elements."""

    def run(self, argument):
        if not argument:
            raise gdb.GdbError("Which object? Usage: zt object EXPRESSION")
        found = Space().object_at(address_of(argument))
        gdb.write(f"{found.address:#x} {found.label()}\n")
        gdb.write(f"  class {found.klass.description()}\n")
        for title, lines in self.sections(found):
            self.section(title, lines)

    def sections(self, found):
        yield "fields", self.fields(found)
        if found.klass.is_a("ztObject"):
            yield "properties", (one.label() for one in found.properties())
            yield "signals", self.signals(found)
            yield "sender", self.one(found, "ztObject", "sender")
        if found.klass.is_a("ztRoot"):
            yield "parent", self.one(found, "ztRoot", "parent")
            yield "children", (found.space.show(child) for child in found.children())
        if found.klass.is_a("ztTag"):
            yield "attributes", (found.space.show(attribute) for attribute in found.attributes())
        if found.is_container() and not found.is_text():
            yield "elements", self.elements(found)

    @staticmethod
    def section(title, lines):
        """A section with as many lines as gdb shows elements; nothing without any."""
        try:
            for number, line in enumerate(itertools.islice(lines, most_shown() + 1)):
                if number == 0:
                    gdb.write(f"  {title}\n")
                gdb.write(f"    {line}\n" if number < most_shown() else "    ...\n")
        except (Unreadable, NoObject) as problem:
            gdb.write(f"  {title}: <{problem}>\n")

    @staticmethod
    def fields(found):
        """The fields, by the struct of the class itself where gdb knows it, otherwise as the class tells."""
        kind = type_of(found.klass, None)
        if kind is not None and kind.sizeof == found.klass.size:
            for name, value in nesting.among(ObjectPrinter(kind, found.address, True, found.space).fields()):
                yield f"{name} = {value.format_string()}"
            return
        for field in fields_of(found.space, found.klass):
            value = field.value_of(found)
            if field.owner.parent is not None and value is not None:
                yield f"{field.name} = {found.space.show(value)}"

    @staticmethod
    def signals(found):
        for signal in found.signals():
            yield signal.label()
            for slot in signal.slots():
                yield f"  {'(tie) ' if slot.is_tie() else ''}{slot.label()}"

    @staticmethod
    def one(found, struct, field):
        address = found.word(struct, field)
        if address:
            yield found.space.show(Pointer(address))

    @staticmethod
    def elements(found):
        for element in found.elements():
            if found.has_pairs():
                key, value = element
                yield found.space.show(key) if isinstance(key, Problem) else (
                    f"{found.space.show(key)}: {found.space.show(value)}")
            else:
                yield found.space.show(element)


def address_of(expression):
    """The address that an expression gives: that of a value that is no pointer and no number is its own."""
    value = gdb.parse_and_eval(expression)
    kind = value.type.strip_typedefs()
    if kind.code in (gdb.TYPE_CODE_STRUCT, gdb.TYPE_CODE_REF) and value.address is not None:
        return int(value.address)
    return int(value) & (1 << 64) - 1


def register():
    Zt()
    Live("zt live")
    Graph("zt graph", completer_class=gdb.COMPLETE_FILENAME)
    ShowClass("zt class")
    ShowObject("zt object", completer_class=gdb.COMPLETE_EXPRESSION)
