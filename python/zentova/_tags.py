"""Tags: the series of numbers that a node has, by their names."""

from __future__ import annotations

import collections.abc as abc
import ctypes
from ctypes import Structure, byref, c_double, c_int32, c_uint32, c_void_p
from typing import Any, Iterator

from . import _engine as engine
from . import _members
from . import _objects as objects
from ._elements import call, there
from ._engine import word_at
from .errors import EndedError

#: Numbers of slots of ztTag, and of the array that holds its attributes.
INSERT, SET, RESIZE, COUNT, AVERAGE, TOTAL, SWAP = 48, 49, 50, 51, 54, 55, 63
SET_AT, REMOVE_AT = 31, 29
LONGEST_NAME = 31


class Handle(Structure):
    """ztTagHandle"""

    _fields_ = [("index", c_int32), ("type", c_int32)]


class Attribute(Structure):
    """The beginning of a ztIntTag and of a ztFloatTag"""

    _fields_ = [("klass", c_void_p), ("refCount", c_int32), ("owner", c_void_p), ("name", ctypes.c_char * 32),
                ("type", c_int32), ("changed", c_uint32), ("userValue", c_int32), ("binding", c_int32),
                ("values", c_void_p), ("cachedResult", ctypes.c_char * 8)]


#: For the type of an attribute: the class, what passes a value, and what it is in Python.
KINDS: dict[int, tuple[str, Any, type]] = {1: ("ztIntTag", c_int32, int), 2: ("ztFloatTag", c_double, float)}


class Series(engine.Unique, abc.MutableSequence[Any]):
    """The values of an attribute of a tag: whole numbers of 32 bits, or floats. It belongs to the tag."""

    __slots__ = ("_tag", "_handle", "_name", "_number", "__weakref__")

    _tag: Any
    _handle: Handle
    _name: str
    _number: Any  # the type in C

    def __init__(self, *args: Any) -> None:
        raise TypeError("tag.attributes gives the series of a tag, and its add() makes one")

    @property
    def name(self) -> str:
        """The name in the tag."""
        return self._name

    @property
    def kind(self) -> type:
        """int or float"""
        return KINDS[self._handle.type][2]

    @property
    def user_value(self) -> int:
        """A number of the program's own, which is stored with the values."""
        return attribute_of(self).userValue

    @user_value.setter
    def user_value(self, value: int) -> None:
        attribute_of(self).userValue = _members.wrong_number(value, "user_value", c_int32)

    @property
    def total(self) -> Any:
        """The sum. That of whole numbers wraps at 32 bits, as in C."""
        return self._derived(TOTAL)

    @property
    def average(self) -> Any:
        """The average. That of whole numbers is cut to a whole number, and 0 without values; that of no floats is NaN."""
        return self._derived(AVERAGE)

    def _derived(self, slot: int) -> Any:
        attribute = attribute_of(self)
        before = attribute.changed, bytes(ctypes.string_at(ctypes.addressof(attribute) + 80, 8))
        out = self._number()
        # Total and average share a result that C keeps until a value changes; one of integers is told by the second
        # call. C finds everything as it was.
        attribute.changed = 1
        for _ in range(2 if self._number is c_int32 else 1):
            call(self._tag, slot, c_void_p, byref(self._handle), byref(out))
        attribute = attribute_of(self)
        attribute.changed = before[0]
        ctypes.memmove(ctypes.addressof(attribute) + 80, before[1], 8)
        return out.value

    # Values

    def values(self) -> list[Any]:
        """A copy of the values."""
        with engine.whole:
            return self._copied()

    def _copied(self) -> list[Any]:
        array = attribute_of(self).values
        count, data = c_int32.from_address(array + 64).value, word_at(array + 72)
        return list((self._number * count).from_address(data)) if count > 0 and data else []

    def __len__(self) -> int:
        attribute_of(self)
        return call(self._tag, COUNT, c_int32, byref(self._handle))

    def __iter__(self) -> Iterator[Any]:
        return iter(self.values())

    def __getitem__(self, at: Any) -> Any:
        return self.values()[at]

    def __setitem__(self, at: Any, value: Any) -> None:
        values = self.values()
        if isinstance(at, slice):
            values[at] = value
            self.assign(values)
            return
        values[at] = value  # raises for an index out of range
        self._store(range(len(values))[at], self._passed(value))

    def __delitem__(self, at: Any) -> None:
        values = self.values()
        del values[at]
        self.assign(values)

    def insert(self, at: int, value: Any) -> None:
        """Inserts a value before an index."""
        values = self.values()
        values.insert(at, value)
        self.assign(values)

    def append(self, value: Any) -> None:
        """Appends a value."""
        self.extend((value,))

    def extend(self, values: Any) -> None:
        """Appends values."""
        passed = [self._passed(value) for value in values]
        count = len(self)
        self.resize(count + len(passed))
        for at, value in enumerate(passed, count):
            self._store(at, value)

    def clear(self) -> None:
        """Removes all values."""
        self.resize(0)

    def assign(self, values: Any) -> None:
        """Replaces all values. None changes where one of the new ones is wrong."""
        passed = [self._passed(value) for value in values]
        self.resize(len(passed))
        for at, value in enumerate(passed):
            self._store(at, value)

    def fill(self, value: Any) -> None:
        """Sets all values to one."""
        passed = self._passed(value)
        if len(self):
            self._store(-1, passed)

    def resize(self, count: int) -> None:
        """Changes the number of values. Those that stay keep their value, new ones are 0."""
        number = _members.wrong_number(count, "count", c_int32)
        if number < 0:
            raise ValueError(f"a series has no {number} values")
        attribute_of(self)
        engine.log.mark()
        if not call(self._tag, RESIZE, c_int32, byref(self._handle), number, None):
            engine.failed(f"{self._name} does not get {number} values")
        attribute_of(self).changed = 1

    def _passed(self, value: Any) -> Any:
        if self._number is c_int32:
            return c_int32(_members.wrong_number(value, "a value", c_int32))
        return c_double(_members.number_of(value, "a value"))

    def _store(self, at: int, passed: Any) -> None:
        attribute_of(self)
        engine.log.mark()
        if not call(self._tag, SET, c_int32, byref(self._handle), at, byref(passed)):
            engine.failed(f"a value of {self._name} is not set")

    def __eq__(self, other: object) -> bool:
        return isinstance(other, Series) and (self._tag, self._handle.index, self._name) == (
            other._tag, other._handle.index, other._name)

    def __hash__(self) -> int:
        return hash((self._tag, self._handle.index))

    def __repr__(self) -> str:
        if self._tag.has_ended or not is_there(self):
            return f"<the series {self._name!r} of the past>"
        values = self.values()
        shown = ", ".join(map(repr, values[:10])) + (", ..." if len(values) > 10 else "")
        return f"<the series {self._name!r} [{shown}]>"


