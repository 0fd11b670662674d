"""The C declarations of the descriptions: "int32_t (*write)(const void *object, ztBorrowed *file)"."""

from __future__ import annotations

import ctypes
import re
from dataclasses import dataclass
from functools import lru_cache
from typing import Any

#: The types of numbers: what ctypes calls them.
NUMBERS: dict[str, Any] = {
    "char": ctypes.c_int8, "signed char": ctypes.c_int8, "unsigned char": ctypes.c_uint8,
    "short": ctypes.c_int16, "unsigned short": ctypes.c_uint16, "int": ctypes.c_int32, "signed": ctypes.c_int32,
    "unsigned": ctypes.c_uint32, "unsigned int": ctypes.c_uint32, "long": ctypes.c_int64,
    "unsigned long": ctypes.c_uint64, "long long": ctypes.c_int64, "unsigned long long": ctypes.c_uint64,
    "int8_t": ctypes.c_int8, "uint8_t": ctypes.c_uint8, "int16_t": ctypes.c_int16, "uint16_t": ctypes.c_uint16,
    "int32_t": ctypes.c_int32, "uint32_t": ctypes.c_uint32, "int64_t": ctypes.c_int64, "uint64_t": ctypes.c_uint64,
    "intptr_t": ctypes.c_int64, "uintptr_t": ctypes.c_uint64, "size_t": ctypes.c_uint64, "ssize_t": ctypes.c_int64,
    "ptrdiff_t": ctypes.c_int64, "float": ctypes.c_float, "double": ctypes.c_double,
    "bool": ctypes.c_bool, "_Bool": ctypes.c_bool,
}
FLOATS = (ctypes.c_float, ctypes.c_double)

#: The smallest and the largest value of each type of whole numbers.
RANGES: dict[Any, tuple[int, int]] = {}
for _type in set(NUMBERS.values()):
    if _type is ctypes.c_bool:
        RANGES[_type] = (0, 1)
    elif _type not in FLOATS:
        _bits = 8 * ctypes.sizeof(_type)
        RANGES[_type] = (0, 2**_bits - 1) if _type(-1).value > 0 else (-2**(_bits - 1), 2**(_bits - 1) - 1)

#: Names of `void` and `char` that tell who releases what a pointer leads to.
MARKS = {"ztOwned": "void", "ztBorrowed": "void", "ztOut": "void",
         "ztOwnedText": "char", "ztBorrowedText": "char", "ztOutText": "char"}


@dataclass(frozen=True)
class Type:
    """A type as it stands in a declaration."""

    base: str  #: without const and marks: "int32_t", "void", "ztString"
    stars: int  #: how many pointers
    const: bool  #: what the pointer leads to is not written
    mark: str  #: "ztOwned", or ""

    @property
    def number(self) -> Any:
        """The type of a number, None for others."""
        return NUMBERS.get(self.base) if self.stars == 0 else None

    @property
    def is_text(self) -> bool:
        return self.base == "char" and self.stars == 1

    @property
    def is_void(self) -> bool:
        return self.base == "void" and self.stars == 0

    @property
    def ctype(self) -> Any:
        """What passes it; None where no simple type does."""
        if self.is_void:
            return None
        return ctypes.c_void_p if self.stars else NUMBERS.get(self.base)

    @property
    def is_passable(self) -> bool:
        return self.is_void or self.ctype is not None

    def __str__(self) -> str:
        return f"{'const ' if self.const else ''}{self.mark or self.base}{' ' + '*' * self.stars if self.stars else ''}"


@dataclass(frozen=True)
class Parameter:
    type: Type
    name: str


@dataclass(frozen=True)
class Declaration:
    """A pointer to a function."""

    name: str
    result: Type
    parameters: tuple[Parameter, ...]

    @property
    def is_passable(self) -> bool:
        return self.result.is_passable and all(p.type.ctype is not None for p in self.parameters)


def parse_type(text: str) -> Type:
    """A type without a name."""
    words = re.findall(r"\w+|\*", text)
    stars = words.count("*")
    before = words[:words.index("*")] if stars else words
    const = "const" in before
    base = " ".join(word for word in before if word not in ("const", "volatile", "struct", "enum", "union"))
    mark = base if base in MARKS else ""
    return Type(MARKS.get(base, base), stars, const, mark)


def _parameter(text: str) -> Parameter:
    match = re.fullmatch(r"(.*[\s*])(\w+)", text.strip(), re.S)
    # "unsigned long" has no name, "ztClass klass" has one.
    if match and match.group(2) not in NUMBERS and match.group(1).strip(" *") not in ("const", "struct", ""):
        return Parameter(parse_type(match.group(1)), match.group(2))
    return Parameter(parse_type(text), "")


@lru_cache(maxsize=None)
def parse(text: str) -> Declaration | None:
    """A declaration of a slot; None for a slot that is data, and for what is not understood, as a parameter that is a
    pointer to a function or has dots."""
    match = re.fullmatch(r"\s*([\w\s*]+?)\s*\(\s*\*\s*(\w+)\s*\)\s*\(([^()]*)\)\s*", text, re.S)
    if match is None or "..." in match.group(3) or "[" in match.group(3):
        return None
    inner = match.group(3).strip()
    parameters = () if inner in ("", "void") else tuple(_parameter(part) for part in inner.split(","))
    return Declaration(match.group(2), parse_type(match.group(1)), parameters)


def parse_field(text: str) -> tuple[Type, int]:
    """The type of a field and its length, 0 for a field that is no array: "char[104]"."""
    match = re.fullmatch(r"(.*?)\s*\[\s*(\d+)\s*\]", text.strip(), re.S)
    return (parse_type(match.group(1)), int(match.group(2))) if match else (parse_type(text), 0)
