"""Values of the program, and how they are written."""

import re

import gdb


class NoObject(Exception):
    """What is at an address is no object; the reason."""


class Pointer(int):
    """An address that is a value in the program, perhaps that of an object."""


class Problem(str):
    """What is wrong with memory, in place of a value."""


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
