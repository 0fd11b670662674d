"""The memory of the program: reading it, and which parts of it there are."""

import re
import struct

import gdb

PAGE = 4096
MOST_PAGES = 16384
BLOCK = 8 << 20
TOP = 1 << 47


class Unreadable(Exception):
    """Memory that is not there."""

    def __init__(self, address):
        super().__init__(f"no memory at {address:#x}")


class Memory:
    """The memory of the selected program, as it is now. Made anew for each command and each value that is printed: it
    keeps the pages that were read."""

    def __init__(self):
        self.inferior = gdb.selected_inferior()
        self.pages = {}

    def page(self, number):
        page = self.pages.get(number)
        if page is None:
            try:
                page = bytes(self.inferior.read_memory(number * PAGE, PAGE))
            except (gdb.error, OverflowError):
                page = b""
            if len(self.pages) >= MOST_PAGES:
                self.pages.clear()
            self.pages[number] = page
        return page

    def read(self, address, size):
        """That many bytes. Unreadable when one of them is not there."""
        if not 0 < address < TOP or size < 0:
            raise Unreadable(address)
        number, offset = divmod(address, PAGE)
        if offset + size <= PAGE:
            data = self.page(number)[offset:offset + size]
        else:
            try:
                data = bytes(self.inferior.read_memory(address, size))
            except (gdb.error, OverflowError, MemoryError):
                data = b""
        if len(data) != size:
            raise Unreadable(address)
        return data

    def unpack(self, form, address):
        return struct.unpack("<" + form, self.read(address, struct.calcsize("<" + form)))

    def word(self, address):
        return self.unpack("Q", address)[0]

    def int32(self, address):
        return self.unpack("i", address)[0]

    def uint32(self, address):
        return self.unpack("I", address)[0]

    def text(self, address, most):
        """The bytes before the next zero, at most that many; they may end where the memory does."""
        found = b""
        while len(found) < most:
            here = address + len(found)
            size = min(PAGE - here % PAGE, most - len(found))
            try:
                part = self.read(here, size)
            except Unreadable:
                if not found:
                    raise
                return found
            end = part.find(b"\0")
            if end >= 0:
                return found + part[:end]
            found += part
        return found

    def is_readable(self, address):
        try:
            return bool(self.read(address, 1))
        except Unreadable:
            return False

    def blocks(self, region, overlap=0):
        """The bytes of a region in blocks, with their addresses; each has the first bytes of the next one, too. What
        cannot be read is left out."""
        for start in range(region.start, region.end, BLOCK):
            size = min(BLOCK + overlap, region.end - start)
            try:
                yield start, bytes(self.inferior.read_memory(start, size))
            except (gdb.error, OverflowError):
                yield from self.pages_of(start, size)

    def pages_of(self, start, size):
        """The pages of a block that can be read, each run of them as one block."""
        first, run = start, b""
        for address in range(start, start + size, PAGE):
            page = self.page(address // PAGE)
            if not run:
                first = address
            run += page
            if not page and run:
                yield first, run
                run = b""
        if run:
            yield first, run


class Region:
    """A part of the program's memory."""

    def __init__(self, start, end, writable, name=""):
        self.start, self.end, self.writable, self.name = start, end, writable, name

    def __contains__(self, address):
        return self.start <= address < self.end


NUMBER = r"(0x[0-9a-f]+) +"
MAPPING = re.compile(rf"^ *{NUMBER}{NUMBER}0x[0-9a-f]+ +0x[0-9a-f]+ *(?:([r-][w-][x-][ps]) *)?(.*)$", re.M)
SEGMENT = re.compile(r"^ *\[\d+\] +(0x[0-9a-f]+)->(0x[0-9a-f]+) at \S+: load\S* (.*)$", re.M)


def mapped_regions():
    """The regions of a running program, without memory of devices and memory that is shared."""
    for start, end, rights, name in MAPPING.findall(gdb.execute("info proc mappings", to_string=True)):
        rights = rights or "rw-p"
        if rights[0] == "r" and rights[3] == "p" and not name.startswith(("/dev/", "[v")):
            yield Region(int(start, 16), int(end, 16), rights[1] == "w", name)


def dumped_regions():
    """The regions that a core file holds."""
    for start, end, flags in SEGMENT.findall(gdb.execute("maintenance info sections", to_string=True)):
        if "HAS_CONTENTS" in flags:
            yield Region(int(start, 16), int(end, 16), "READONLY" not in flags)


def is_core(inferior):
    connection = getattr(inferior, "connection", None)
    return connection is not None and connection.type == "core"


def regions():
    """All regions that may be read, in the order of their addresses."""
    inferior = gdb.selected_inferior()
    if not inferior.pid and not is_core(inferior):
        raise gdb.GdbError("The program is not being run, and there is no core file.")
    try:
        found = list(dumped_regions() if is_core(inferior) else mapped_regions())
    except gdb.error as problem:
        raise gdb.GdbError(f"gdb cannot tell which memory the program has: {problem}")
    if not found:
        raise gdb.GdbError("gdb cannot tell which memory the program has.")
    return sorted(found, key=lambda region: region.start)
