"""What a class declares: the texts of its description, and what is in its method table."""

import re

from .layout import OFFSETS
from .memory import Unreadable, regions
from .model import LONGEST_NAME, function_at, symbol_at

FIRST_SLOTS = 16
LONGEST_LIST = 1 << 16
# A description and the class it is of are in one file, or were allocated one after the other.
NEAR = 64 << 20
ABSTRACT = "ztOOP_ztVirtualFuncHandler"

SIZES = {
    "char": 1, "signed char": 1, "unsigned char": 1, "int8_t": 1, "uint8_t": 1, "bool": 1, "_Bool": 1, "short": 2,
    "int16_t": 2, "uint16_t": 2, "int": 4, "unsigned": 4, "unsigned int": 4, "int32_t": 4, "uint32_t": 4, "float": 4,
    "long": 8, "unsigned long": 8, "int64_t": 8, "uint64_t": 8, "size_t": 8, "intptr_t": 8, "uintptr_t": 8,
    "double": 8, "ztWord": 8, "ztCtor": 8, "ztCompareFunc": 8, "ztGetter": 8, "ztSetter": 8, "ztSlotFunction": 8,
}

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


def size_of(kind):
    """Size and alignment of a type; None when they are not known here."""
    if "(*" in kind or re.search(r"\*(\[|$)", kind):
        unit = 8
    else:
        unit = SIZES.get(re.sub(r"\b(const|volatile)\b|\[.*", "", kind).strip())
    size = unit
    for dimension in re.findall(r"\[([^]]*)\]", kind if "(*" not in kind else ""):
        if unit is None or not dimension.strip().isdigit():
            return None
        size *= int(dimension)
    return None if unit is None else (size, unit)


def fields_of(space, klass):
    """The fields of a class and of those above it, with their types and offsets; an offset is None when it is not
    known."""
    end, fields = 0, []
    for at in reversed(list(klass.chain())):
        description = description_of(space, at)
        own, widest = [], 8
        for name, kind in declared(description.fields if description else ""):
            size = size_of(kind) if end is not None else None
            offset = None if size is None else (end + size[1] - 1) // size[1] * size[1]
            end = None if size is None else offset + size[0]
            own.append((name, kind, offset, at))
        # What does not lead to the size that the compiler found was computed of wrong sizes.
        if end is None or description is None or (end + widest - 1) // widest * widest != at.size:
            own = [(name, kind, None, at) for name, kind, _, at in own] if end is not None else own
            end = None
        fields += own
    return fields


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
