"""Classes and objects, read from memory."""

import re
import string

import gdb

from .layout import DESTROYED_SLOT, OFFSETS
from .memory import Memory, Unreadable

LONGEST_NAME = 256
MOST_ANCESTORS = 64
MOST_TREE_LEVELS = 64
PRINTABLE = set(bytes(string.ascii_letters + string.digits + string.punctuation + " ", "ascii"))


class NoObject(Exception):
    """What is at an address is no object; the reason."""


class Pointer(int):
    """An address that is a value in the program, perhaps that of an object."""


class Problem(str):
    """What is wrong with memory, in place of a value."""


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

    def show(self, value):
        """One line for a value."""
        if isinstance(value, Problem):
            return f"<{value}>"
        if isinstance(value, Pointer):
            return self.show_pointer(value)
        if isinstance(value, str):
            return quoted(value)
        if isinstance(value, bytes):
            return "{" + " ".join(f"{byte:02x}" for byte in value) + "}"
        return str(value)

    def show_pointer(self, address):
        if not address:
            return "NULL"
        found = self.find_object(address)
        return f"{address:#x}" if found is None else f"{address:#x} {found.label()}"


class Object:
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
        try:
            words = [self.klass.name, f"count={self.count}", *self.details()]
        except (Unreadable, NoObject) as problem:
            words = [self.klass.name, f"count={self.count}", f"<{problem}>"]
        return " ".join(words)

    def details(self):
        """The words behind class and count."""
        name = self.name()
        if name is not None:
            yield quoted(name)
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

    # Containers

    def is_container(self):
        return self.kind() is not None

    def kind(self):
        """The class of the library that tells how elements are stored; None for no container."""
        return next((name for name in WALKS if self.klass.is_a(name)), None)

    def has_pairs(self):
        return self.klass.is_a("ztAssociativeContainer")

    def holder(self):
        """The container that a queue, stack, deque or map keeps its elements in; None when it is missing."""
        if self.klass.is_a("ztMap"):
            return self.part("ztMap", "tree", "ztAvlTree")
        at, level = self, 0
        while at is not None and not at.klass.is_a("ztList"):
            level += 1
            if level > 2:
                raise NoObject("it does not lead to a list")
            at = at.part("ztDeque", "inner", "ztSequenceContainer")
        return at

    def size(self):
        """The number of elements as the container counts them; 0 when it is incomplete."""
        kind = self.kind()
        if kind in ("ztMap", "ztQueue", "ztStack", "ztDeque"):
            inner = self.holder()
            return 0 if inner is None else inner.size()
        count = self.int32(kind, "count")
        return count if kind == "ztArray" else count & 0xffffffff

    def elements(self):
        """The elements in their order, or pairs of key and value. A Problem stands where memory makes no sense, and
        in a pair as its key."""
        wrong = (lambda text: (Problem(text), Problem(""))) if self.has_pairs() else Problem
        try:
            yield from WALKS[self.kind()](self, wrong)
        except (Unreadable, NoObject) as problem:
            yield wrong(str(problem))

    def policy(self, struct="ztSequenceContainer", by_pointer="byPointer", size="elementSize",
               constructor="elementConstructor"):
        return Policy(self, self.word(struct, constructor), self.memory.uint32(self.at(struct, by_pointer)),
                      self.int32(struct, size))

    def array_elements(self, wrong):
        policy, count, data = self.policy(), self.size(), self.word("ztArray", "data")
        stride = 8 if policy.is_pointer and not policy.constructor else policy.size
        if count == 0:
            return
        if count < 0 or stride < 0:
            yield wrong(f"{count} elements of {stride} bytes")
            return
        if stride and not (self.memory.is_readable(data) and self.memory.is_readable(data + count * stride - 1)):
            yield wrong(f"{count} elements of {stride} bytes are not in memory at {data:#x}")
            return
        for index in range(count):
            yield policy.in_place(data + index * stride)

    def list_elements(self, wrong):
        policy = self.policy()
        for item in self.items(wrong):
            yield item if isinstance(item, Problem) else policy.stored(item)

    def items(self, wrong):
        """The addresses of a list's items."""
        seen, before, item = set(), 0, self.word("ztList", "head")
        while item:
            if item in seen:
                yield wrong(f"the list leads in a circle, from {before:#x} back to {item:#x}")
                return
            if self.memory.word(item + OFFSETS["ztListItem"]["prev"]) != before:
                yield wrong(f"the item {item:#x} does not lead back to {before:#x}")
            yield item
            seen.add(item)
            before, item = item, self.memory.word(item + OFFSETS["ztListItem"]["next"])
        if len(seen) != self.size():
            yield wrong(f"the list has {len(seen)} items and counts {self.size()}")

    def inner_elements(self, wrong):
        inner = self.holder()
        if inner is not None:
            yield from inner.list_elements(wrong)

    def tree_elements(self, wrong):
        manager = self.part("ztContainer", "itemManager", "ztContainer")
        policy = manager.key_policy() if manager is not None and manager.has_pairs() else self.policy()
        for item in self.tree_items(wrong):
            yield item if isinstance(item, Problem) else policy.stored(item)

    def tree_items(self, wrong):
        """The addresses of a tree's items, in their order."""
        seen, above, item = set(), [], self.word("ztAvlTree", "root")
        while item or above:
            while item:
                if item in seen or len(above) > MOST_TREE_LEVELS:
                    yield wrong(f"the tree leads in a circle, to {item:#x}")
                    return
                seen.add(item)
                above.append(item)
                item = self.memory.word(item + OFFSETS["ztAvlTreeItem"]["left"])
            item = above.pop()
            yield item
            item = self.memory.word(item + OFFSETS["ztAvlTreeItem"]["right"])
        if len(seen) != self.size():
            yield wrong(f"the tree has {len(seen)} items and counts {self.size()}")

    def map_pairs(self, wrong):
        tree = self.holder()
        if tree is None:
            return
        pair = self.pair_policy("ztMapItem")
        for item in tree.tree_items(wrong):
            yield item if isinstance(item, tuple) else pair(item)

    def key_policy(self):
        return self.policy("ztAssociativeContainer", "keyByPointer", "keySize", "keyConstructor")

    def pair_policy(self, item_struct):
        """A function that reads the pair of an item."""
        keys = self.key_policy()
        values = self.policy("ztAssociativeContainer", "valueByPointer", "valueSize", "valueConstructor")
        return lambda item: (keys.stored(item), values.stored(item, OFFSETS[item_struct]["value"]))

    def hash_pairs(self, wrong):
        pair = self.pair_policy("ztHashTableItem")
        buckets, left = self.part("ztHashTable", "buckets", "ztArray"), self.size()
        if buckets is None or left == 0:
            return
        seen, data = set(), buckets.word("ztArray", "data")
        for index in range(buckets.int32("ztArray", "count")):
            item = self.memory.word(data + 8 * index)
            while item:
                if item in seen:
                    yield wrong(f"bucket {index} leads in a circle, to {item:#x}")
                    break
                yield pair(item)
                seen.add(item)
                item = self.memory.word(item + OFFSETS["ztHashTableItem"]["next"])
            if len(seen) >= left:
                break
        if len(seen) != left:
            yield wrong(f"the table has {len(seen)} items and counts {left}")

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
            yield f"= {self.space.show(value)}"
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
        receiver = self.space.find_object(self.word("ztSlot", "receiver"))
        address = self.word("ztSlot", "receiver")
        yield f"-> {address:#x}"
        yield "<no object>" if receiver is None else receiver.label()
        yield f"by {function_at(self.word('ztSlot', 'function'))}"

    def say_link(self):
        target = self.word("ztLink", "target")
        yield f"-> {self.space.show_pointer(target)}" if target else f"to identifier {self.int32('ztLink', 'targetId')}"

    def say_attribute(self):
        values = self.part("ztTagAttribute", "values", "ztArray")
        if values is not None:
            yield counted(values.size(), "value")


