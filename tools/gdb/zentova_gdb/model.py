"""Classes and objects, read from memory."""

import string

from .containers import Container
from .layout import DESTROYED_SLOT, OFFSETS
from .memory import Memory, Unreadable
from .values import NoObject, Pointer, Problem, counted, decoded, function_at, most_bytes, quoted

LONGEST_NAME = 256
MOST_ANCESTORS = 64
PRINTABLE = set(bytes(string.ascii_letters + string.digits + string.punctuation + " ", "ascii"))


class Class:
    """A class descriptor."""

    def __init__(self, address, name, parent, version, size, class_table, method_table):
        self.address, self.name, self.parent = address, name, parent
        self.version, self.size = version, size
        self.class_table, self.method_table = class_table, method_table

    def chain(self):
        """The class and those above it, the root last."""
        at = self
        while at is not None:
            yield at
            at = at.parent

    def is_a(self, name):
        return any(at.name == name for at in self.chain())

    def description(self):
        return " : ".join(at.name for at in self.chain())


class Space:
    """The classes and objects of the selected program, as they are now."""

    def __init__(self):
        self.memory = Memory()
        self.classes = {}

    # Classes

    def class_at(self, address, level=0):
        """The class whose descriptor is at an address; None when there is none."""
        if address not in self.classes:
            try:
                self.classes[address] = self.read_class(address, level)
            except Unreadable:
                self.classes[address] = None
        return self.classes[address]

    def read_class(self, address, level):
        if address % 8 or level > MOST_ANCESTORS:
            return None
        parent, version, size, name, initialised, spare, class_table, method_table = self.memory.unpack(
            "QIiQIIQQ", address)
        if initialised != 1 or spare != 0 or size < 16 or not class_table or not method_table:
            return None
        name = self.memory.text(name, LONGEST_NAME)
        if not name or not set(name) <= PRINTABLE:
            return None
        name = name.decode("ascii")
        above = self.class_at(parent, level + 1) if parent else None
        is_root = not parent and name == "ztBaseClass"
        if not is_root and (above is None or above.size > size):
            return None
        return Class(address, name, above, version, size, class_table, method_table)

    # Objects

    def object_at(self, address):
        """The object at an address. NoObject when there is none."""
        try:
            word, count = self.memory.unpack("Qi", address)
        except Unreadable as problem:
            raise NoObject(str(problem))
        klass = self.class_at(word)
        if klass is None:
            raise NoObject(f"no object: its first word, {word:#x}, leads to no class; perhaps it was freed")
        return Object(self, address, klass, count)

    def find_object(self, address):
        """The same; None when there is none."""
        try:
            return self.object_at(address)
        except NoObject:
            return None

    # Text

    def show(self, value, say=lambda found: found.label()):
        """One line for a value; `say` tells of an object that it leads to."""
        if isinstance(value, Problem):
            return f"<{value}>"
        if isinstance(value, Pointer):
            return self.show_pointer(value, say)
        if isinstance(value, str):
            return quoted(value)
        if isinstance(value, bytes):
            return "{" + " ".join(f"{byte:02x}" for byte in value) + "}"
        return str(value)

    def show_pointer(self, address, say):
        if not address:
            return "NULL"
        found = self.find_object(address)
        return f"{address:#x}" if found is None else f"{address:#x} {say(found)}"

    def show_within(self, value):
        """The same in the line of another object, to which the value may lead back: just class, count and name."""
        return self.show(value, lambda found: found.line(found.called))


