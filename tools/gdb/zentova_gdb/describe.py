"""What a class declares: the texts of its description, and what is in its method table."""

import re
import struct

from .layout import OFFSETS, STATIC_PROPERTIES_SLOT
from .memory import Unreadable, regions
from .model import LONGEST_NAME, objects_among
from .values import Pointer, decoded, function_at, symbol_at

FIRST_SLOTS = 16
LONGEST_LIST = 1 << 16
# A description and the class it is of are in one file, or were allocated one after the other.
NEAR = 64 << 20
ABSTRACT = "ztOOP_ztVirtualFuncHandler"

# How the types of fields are stored, in the codes of the module struct.
CODES = {
    "char": "b", "signed char": "b", "unsigned char": "B", "int8_t": "b", "uint8_t": "B", "bool": "?", "_Bool": "?",
    "short": "h", "int16_t": "h", "uint16_t": "H", "int": "i", "unsigned": "I", "unsigned int": "I", "int32_t": "i",
    "uint32_t": "I", "float": "f", "long": "q", "unsigned long": "Q", "int64_t": "q", "uint64_t": "Q", "size_t": "Q",
    "intptr_t": "q", "uintptr_t": "Q", "double": "d", "ztWord": "q",
}
POINTERS = {"ztCtor", "ztCompareFunc", "ztGetter", "ztSetter", "ztSlotFunction"}

ROOT_FIELDS = "ztClass *klass; int32_t refCount;"
ROOT_METHODS = """
    void *(*Allocator)(const void *object);
    void (*classInstanceCreate)(ztClass *klass);
    void (*classInstanceDestroy)(ztClass *klass);
    void *emptySlot;
    int32_t (*create)(void *object);
    void *(*clone)(const void *object, void *target);
    int32_t (*assign)(void *object, const void *other);
    int32_t (*isEqual)(const void *object, const void *other);
    int32_t (*isLess)(const void *object, const void *other);
    int32_t (*isMajor)(const void *object, const void *other);
    void (*destroy)(void *object);
    int32_t (*read)(void *object, void *file);
    int32_t (*write)(const void *object, void *file);
    void (*ref)(void *object);
    void (*unRef)(void *object);
    int32_t (*getRefCount)(const void *object);"""


class Description:
    """The description of one class."""

    def __init__(self, slots, fields, methods):
        self.slots, self.fields, self.methods = slots, fields, methods


def description_of(space, klass):
    """The description of a class; None when there is none in memory."""
    if klass.parent is None:
        return Description(FIRST_SLOTS, ROOT_FIELDS, ROOT_METHODS)
    pattern = klass.address.to_bytes(8, "little")
    found = regions()
    near = [region for region in found if region.end > klass.address - NEAR and region.start < klass.address + NEAR]
    for region in near + [region for region in found if region not in near]:
        for start, data in space.memory.blocks(region, overlap=8):
            at = data.find(pattern)
            while at >= 0:
                if at % 8 == 0:
                    description = read_description(space.memory, klass, start + at)
                    if description is not None:
                        return description
                at = data.find(pattern, at + 1)
    return None


def read_description(memory, klass, address):
    """The description at an address; None when it is not that of the class."""
    offsets = OFFSETS["ztClassDescription"]
    try:
        name = memory.word(memory.word(address + offsets["name"]))
        version = memory.uint32(memory.word(address + offsets["version"]))
        size, slots, form = memory.unpack("iHH", address + offsets["instanceSize"])
        if (memory.text(name, LONGEST_NAME) != klass.name.encode() or version != klass.version or size != klass.size
                or slots < FIRST_SLOTS or form > 15):
            return None
        lists = [text_at(memory, address + offsets[part]) if form else "" for part in ("fieldsText", "methodsText")]
        return Description(slots, *lists)
    except Unreadable:
        return None


def text_at(memory, address):
    text = memory.word(address)
    return memory.text(text, LONGEST_LIST).decode("utf-8", "replace") if text else ""