def series_of(tag: Any, index: int, address: int) -> Series | None:
    """The series of the attribute at an index; None for an attribute whose values nothing describes."""
    attribute = Attribute.from_address(address)
    if attribute.type not in KINDS:
        return None
    made = object.__new__(Series)
    made._tag, made._handle = tag, Handle(index, attribute.type)
    made._name, made._number = engine.known(attribute.name), KINDS[attribute.type][1]
    return made if is_there(made) else None


def is_there(series: Series) -> bool:
    """Whether the attribute is where it was, and still holds what the series tells."""
    addresses = attributes_of(series._tag)
    at = series._handle.index
    if at >= len(addresses) or not addresses[at]:
        return False
    attribute = Attribute.from_address(addresses[at])
    array, kind = attribute.values, series._handle.type
    if attribute.type != kind or engine.known(attribute.name) != series._name or not array:
        return False
    by_pointer, size = c_uint32.from_address(array + 44).value, c_int32.from_address(array + 48).value
    return (not by_pointer and not word_at(array + 56) and size == ctypes.sizeof(series._number)
            and issubclass(objects.class_at(attribute.klass), objects.class_named(KINDS[kind][0])))


def attribute_of(series: Series) -> Attribute:
    """The attribute of a series; raises where it has left its tag."""
    there(series._tag)
    if not is_there(series):
        raise EndedError(f"the series {series._name!r} has ended")
    return Attribute.from_address(attributes_of(series._tag)[series._handle.index])


def attributes_of(tag: Any) -> list[int]:
    """The addresses of a tag's attributes by their indexes; 0 for an empty place."""
    array = word_at(there(tag)._a + 152)
    count = c_int32.from_address(array + 64).value if array else 0
    return list((ctypes.c_size_t * count).from_address(word_at(array + 72))) if count > 0 else []


