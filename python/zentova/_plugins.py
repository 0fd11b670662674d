"""Files that are no plugins: seen before the system's loader maps them, which does not survive all of them."""

from __future__ import annotations

import os
import stat
import struct
from typing import BinaryIO

#: The beginning of a file in ELF, and of each of its program headers, both of 64 bits.
HEADER, PROGRAM = struct.Struct("<16sHHIQQQIHHHHHH"), struct.Struct("<IIQQQQQQ")
LIBRARY, X86_64, TO_LOAD = 3, 62, 1


def refusal(name: str) -> str | None:
    """Why a file is no plugin; None where the loader may try it. A name without a slash is looked for by the loader."""
    if "/" not in name:
        return None
    try:
        status = os.stat(name)
        if not stat.S_ISREG(status.st_mode):
            return "it is no file" if not stat.S_ISDIR(status.st_mode) else "it is a folder"
        with open(name, "rb") as file:
            return unlike_elf(file, status.st_size)
    except (OSError, ValueError) as problem:
        return getattr(problem, "strerror", None) or str(problem)


def unlike_elf(file: BinaryIO, size: int) -> str | None:
    """What in a file differs from a shared library for this machine."""
    data = file.read(HEADER.size)
    if size == 0:
        return "it is empty"
    if data[:4] != b"\x7fELF":
        return "it is no shared library"
    if len(data) < HEADER.size or data[4] != 2 or data[5] != 1:
        return "it is for another machine, or cut: 64 bits are needed, the lower ones first"
    _, kind, machine, _, _, at, _, _, _, width, count, _, _, _ = HEADER.unpack(data)
    if machine != X86_64:
        return f"it is for another machine (number {machine} of ELF)"
    if kind != LIBRARY:
        return "it is no shared library, but another file in ELF"
    file.seek(at)
    table = file.read(width * count)
    if width < PROGRAM.size or len(table) < width * count:
        return "it is cut"
    for index in range(count):
        kind, _, begin, _, _, length, _, _ = PROGRAM.unpack_from(table, index * width)
        if kind == TO_LOAD and begin + length > size:
            return f"it is cut: {size} bytes are left of at least {begin + length}"
    return None
