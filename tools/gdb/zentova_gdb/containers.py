"""The elements of containers."""

from .layout import OFFSETS
from .memory import Unreadable
from .values import NoObject, Pointer, Problem, most_shown


class Container:
    """What an object is that holds others; a part of Object."""

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
                if item in seen:
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


WALKS = {"ztArray": Container.array_elements, "ztList": Container.list_elements, "ztDeque": Container.inner_elements,
         "ztQueue": Container.inner_elements, "ztStack": Container.inner_elements, "ztAvlTree": Container.tree_elements,
         "ztMap": Container.map_pairs, "ztHashTable": Container.hash_pairs}