class Policy:
    """How a container stores its elements."""

    def __init__(self, container, constructor, is_pointer, size):
        self.container, self.memory = container, container.memory
        self.constructor, self.is_pointer, self.size = constructor, is_pointer, size
        self.is_real = container.klass.is_a("ztFloatArray")

    def stored(self, item, offset=OFFSETS["ztContainerItem"]["data"]):
        """The element of an item."""
        address = self.memory.word(item + offset)
        if self.constructor or self.is_pointer:
            return Pointer(address)
        return self.copied(address)

    def in_place(self, address):
        """An element in the block of an array."""
        if self.constructor:
            return Pointer(address)
        return Pointer(self.memory.word(address)) if self.is_pointer else self.copied(address)

    def copied(self, address):
        """An element that was copied to an address. Numbers of 4 and 8 bytes are taken for such."""
        if self.size in (4, 8):
            return self.memory.unpack("d" if self.is_real else {4: "i", 8: "q"}[self.size], address)[0]
        return self.memory.read(address, min(self.size, most_shown())) if self.size > 0 else b""


# Fields that hold a text, and their sizes.
TEXTS = {"ztRoot": ("name", 80), "ztTagAttribute": ("name", 32), "ztFile": ("fileName", 512)}

# How the value of a property is stored, by its type.
FORMS = {"ztIntPropertyType": "i", "ztBoolPropertyType": "i", "ztCharPropertyType": "b", "ztFloatPropertyType": "d",
         "ztVoidPtrPropertyType": "Q", "ztCharPtrPropertyType": "Q"}