def declared(text):
    """The names that a list declares, with their types; the type of a function has the name in it."""
    for declaration in text.split(";"):
        declaration = re.sub(r"\* ", "*", " ".join(declaration.split()))
        function = re.search(r"\(\*(\w+)", declaration)
        if function:
            yield function[1], declaration
            continue
        base = ""
        for part in filter(None, declaration.split(",")):
            found = re.fullmatch(r"(.*?)\s*(\**)(\w+)((?:\[[^]]*\])*)", part.strip())
            if found is None:
                continue
            base = found[1] or base
            yield found[3], f"{base} {found[2]}{found[4]}".strip().replace(" [", "[")


def code_of(kind):
    """How a value of a type, or an element of an array, is stored; None when that is not known here."""
    unit = re.sub(r"\b(const|volatile)\b|\[.*", "", kind).strip()
    if "(*" in kind or unit.endswith("*") or unit in POINTERS:
        return "P"
    return CODES.get(unit)


def size_of(kind):
    """Size and alignment of a type; None when they are not known here."""
    code = code_of(kind)
    if code is None:
        return None
    unit = struct.calcsize(code)
    size = unit
    for dimension in re.findall(r"\[([^]]*)\]", "" if "(*" in kind else kind):
        if not dimension.strip().isdigit():
            return None
        size *= int(dimension)
    return size, unit


class Field:
    """One field of a class; its offset is None when it is not known."""

    def __init__(self, name, kind, offset, owner):
        self.name, self.kind, self.offset, self.owner = name, kind, offset, owner

    def line(self):
        return f"field {'?' if self.offset is None else self.offset} {self.name}: {self.kind}, of {self.owner.name}"

    def value_of(self, found):
        """The value in an object; None when the type or the place is not known here."""
        code, array = code_of(self.kind), re.search(r"\[(\d+)\]$", self.kind)
        if self.offset is None or code is None:
            return None
        address = found.address + self.offset
        if array:
            size = int(array[1])
            return decoded(found.memory.text(address, size)) if self.kind.startswith("char[") else None
        value = found.memory.unpack(code.replace("P", "Q"), address)[0]
        return Pointer(value) if code == "P" else value


def fields_of(space, klass):
    """The fields of a class and of those above it, as far as they are declared in texts."""
    end = 0
    for at in reversed(list(klass.chain())):
        description = description_of(space, at)
        own, end = placed(at, description.fields if description else "", end)
        if end is not None and (end + 7) // 8 * 8 != (at.size + 7) // 8 * 8:
            # What does not lead to the size that the compiler found was computed of wrong sizes.
            end = None
            for field in own:
                field.offset = None
        yield from own


def placed(klass, text, end):
    """The fields of a list, placed behind an end; and the end behind them, which is None when it is not known."""
    fields = []
    for name, kind in declared(text):
        size = None if end is None else size_of(kind)
        offset = None if size is None else -(-end // size[1]) * size[1]
        end = None if size is None else offset + size[0]
        fields.append(Field(name, kind, offset, klass))
    return fields, end


class Slot:
    """One slot of a method table."""

    def __init__(self, number, name, function, definer):
        self.number, self.name, self.function, self.definer = number, name, function, definer

    def line(self):
        if not self.function:
            return f"slot {self.number} {self.name}: NULL"
        if symbol_at(self.function) == ABSTRACT:
            return f"slot {self.number} {self.name}: abstract"
        return f"slot {self.number} {self.name}: {function_at(self.function)}, of {self.definer.name}"


def slots_of(space, klass):
    """The slots of a class's method table."""
    chain = list(klass.chain())
    names, ends = [], {}
    for at in reversed(chain):
        description = description_of(space, at)
        end = max(description.slots if description else 0, len(names))
        own = [name for name, _ in declared(description.methods if description else "")]
        # Names count only where there is one for each slot.
        unnamed = end - len(names)
        names += own if len(own) == unnamed else ["?"] * unnamed
        ends[at] = end
    for number, name in enumerate(names):
        function = space.memory.word(klass.method_table + 8 * number)
        definer = klass
        while (definer.parent is not None and number < ends[definer.parent]
               and space.memory.word(definer.parent.method_table + 8 * number) == function):
            definer = definer.parent
        yield Slot(number, name, function, definer)


def static_properties(space, klass):
    """The properties that a class and those above it declare."""
    if klass.is_a("ztObject"):
        declared = space.memory.word(klass.method_table + 8 * STATIC_PROPERTIES_SLOT)
        yield from objects_among(space, space.find_object(declared), "ztProperty")
