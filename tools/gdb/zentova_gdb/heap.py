"""Which memory of the allocator is in use.

The allocator of the GNU C library keeps its chunks one behind the other: each has its size before it, and a bit in the
next one's says whether it is in use. A heap is believed only if the chunks lead exactly to its end. Freed chunks that a
thread keeps for itself are marked as in use; they are in the lists of that thread's cache, which is a chunk of the heap
too. Where no such heap is found, as with another allocator, nothing is known.
"""

import array
import bisect
import struct

from .memory import BLOCK, Unreadable

SMALLEST, ALIGNMENT, HEADER = 32, 16, 16
# The cache of a thread: the numbers of chunks, then the first chunk of each size.
CACHE_SIZE, CACHE_BINS = 0x290, 64
# Where the first chunk of a further heap is, behind the record of its arena.
ARENAS = range(0x880, 0x8e0, ALIGNMENT)


class Heap:
    """The chunks of one region."""

    def __init__(self, end):
        self.end = end
        self.starts, self.used = array.array("Q"), bytearray()

    def add(self, start, is_previous_used):
        if self.used:
            self.used[-1] = is_previous_used
        self.starts.append(start)
        self.used.append(0)

    def chunk(self, address):
        """The chunk with an address: its number, its start and its end."""
        number = bisect.bisect_right(self.starts, address) - 1
        end = self.starts[number + 1] if number + 1 < len(self.starts) else self.end
        return number, self.starts[number], end


def walk(memory, region, first):
    """The heap whose chunks begin at an address and lead to the end of a region; None when they do not."""
    heap, at, block, start = Heap(region.end), first, b"", 0
    while at < region.end:
        if not start <= at + 8 <= start + len(block) - 8:
            start, size = at, min(BLOCK, region.end - at)
            try:
                block = memory.read(start, size)
            except Unreadable:
                return None
        if at + HEADER > region.end:
            return None
        word, = struct.unpack_from("<Q", block, at + 8 - start)
        size = word & ~7
        if size < SMALLEST or size % ALIGNMENT or at + size > region.end:
            return None
        heap.add(at, word & 1)
        at += size
    return heap if len(heap.starts) > 1 else None


def heap_in(memory, region):
    """The heap of a region; None when it has none."""
    try:
        arena = memory.word(region.start)
    except Unreadable:
        return None
    firsts = [region.start]
    if arena in region:
        firsts += [arena + offset for offset in ARENAS]
    return next(filter(None, (walk(memory, region, first) for first in firsts)), None)


class Heaps:
    """All heaps of the program."""

    def __init__(self, memory, regions):
        self.memory = memory
        found = [(region.start, heap) for region in regions if (heap := heap_in(memory, region)) is not None]
        self.starts = [start for start, _ in found]
        self.heaps = [heap for _, heap in found]
        self.cached = set()
        for heap in self.heaps:
            self.find_caches(heap)

    def heap_of(self, address):
        number = bisect.bisect_right(self.starts, address) - 1
        return self.heaps[number] if number >= 0 and address < self.heaps[number].end else None

    def find_caches(self, heap):
        for start, next_start, used in zip(heap.starts, heap.starts[1:], heap.used):
            if used and next_start - start == CACHE_SIZE:
                self.cached |= self.cached_in(start + HEADER)

    def cached_in(self, cache):
        """The freed chunks in the cache of a thread, by the addresses behind their headers; none when it is
        something else."""
        words = self.memory.unpack(f"{CACHE_BINS}H{CACHE_BINS}Q", cache)
        found = set()
        for index, (count, chunk) in enumerate(zip(words[:CACHE_BINS], words[CACHE_BINS:])):
            if bool(count) != bool(chunk):
                return set()
            for _ in range(count):
                if not self.has_chunk(chunk, SMALLEST + ALIGNMENT * index):
                    return set()
                found.add(chunk)
                # The link to the next chunk is mixed with its own address.
                chunk = self.memory.word(chunk) ^ chunk >> 12
        return found

    def has_chunk(self, address, size):
        heap = self.heap_of(address)
        if heap is None:
            return False
        _, start, end = heap.chunk(address)
        return start + HEADER == address and end - start == size

    def is_freed(self, address, size):
        """Whether memory is known not to be in use as a whole."""
        heap = self.heap_of(address)
        if heap is None or address < heap.starts[0]:
            return False
        number, start, end = heap.chunk(address)
        inside = address >= start + HEADER and address + size <= end + 8
        return not inside or not heap.used[number] or start + HEADER in self.cached
