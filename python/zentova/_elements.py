"""How containers hold their elements: what the policy of a container tells, and values on their way in and out."""

from __future__ import annotations

import ctypes
import operator
from ctypes import c_double, c_int32, c_int8, c_uint32, c_void_p
from typing import Any, NamedTuple

from . import _engine as engine
from . import _members
from . import _objects as objects
from ._engine import ended, word_at
from .errors import Error, UnsafeError

STRCMP = ctypes.cast(engine.libc.strcmp, c_void_p).value or 0


def _comparing(name: str) -> int:
    return engine.address_of(name)


INTS = {_comparing("ztIntArray_compare_func"), _comparing("ztIntList_compare_func")}
FLOATS = {_comparing("ztFloatArray_compare_func")}
LARGEST_ELEMENT = 1 << 20


class Element(NamedTuple):
    """How a container holds its elements, its keys or its values."""

    kind: str  #: "int", "float", "char", "str", "text", "bytes", "object", "pointer" or "none"
    size: int
    cls: Any  #: of objects


# How it is told from the container ------------------------------------------------------------------------------------


def element_of(constructor: int, by_pointer: int, size: int, compare: int, cls_name: str) -> Element:
    if constructor:
        made = class_made_by(constructor)
        return Element("str" if made is not None and made._name == "ztString" else "object", 8, made)
    if by_pointer:
        return Element("pointer", 8, None)
    if size == 4 and (compare in INTS or cls_name in ("ztIntArray", "ztIntList")):
        return Element("int", 4, None)
    if size == 8 and (compare in FLOATS or cls_name == "ztFloatArray"):
        return Element("float", 8, None)
    if size == 1:
        return Element("char", 1, None)
    if compare == STRCMP and size:
        return Element("text", size, None)
    return Element("bytes" if size > 0 else "none", size, None)


_constructors: dict[int, Any] = {}


def class_made_by(constructor: int) -> Any:
    """The class of the objects that a constructor makes."""
    found = _constructors.get(constructor)
    if found is None:
        for entry in objects.entries():
            if entry.ctor and entry.prototype:
                _constructors[entry.ctor] = objects.class_at(word_at(entry.prototype))
        found = _constructors.get(constructor)
    return found


def names_above(wrapper: Any) -> list[str]:
    """The names of the class of an object and of those above it."""
    above: Any = type(wrapper).__mro__[:-2]
    return [cls._name for cls in above]


def name_of(wrapper: Any) -> str:
    return next((name for name in names_above(wrapper) if name in ("ztIntArray", "ztIntList", "ztFloatArray")), "")


def sequence_element(wrapper: Any) -> Element:
    """How a sequence holds its elements."""
    holder = wrapper._a
    return element_of(word_at(holder + 56), c_uint32.from_address(holder + 44).value,
                      c_int32.from_address(holder + 48).value, word_at(holder + 32), name_of(wrapper))


def key_of(wrapper: Any) -> Element:
    at = wrapper._a
    return element_of(word_at(at + 64), c_uint32.from_address(at + 44).value, c_int32.from_address(at + 52).value,
                      word_at(at + 32), "")


def value_of(wrapper: Any) -> Element:
    at = wrapper._a
    return element_of(word_at(at + 72), c_uint32.from_address(at + 48).value, c_int32.from_address(at + 56).value,
                      word_at(at + 80), "")


# Values ---------------------------------------------------------------------------------------------------------------


#: Types whose values are converted without other code in Python.
PLAIN = frozenset({int, float, str, bytes, bool, type(None)})


