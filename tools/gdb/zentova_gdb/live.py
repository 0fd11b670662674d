"""The objects of the program, found by searching its memory for their headers."""

import bisect

import gdb

from .heap import Heaps
from .layout import CTOR_SLOT, ENTRY_NEWER, FURTHEST_PART, MOST_PARTS, OFFSETS, PARTS, PART_DISTANCE
from .memory import BLOCK, PAGE, Unreadable, regions
from .model import LONGEST_NAME, Object
from .values import NoObject, decoded

INITIALISED = (1).to_bytes(8, "little")
MOST_REFERENCES = 1 << 20
COUNT_THAT_STAYS = (1 << 31) - 1
# Below the stack pointer, a function may use this much without moving it.
RED_ZONE = 128
MOST_ENTRIES = 1 << 20
# The data of a file is smaller.
MOST_DATA = 16 << 20


class Registry:
    """The registered classes, and the objects that the registry keeps for them. The entry of the root class is found by
    its name; from there, links lead to all others."""

    def __init__(self, space, among):
        self.space, self.memory = space, space.memory
        self.prototypes, self.classes, self.descriptors = set(), {}, {}
        entry = next(self.roots(among), None)
        if entry is not None:
            self.follow(entry)

    def roots(self, among):
        for region in among:
            name = b"ztBaseClass\0"
            for start, data in self.memory.blocks(region, overlap=len(name)):
                at = data.find(name)
                while at >= 0:
                    if at % 8 == 0 and self.is_root(start + at):
                        yield start + at
                    at = data.find(name, at + 1)

    def is_root(self, entry):
        try:
            klass = self.class_of(entry)
            ctor = self.memory.word(entry + OFFSETS["ztClassEntry"]["ctor"])
            return klass is not None and self.memory.word(klass.class_table + 8 * CTOR_SLOT) == ctor
        except Unreadable:
            return False

    def class_of(self, entry):
        prototype = self.memory.word(entry + OFFSETS["ztClassEntry"]["prototype"])
        return self.space.class_at(self.memory.word(prototype))

    def follow(self, entry):
        seen = set()
        for offset in (OFFSETS["ztClassEntry"]["next"], ENTRY_NEWER):
            at = entry
            try:
                while at and len(seen) < MOST_ENTRIES:
                    self.take(at)
                    seen.add(at)
                    at = self.memory.word(at + offset)
                    if at in seen:
                        break
            except Unreadable:
                continue

    def take(self, entry):
        klass = self.class_of(entry)
        if klass is None:
            raise Unreadable(entry)
        self.prototypes.add(self.memory.word(entry + OFFSETS["ztClassEntry"]["prototype"]))
        name = decoded(self.memory.text(entry, LONGEST_NAME))
        self.classes.setdefault(name, klass)
        for above in klass.chain():
            self.classes.setdefault(above.name, above)
            self.descriptors[above.address] = above


class Stacks:
    """The parts of stacks that no function uses."""

    def __init__(self, among):
        self.unused = []
        thread = gdb.selected_thread()
        if thread is None:
            return
        frame = gdb.selected_frame() if thread.is_valid() and not thread.is_running() else None
        for pointer in self.pointers():
            region = next((region for region in among if pointer in region), None)
            if region is not None:
                self.unused.append((region.start, pointer - RED_ZONE))
        thread.switch()
        if frame is not None:
            frame.select()

    @staticmethod
    def pointers():
        for thread in gdb.selected_inferior().threads():
            try:
                thread.switch()
                yield int(gdb.newest_frame().read_register("rsp")) & (1 << 64) - 1
            except gdb.error:
                continue

    def is_unused(self, address):
        return any(start <= address < end for start, end in self.unused)


class Search:
    """A search through all memory that the program may write to."""

    def __init__(self, space):
        self.space, self.memory = space, space.memory
        self.regions = [region for region in regions() if region.writable]
        self.starts = [region.start for region in self.regions]
        self.registry = Registry(space, self.regions)
        self.heaps = Heaps(self.memory, self.regions)
        self.stacks = Stacks(self.regions)
        self.classes = dict(self.registry.descriptors)
        self.places = [region for region in self.regions if self.may_hold_classes(region)]
        self.place_starts = [region.start for region in self.places]
        self.asked = set()

    def objects(self):
        """The objects that are alive, as far as memory tells."""
        for region in self.regions:
            for start, data in self.memory.blocks(region, overlap=8):
                yield from self.objects_in(start, memoryview(data[:len(data) & ~7]).cast("Q"))

    def objects_in(self, start, words):
        self.learn(words)
        classes = self.classes
        for index in [index for index, word in enumerate(words) if word in classes]:
            if index + 1 == len(words) or index * 8 >= BLOCK:
                continue
            count = words[index + 1] & 0xffffffff
            found = Object(self.space, start + index * 8, classes[words[index]], count)
            if self.is_alive(found):
                yield found

    def may_hold_classes(self, region):
        """Whether descriptors that the registry does not know may be in a region: they are data of a file. A core file
        does not name the files."""
        if region.name:
            return region.name.startswith("/")
        return not self.heaps.heap_of(region.start + PAGE) and region.end - region.start <= MOST_DATA

    def learn(self, words):
        """Finds out which of the words are addresses of classes."""
        if not self.places:
            return
        low, high = self.places[0].start, self.places[-1].end
        for word in {word for word in set(words) if low <= word < high and not word & 7} - self.asked:
            if word in self.places[bisect.bisect_right(self.place_starts, word) - 1]:
                self.asked.add(word)
                klass = self.class_at(word)
                if klass is not None:
                    self.classes[word] = klass

    def class_at(self, address):
        return self.space.class_at(address) if self.may_be_class(address) else None

    def may_be_class(self, address):
        """Quickly tells most addresses that are none."""
        offset = address % PAGE + OFFSETS["ztClass"]["initialised"]
        return offset + 8 > PAGE or self.memory.page(address // PAGE)[offset:offset + 8] == INITIALISED

    def is_alive(self, found):
        if not 1 <= found.count <= MOST_REFERENCES and found.count != COUNT_THAT_STAYS:
            return False
        # The descriptor of a class begins with its parent's address.
        if found.address in self.registry.prototypes or self.class_at(found.address) is not None:
            return False
        end = found.address + found.klass.size
        region = self.regions[bisect.bisect_right(self.starts, found.address) - 1]
        if end > region.end or self.stacks.is_unused(found.address):
            return False
        if not self.is_in_its_block(found) or self.heaps.is_freed(found.address, found.klass.size):
            return False
        return not found.klass.is_a("ztObject") or self.was_created(found)

    @staticmethod
    def was_created(found):
        """False for a ztObject without its maps: its `create` never ran, or it is another record of a class."""
        try:
            return found.part("ztObject", "signals", "ztMap") is not None
        except (Unreadable, NoObject):
            return False

    def is_in_its_block(self, found):
        """False for a part of a block that was freed."""
        if found.klass.name not in PARTS:
            return True
        try:
            distance = self.memory.uint32(found.address + PART_DISTANCE)
            if not 1 <= distance <= FURTHEST_PART:
                return True
            return 1 <= self.memory.uint32(found.address - distance) <= MOST_PARTS
        except Unreadable:
            return False
