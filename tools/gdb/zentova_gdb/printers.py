"""Printers of objects, and of classes."""

import itertools

import gdb
import gdb.printing

from .layout import OFFSETS
from .memory import Unreadable
from .model import Space
from .values import NoObject, Pointer, Problem, most_shown


class Nesting:
    """The pointers that printers gave to gdb and that it is printing now. They are shown in one line each: a pointer
    may lead back to where it came from.

    A front end may keep a list of children open when it asks for those of one of them. That one then is not the last
    that the list gave, so it is not among these."""

    def __init__(self):
        self.pointers = []

    def among(self, children):
        """The children, each noted while gdb prints it."""
        for name, value in children:
            pointer = self.pointer_of(value)
            self.pointers.append(pointer)
            try:
                yield name, value
            finally:
                self.pointers.remove(pointer)

    @staticmethod
    def pointer_of(value):
        if not isinstance(value, gdb.Value) or value.type.strip_typedefs().code != gdb.TYPE_CODE_PTR:
            return None
        try:
            return int(value)
        except gdb.error:
            return None


nesting = Nesting()


def is_structure(kind):
    return kind.code == gdb.TYPE_CODE_STRUCT


def leaves(kind):
    """The fields of a struct and of its bases, in the order of their places."""
    for field in kind.fields():
        if field.is_base_class:
            yield from leaves(field.type.strip_typedefs())
        elif hasattr(field, "bitpos"):
            yield field


def is_object_type(kind):
    """Whether a struct is one of the engine: it begins with a pointer to a class and a reference count."""
    first = list(itertools.islice(leaves(kind), 2))
    offsets = OFFSETS["ztBaseClass"]
    if [(field.name, field.bitpos) for field in first] != [(name, 8 * offset) for name, offset in offsets.items()]:
        return False
    kind = first[0].type.strip_typedefs()
    return kind.code == gdb.TYPE_CODE_PTR and kind.target().strip_typedefs().tag == "ztClass"


def type_of(klass, known):
    """The struct of a class or of the nearest one above it that gdb knows; else the known one."""
    for at in klass.chain():
        try:
            kind = gdb.lookup_type(at.name).strip_typedefs()
        except gdb.error:
            continue
        if is_structure(kind) and kind.sizeof == at.size and is_object_type(kind):
            return kind
    return known


class TextPrinter:
    """An object that one line tells all about. Front ends show the line only of values without children."""

    def __init__(self, kind, address, is_pointer, space):
        self.kind, self.address, self.is_pointer, self.space = kind, address, is_pointer, space
        self.object, self.problem = None, None
        try:
            self.object = space.object_at(address)
        except NoObject as problem:
            self.problem = str(problem)

    def to_string(self):
        text = f"<{self.problem}>" if self.object is None else self.object.label()
        return f"{self.address:#x} {text}" if self.is_pointer else text