class Attributes(engine.Unique, abc.MutableMapping[str, Series]):
    """The series of a tag by their names, in the order of their insertion."""

    __slots__ = ("_tag",)

    def __init__(self, tag: Any) -> None:
        if not isinstance(tag, objects.class_named("ztTag")):
            raise TypeError(f"a tag is needed, not {type(tag).__name__}")
        self._tag = there(tag)

    def _all(self) -> dict[str, Series]:
        found: dict[str, Series] = {}
        for at, address in enumerate(attributes_of(self._tag)):
            series = series_of(self._tag, at, address) if address else None
            if series is not None:
                found.setdefault(series._name, series)
        return found

    def __iter__(self) -> Iterator[str]:
        return iter(self._all())

    def __len__(self) -> int:
        return len(self._all())

    def __getitem__(self, name: str) -> Series:
        return self._all()[name]

    def __setitem__(self, name: str, values: Any) -> None:
        """Replaces the values of a series. An unknown name makes one: of whole numbers where all values are."""
        if isinstance(values, (str, bytes)):
            raise TypeError("the values of a series are numbers")
        values = list(values)
        if name in self:
            self[name].assign(values)
        else:
            whole = bool(values) and all(isinstance(value, int) for value in values)
            self.add(name, int if whole else float, values)

    def __delitem__(self, name: str) -> None:
        """Removes a series. The handles of the others stay valid, as in C."""
        index = self._all()[name]._handle.index
        address = attributes_of(self._tag)[index]
        array = word_at(self._tag._a + 152)
        last = index == c_int32.from_address(array + 64).value - 1
        table = word_at(word_at(array) + 40)
        ctypes.PYFUNCTYPE(None).from_address(table + 8 * SET_AT)(c_void_p(array), None, index)
        if last:
            ctypes.PYFUNCTYPE(None).from_address(table + 8 * REMOVE_AT)(c_void_p(array), index)
        objects.drop(address, word_at(address))
        if engine.pending:
            engine.raise_pending()

    def add(self, name: str, kind: type, values: Any = 1, *, user_value: int = 0) -> Series:
        """Adds a series of int or of float, with these values, or with so many zeros. Returns it."""
        code = next((code for code, (_, _, of) in KINDS.items() if of is kind), None)
        if code is None:
            raise TypeError("a series is of int or of float")
        data = engine.text_to_bytes(name)
        if not data or len(data) > LONGEST_NAME:
            raise ValueError(f"the name of a series has 1 to {LONGEST_NAME} bytes")
        if name in self:
            raise ValueError(f"the tag has a series {name!r}")
        number = KINDS[code][1]
        user = _members.wrong_number(user_value, "user_value", c_int32)
        if isinstance(values, int):
            count, given = _members.wrong_number(values, "values", c_int32), None
            if count < 0:
                raise ValueError(f"a series has no {count} values")
        else:
            given = list(values)
            for value in given:
                _members.wrong_number(value, "a value", number) if kind is int else _members.number_of(value, "a value")
            count = len(given)
        klass = objects.class_named(KINDS[code][0])._klass
        address = objects._CTOR.from_address(word_at(klass + 32) + 8 * objects.CTOR)(None, 1)
        if not address:
            raise MemoryError(f"no memory for a {KINDS[code][0]}")
        handle, zero = Handle(), number()
        engine.log.mark()
        if not call(self._tag, INSERT, c_int32, data, c_void_p(address), byref(handle), user, count, byref(zero)):
            engine.failed(f"the series {name!r} is not added")
        series = self[name]
        if len(series) != count:
            del self[name]
            raise MemoryError(f"no memory for {count} values")
        if given:
            series.assign(given)
        return series

    def swap(self, one: str, other: str) -> None:
        """Exchanges the values of two series of one kind and length. Nobody is told of it."""
        first, second = self[one], self[other]
        if not call(self._tag, SWAP, c_int32, byref(first._handle), byref(second._handle)):
            raise ValueError(f"{one!r} and {other!r} differ in their kind or in their number of values")
        for series in (first, second):
            attribute_of(series).changed = 1

    def __repr__(self) -> str:
        return "<the attributes of the past>" if self._tag.has_ended else f"<the attributes {list(self)}>"


class series:
    """A series that the tags of a class in Python have from the beginning, so that files can be read into them:
    `litres = zt.series(float, 24)`."""

    def __init__(self, kind: type, values: Any = 1) -> None:
        if kind not in (int, float):
            raise TypeError("a series is of int or of float")
        self.kind, self.values, self.name = kind, values, ""

    def __set_name__(self, owner: Any, name: str) -> None:
        self.name = name

    def __repr__(self) -> str:
        return f"<a series of {self.kind.__name__}: {self.name}>"

    def __get__(self, wrapper: Any, owner: Any = None) -> Any:
        if wrapper is None:
            return self
        found = Attributes(there(wrapper))
        if self.name not in found:
            raise AttributeError(f"this {type(wrapper).__name__} has no series {self.name!r} any more")
        return found[self.name]

    def __set__(self, wrapper: Any, values: Any) -> None:
        Attributes(there(wrapper))[self.name] = values


def add_series(wrapper: Any) -> None:
    """Gives a new tag the series that its classes declare, those of the classes above first."""
    for one in getattr(type(wrapper), "_series", ()):
        Attributes(wrapper).add(one.name, one.kind, one.values)


def changed_series(wrapper: Any, address: int) -> Any:
    """What `attrChanged` of a class in Python gets: the series."""
    for at, other in enumerate(attributes_of(wrapper)):
        if other == address:
            return series_of(wrapper, at, address)
    return None


objects.extras["ztTag"] = {
    "attributes": property(Attributes, None, None, "The series of the tag by their names, as a mapping.")}