class Passed:
    """A value in the form in which a container takes it, for the time of a call. `read` tells how the container holds
    such values. To convert one may run other code in Python: where the container then holds something else, that is an
    error, and what else was asked from the container or from other values must be asked again."""

    __slots__ = ("element", "_address", "_keep", "_string", "_object")

    def __init__(self, wrapper: Any, value: Any, read: Any, what: str) -> None:
        self.element: Element = read(there(wrapper))
        self._string: Any = None
        self._object: Any = None
        self.convert(value, self.element, what)
        if type(value) not in PLAIN:
            self.check(wrapper, read)

    def check(self, wrapper: Any, read: Any) -> None:
        if read(there(wrapper)) != self.element:
            raise Error(f"the {type(wrapper).__name__} changed while the value was converted")

    @property
    def address(self) -> int | None:
        return self._address if self._object is None else there(self._object)._a

    def convert(self, value: Any, element: Element, what: str) -> None:
        kind = element.kind
        if kind == "int":
            self._keep: Any = c_int32(_members.wrong_number(value, what, c_int32))
        elif kind == "float":
            self._keep = c_double(_members.number_of(value, what))
        elif kind == "char":
            self._keep = c_int8(character(value, what))
        elif kind == "str":
            self._string = objects.class_named("ztString")()
            self._string.set(value)
            self._address: int | None = self._string._a
            return
        elif kind in ("text", "bytes"):
            data = engine.text_to_bytes(value) if kind == "text" else bytes_of(value, what)
            if len(data) > element.size - (kind == "text"):
                raise ValueError(f"{what} has room for {element.size - (kind == 'text')} bytes, not {len(data)}")
            self._keep = ctypes.create_string_buffer(data, element.size)
        elif kind == "object":
            if element.cls is None or not isinstance(value, element.cls):
                name = "an object" if element.cls is None else f"a {element.cls.__name__}"
                raise TypeError(f"{what} is {name}, not {type(value).__name__}")
            self._object = there(value)
            return
        elif kind == "pointer":
            from ._properties import address_for
            self._keep = address_for(value, what)
            self._address = self._keep.value
            return
        else:
            if value is not None:
                raise TypeError(f"this container holds no {what}s: None is needed")
            self._keep = ctypes.create_string_buffer(8)
        self._address = ctypes.addressof(self._keep)

    def end(self) -> None:
        if self._string is not None:
            self._string.release()


def character(value: Any, what: str) -> int:
    if isinstance(value, (str, bytes)) and len(value) == 1 and ord(value) < 128:
        return ord(value)
    return _members.wrong_number(value, what, c_int8)


def bytes_of(value: Any, what: str) -> bytes:
    if not isinstance(value, (bytes, bytearray, memoryview)):
        raise TypeError(f"{what} is bytes, not {type(value).__name__}")
    return bytes(memoryview(value))


def stored(address: int, element: Element) -> Any:
    """The value at the address that a container gave: that of the bytes or of the object, or the pointer itself."""
    kind = element.kind
    if kind == "int":
        return c_int32.from_address(address).value
    if kind == "float":
        return c_double.from_address(address).value
    if kind == "char":
        return c_int8.from_address(address).value
    if kind == "text":
        return engine.bytes_to_text(ctypes.string_at(address, element.size).split(b"\0")[0])
    if kind == "bytes":
        return ctypes.string_at(address, element.size)
    if kind == "none":
        return None
    if kind == "pointer":
        return living(address)
    if not address:
        return None
    if kind == "str":
        return _members.string_text(address) or ""
    # The container may release its object at any time: a copy cannot end.
    return objects.copy_of(objects.wrap(address, objects.class_at(word_at(address))))


def living(address: int) -> Any:
    """An object that Python has, else the pointer as it is: nothing tells whether its object is still there."""
    kept = objects.made.get(address)
    wrapper = kept() if kept else None
    return wrapper if wrapper is not None and wrapper._c else objects.pointer(address)


# Calls by number ------------------------------------------------------------------------------------------------------


def call(wrapper: Any, slot: int, result: Any, *args: Any) -> Any:
    """Calls a method of the object's own class."""
    there(wrapper)
    # Other threads of Python wait: a container that two of them use stays whole.
    function = ctypes.PYFUNCTYPE(result).from_address(word_at(word_at(wrapper._a) + 40) + 8 * slot)
    got = function(wrapper._c, *args)
    if engine.pending:
        engine.raise_pending()
    return got


def there(wrapper: Any) -> Any:
    if not wrapper._c:
        ended(wrapper)
    return wrapper