class Object(Container):
    """An object, by the offsets of its fields."""

    def __init__(self, space, address, klass, count):
        self.space, self.memory, self.address = space, space.memory, address
        self.klass, self.count = klass, count

    def at(self, struct, field):
        return self.address + OFFSETS[struct][field]

    def word(self, struct, field):
        return self.memory.word(self.at(struct, field))

    def int32(self, struct, field):
        return self.memory.int32(self.at(struct, field))

    def part(self, struct, field, name):
        """The object that a field leads to, of that class or below it. None for NULL; NoObject for anything else."""
        address = self.word(struct, field)
        if not address:
            return None
        found = self.space.object_at(address)
        if not found.klass.is_a(name):
            raise NoObject(f"{field} leads to a {found.klass.name}, not to a {name}")
        return found

    # What one line says

    def label(self):
        """Class, count and name, and what is short enough for one line."""
        return self.line(self.details)

    def line(self, words):
        """Class, count, and what a function adds."""
        begin = f"{self.klass.name} count={self.count}"
        try:
            return " ".join([begin, *words()])
        except (Unreadable, NoObject) as problem:
            return f"{begin} <{problem}>"

    def called(self):
        name = self.name()
        if name is not None:
            yield quoted(name)

    def details(self):
        """The words behind class and count."""
        yield from self.called()
        for struct, say in SAYINGS.items():
            if self.klass.is_a(struct):
                yield from say(self)
        if self.is_container() and not self.klass.is_a("ztCharArray"):
            yield counted(self.size(), "element")
        if self.count <= 0:
            yield "(released)"

    def name(self):
        """The text that the object is known by; None without one."""
        for struct, (field, size) in TEXTS.items():
            if self.klass.is_a(struct):
                return decoded(self.memory.text(self.at(struct, field), size))
        for struct in ("ztSignal", "ztSlot", "ztProperty"):
            if self.klass.is_a(struct):
                string_ = self.part(struct, "name", "ztString")
                return None if string_ is None else string_.text()
        return self.text() if self.is_text() else None

    def is_text(self):
        return self.klass.is_a("ztString") or self.klass.is_a("ztCharArray")

    def buffer(self):
        """The array of characters that a string is or has; None without one."""
        return self.part("ztString", "buffer", "ztCharArray") if self.klass.is_a("ztString") else self

    def characters(self):
        """The address of the first character; 0 without one."""
        array = self.buffer()
        return 0 if array is None else array.word("ztArray", "data")

    def text(self):
        """The text of a string or of an array of characters; None without one."""
        characters = self.characters()
        if not characters:
            return None
        size = min(self.buffer().int32("ztArray", "count"), most_bytes())
        return decoded(self.memory.text(characters, size)) if size > 0 else ""

    # Objects with signals

    def signals(self):
        """The object's signals."""
        signals = self.part("ztObject", "signals", "ztMap")
        yield from objects_among(self.space, signals, "ztSignal")

    def slots(self):
        """The slots of a signal."""
        slots = self.part("ztSignal", "slots", "ztMap")
        yield from objects_among(self.space, slots, "ztSlot")

    def properties(self):
        """The properties that only this object has."""
        yield from objects_among(self.space, self.part("ztObject", "dynamicProperties", "ztMap"), "ztProperty")

    def is_tie(self):
        """Whether a slot only serves to disconnect what was connected."""
        receiver = self.space.find_object(self.word("ztSlot", "receiver"))
        if receiver is None or not receiver.klass.is_a("ztObject"):
            return False
        own = self.memory.word(receiver.klass.method_table + 8 * DESTROYED_SLOT)
        return self.name() == "destroyed" and own == self.word("ztSlot", "function")

    def children(self):
        """What the list of children of a node has: pointers, or a Problem."""
        children = self.part("ztRoot", "children", "ztList")
        if children is not None:
            yield from children.elements()

    def attributes(self):
        """What the array of attributes of a tag has, in the same form."""
        attributes = self.part("ztTag", "attributes", "ztArray")
        if attributes is not None:
            yield from attributes.elements()

    # Values

    def value(self):
        """The value of a property that has storage; None for a property of getter and setter, and of an unknown
        type."""
        storage, size = self.word("ztProperty", "valuePointer"), self.memory.uint32(self.at("ztProperty", "valueSize"))
        klass = self.space.class_at(self.word("ztProperty", "type"))
        if klass is None or not storage or not size:
            return None
        if klass.is_a("ztStringPropertyType"):
            found = self.space.object_at(storage)
            return found.text() if found.klass.is_a("ztString") else Pointer(storage)
        form = next((form for name, form in FORMS.items() if klass.is_a(name)), None)
        if form is None:
            return self.memory.read(storage, min(size, 16))
        value = self.memory.unpack(form, storage)[0]
        if klass.is_a("ztCharPtrPropertyType") and value:
            return decoded(self.memory.text(value, most_bytes()))
        return Pointer(value) if form == "Q" else value

    def say_property(self):
        klass = self.space.class_at(self.word("ztProperty", "type"))
        yield "?" if klass is None else klass.name.removesuffix("PropertyType")
        value = self.value()
        if value is not None:
            yield f"= {self.space.show_within(value)}"
            return
        for field, verb in (("getter", "read by"), ("setter", "written by")):
            function = self.word("ztProperty", field)
            if function:
                yield f"{verb} {function_at(function)}"

    def say_signal(self):
        slots = self.part("ztSignal", "slots", "ztMap")
        yield counted(0 if slots is None else slots.size(), "slot")
        if self.memory.uint32(self.at("ztSignal", "blocked")):
            yield "(blocked)"

    def say_slot(self):
        yield f"-> {self.space.show_within(Pointer(self.word('ztSlot', 'receiver')))}"
        yield f"by {function_at(self.word('ztSlot', 'function'))}"

    def say_link(self):
        target = Pointer(self.word("ztLink", "target"))
        yield f"-> {self.space.show_within(target)}" if target else f"to identifier {self.int32('ztLink', 'targetId')}"

    def say_attribute(self):
        values = self.part("ztTagAttribute", "values", "ztArray")
        if values is not None:
            yield counted(values.size(), "value")


# Fields that hold a text, and their sizes.
TEXTS = {"ztRoot": ("name", 80), "ztTagAttribute": ("name", 32), "ztFile": ("fileName", 512)}

# How the value of a property is stored, by its type.
FORMS = {"ztIntPropertyType": "i", "ztBoolPropertyType": "i", "ztCharPropertyType": "b", "ztFloatPropertyType": "d",
         "ztVoidPtrPropertyType": "Q", "ztCharPtrPropertyType": "Q"}

SAYINGS = {"ztProperty": Object.say_property, "ztSignal": Object.say_signal, "ztSlot": Object.say_slot,
           "ztLink": Object.say_link, "ztTagAttribute": Object.say_attribute}


def objects_among(space, container, name):
    """The values of a map that are objects of a class."""
    if container is None:
        return
    for _, value in container.elements():
        found = space.find_object(value) if isinstance(value, Pointer) else None
        if found is not None and found.klass.is_a(name):
            yield found