SAYINGS = {"ztProperty": Object.say_property, "ztSignal": Object.say_signal, "ztSlot": Object.say_slot,
           "ztLink": Object.say_link, "ztTagAttribute": Object.say_attribute}

WALKS = {"ztArray": Object.array_elements, "ztList": Object.list_elements, "ztDeque": Object.inner_elements,
         "ztQueue": Object.inner_elements, "ztStack": Object.inner_elements, "ztAvlTree": Object.tree_elements,
         "ztMap": Object.map_pairs, "ztHashTable": Object.hash_pairs}


def objects_among(space, container, name):
    """The values of a map that are objects of a class."""
    if container is None:
        return
    for _, value in container.elements():
        found = space.find_object(value) if isinstance(value, Pointer) else None
        if found is not None and found.klass.is_a(name):
            yield found


def most_shown():
    """How many elements or characters are shown: `set print elements`."""
    limit = gdb.parameter("print elements")
    return limit if limit else 1 << 31


def most_bytes():
    """As many bytes as the characters that are shown may have, and one more character."""
    return 4 * (most_shown() + 1)


def decoded(data):
    return data.decode("utf-8", "backslashreplace")


def quoted(text):
    """A text in quotes, cut as gdb cuts texts."""
    rest = "..." if len(text) > most_shown() else ""
    marks = {"\\": "\\\\", '"': '\\"', "\n": "\\n", "\t": "\\t", "\r": "\\r"}
    shown = "".join(marks.get(mark) or (mark if mark.isprintable() else f"\\u{ord(mark):04x}")
                    for mark in text[:most_shown()])
    return f'"{shown}"{rest}'


def counted(count, what):
    return f"with {count} {what}{'' if count == 1 else 's'}"


def symbol_at(address):
    """The symbol that begins at an address; None without one."""
    name, section, _ = gdb.execute(f"info symbol {address:#x}", to_string=True).partition(" in section ")
    if not section or name.rpartition(" + ")[2].isdigit():
        return None
    # The library makes methods of functions by a template.
    method = re.match(r"ztcore::MethodOf<&\(?(?:ztcore::)?(\w+)(?:\(.*\)\)|)>::call\(", name)
    return method[1] if method else re.sub(r"\([^()]*\)$", "", name)


def function_at(address):
    """The name of the function at an address, or the address and the file that it is in."""
    name = symbol_at(address)
    if name:
        return name
    file = gdb.solib_name(address)
    return f"{address:#x}" if file is None else f"{address:#x} in {file.rpartition('/')[2]}"