def with_value(wrapper: Any, slot: int, value: Any, *more: Any) -> int:
    """Calls a method with an element and gives the address that it returns."""
    passed = Passed(wrapper, value, sequence_element, "element")
    engine.log.mark()
    try:
        return call(wrapper, slot, c_void_p, c_void_p(passed.address), *more) or 0
    finally:
        passed.end()


def add(wrapper: Any, slot: int, value: Any, *more: Any) -> None:
    if not with_value(wrapper, slot, value, *more):
        engine.failed(f"the element is not added to the {type(wrapper).__name__}")


def index_in(wrapper: Any, at: Any, length: Any) -> int:
    index = operator.index(at)
    count = length(there(wrapper))
    if not -count <= index < count:
        raise IndexError(f"there are {count} elements")
    return index % count


# Policies, when a container is made -----------------------------------------------------------------------------------

_compares_bytes: dict[int, Any] = {}


def comparing_bytes(size: int) -> int:
    """A function in C that compares so many bytes; it stays."""
    if size not in _compares_bytes:
        def compare(first: int, second: int) -> int:
            try:
                one, other = ctypes.string_at(first, size), ctypes.string_at(second, size)
                return (one > other) - (one < other)
            except BaseException as problem:
                engine.keep(problem)
                return 0

        _compares_bytes[size] = ctypes.CFUNCTYPE(c_int32, c_void_p, c_void_p)(compare)
    return ctypes.cast(_compares_bytes[size], c_void_p).value or 0


class Policy(NamedTuple):
    size: int
    by_pointer: int
    constructor: int
    compare: int


def policy(kind: Any, what: str) -> Policy:
    """What a container is told of its elements: int, float, a number of bytes, ("text", bytes), a class of the engine
    whose objects are copied, str for ztString, or object for pointers to objects, which belong to others."""
    if kind is int:
        return Policy(4, 0, 0, _comparing("ztIntArray_compare_func"))
    if kind is float:
        return Policy(8, 0, 0, _comparing("ztFloatArray_compare_func"))
    if kind is str:
        kind = objects.class_named("ztString")
    if isinstance(kind, objects.EngineClass) and kind._klass:
        if kind._name in ("ztFile", "ztTextFile") or kind._name in objects.NOT_MADE:
            raise UnsafeError(f"objects of {kind._name} cannot be copied into a container")
        compare = _comparing("ztStringList_compare_func") if kind._name == "ztString" else 0
        return Policy(8, 0, word_at(word_at(kind._klass + 32) + 8 * objects.CTOR), compare)
    if kind is object:
        return Policy(8, 1, 0, _comparing("ztPtrArray_compare_func_ptr"))
    if isinstance(kind, tuple) and len(kind) == 2 and kind[0] == "text":
        return Policy(size_of(kind[1], what), 0, 0, STRCMP)
    if isinstance(kind, int) and not isinstance(kind, bool):
        return Policy(size_of(kind, what), 0, 0, comparing_bytes(kind))
    raise TypeError(f"{what} is int, float, str, object, a number of bytes, ('text', bytes) or a class of the engine")


def size_of(value: Any, what: str) -> int:
    if not isinstance(value, int) or not 0 < value <= LARGEST_ELEMENT:
        raise ValueError(f"{what}: an element has 1 to {LARGEST_ELEMENT} bytes")
    return value


def tree_items(root: int) -> list[int]:
    """The items of an AVL tree in order. No other code runs meanwhile."""
    items: list[int] = []
    stack: list[int] = []
    at = root
    while at or stack:
        while at:
            stack.append(at)
            at = word_at(at + 32)
        at = stack.pop()
        items.append(at)
        at = word_at(at + 40)
    return items


def map_pairs(address: int) -> list[tuple[int, int]]:
    """The addresses of the keys and values of a ztMap, in order."""
    tree = word_at(address + 88)
    return [(word_at(item + 16), word_at(item + 48)) for item in tree_items(word_at(tree + 64) if tree else 0)]


def comparable(self: Any) -> None:
    if not word_at(there(self)._a + 32):
        raise Error(f"this {type(self).__name__} does not know the order of its elements: give element=... or key=...")