class ObjectPrinter(TextPrinter):
    """An object, and what it holds: elements, or fields."""

    def display_hint(self):
        if self.object is None or not self.object.is_container():
            return None
        return "map" if self.object.has_pairs() else "array"

    def children(self):
        if self.is_pointer and (self.address in nesting.pointers or self.object is None):
            return iter(())
        hint = self.display_hint()
        found = self.fields() if hint is None else self.pairs() if hint == "map" else self.elements()
        return nesting.among(found)

    def shown(self, value):
        """A value of the program as gdb takes it."""
        if isinstance(value, Pointer):
            found = self.space.find_object(value)
            kind = gdb.lookup_type("void") if found is None else type_of(found.klass, self.kind)
            return gdb.Value(int(value)).cast(kind.pointer())
        if isinstance(value, (int, float)):
            return value
        return self.space.show(value)

    def elements(self):
        for index, value in enumerate(itertools.islice(self.object.elements(), most_shown())):
            yield f"[{index}]", self.shown(value)
        yield from self.rest(most_shown())

    def pairs(self):
        """Key and value in turn."""
        most = (most_shown() + 1) // 2
        for index, (key, value) in enumerate(itertools.islice(self.object.elements(), most)):
            yield f"[{index}] key", self.key(key)
            yield f"[{index}] value", "" if isinstance(key, Problem) else self.shown(value)
        yield from self.rest(most)

    def key(self, value):
        """A key; one that is a string as its text."""
        found = self.space.find_object(value) if isinstance(value, Pointer) else None
        try:
            characters = 0 if found is None or not found.is_text() else found.characters()
        except (Unreadable, NoObject):
            characters = 0
        if not characters:
            return self.shown(value)
        return gdb.Value(characters).cast(gdb.lookup_type("char").pointer()).lazy_string()

    def rest(self, shown):
        """Where not all was shown, one more, which gdb itself replaces by dots."""
        try:
            left = self.object.size() - shown
        except (Unreadable, NoObject):
            left = 0
        if left > 0:
            yield "...", f"<{left} more>"

    def fields(self):
        """The fields of the struct, those of the header aside."""
        kind = self.kind if self.object is None else type_of(self.object.klass, self.kind)
        value = gdb.Value(self.address).cast(kind.pointer()).dereference()
        for name, field in fields_of(value, kind, skip=self.object is not None):
            yield name, self.with_class(field)

    def with_class(self, field):
        """A field; a pointer to void that leads to an object as a pointer to that object."""
        kind = field.type.strip_typedefs()
        if kind.code != gdb.TYPE_CODE_PTR or kind.target().strip_typedefs().code != gdb.TYPE_CODE_VOID:
            return field
        try:
            address = Pointer(int(field))
        except gdb.error:
            return field
        return field if self.space.find_object(address) is None else self.shown(address)


def fields_of(value, kind, skip):
    for field in kind.fields():
        if field.is_base_class:
            yield from fields_of(value[field], field.type.strip_typedefs(), skip)
        elif hasattr(field, "bitpos") and field.name and not (skip and field.name in OFFSETS["ztBaseClass"]):
            yield field.name, value[field]


class ClassPrinter:
    """A class descriptor."""

    def __init__(self, address, is_pointer):
        self.address, self.is_pointer = address, is_pointer

    def to_string(self):
        klass = Space().class_at(self.address)
        text = "<no class that is in use>" if klass is None else f"ztClass {klass.description()}"
        return f"{self.address:#x} {text}" if self.is_pointer else text


class Lookup(gdb.printing.PrettyPrinter):
    """Chooses the printer of a value by its type."""

    def __init__(self):
        super().__init__("zentova")

    def __call__(self, value):
        kind = value.type.strip_typedefs()
        is_pointer = kind.code == gdb.TYPE_CODE_PTR
        if is_pointer:
            kind = kind.target().strip_typedefs()
        if not is_structure(kind):
            return None
        try:
            return self.choose(value, kind, is_pointer)
        except gdb.error:
            # The value itself cannot be read: gdb says so.
            return None

    def choose(self, value, kind, is_pointer):
        is_class = kind.tag == "ztClass"
        if not is_class and not self.may_be_object(value, kind, is_pointer):
            return None
        address = int(value) if is_pointer else value.address
        if not address:
            return None
        if is_class:
            return ClassPrinter(int(address), is_pointer)
        space = Space()
        found = space.find_object(int(address))
        printer = TextPrinter if found is not None and found.is_text() else ObjectPrinter
        return printer(kind.unqualified(), int(address), is_pointer, space)

    @staticmethod
    def may_be_object(value, kind, is_pointer):
        """A struct that begins as objects do; one that gdb knows by name only, where there is an object."""
        if kind.fields():
            return is_object_type(kind)
        return is_pointer and Space().find_object(int(value)) is not None


def register(objfile):
    gdb.printing.register_pretty_printer(objfile, Lookup(), replace=True)
