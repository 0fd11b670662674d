"""Containers: arrays and lists as sequences, maps and hash tables as mappings, the others as what they are."""

from __future__ import annotations

import collections.abc as abc
import ctypes
from ctypes import byref, c_double, c_int32, c_int8, c_uint32, c_void_p
from typing import Any, Callable, Iterator, NamedTuple

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


class Passed:
    """A value in the form in which a container takes it, for the time of a call."""

    __slots__ = ("address", "_keep", "_string")

    def __init__(self, value: Any, element: Element, what: str) -> None:
        self._string = None
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
            self.address: int | None = self._string._a
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
            if not value._c:
                ended(value)
            self.address = value._a
            return
        elif kind == "pointer":
            from ._properties import address_for
            self._keep = address_for(value, what)
            self.address = self._keep.value
            return
        else:
            if value is not None:
                raise TypeError(f"this container holds no {what}s: None is needed")
            self._keep = ctypes.create_string_buffer(8)
        self.address = ctypes.addressof(self._keep)

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
    return bytes(value)


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
    function = ctypes.CFUNCTYPE(result).from_address(word_at(word_at(wrapper._a) + 40) + 8 * slot)
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
    passed = Passed(value, sequence_element(there(wrapper)), "element")
    engine.log.mark()
    try:
        return call(wrapper, slot, c_void_p, c_void_p(passed.address), *more) or 0
    finally:
        passed.end()


def add(wrapper: Any, slot: int, value: Any, *more: Any) -> None:
    if not with_value(wrapper, slot, value, *more):
        engine.failed(f"the element is not added to the {type(wrapper).__name__}")


def index_in(wrapper: Any, at: Any, count: int) -> int:
    index = at.__index__()
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


#: Classes whose elements are settled.
SETTLED = ("ztIntArray", "ztFloatArray", "ztCharArray", "ztStringArray", "ztPtrArray", "ztIntList", "ztStringList",
           "ztPtrList", "ztPtrQueue", "ztPtrStack")


def init_sequence(self: Any, elements: Any = (), *, element: Any = None) -> None:
    """A container with these elements. `element` is what a plain ztArray, ztList, ztQueue, ztStack, ztDeque or
    ztAvlTree holds: see policy()."""
    settled = any(name in SETTLED for name in names_above(self))
    if element is not None:
        if settled:
            raise TypeError(f"the elements of a {type(self).__name__} are settled")
        if len(self):
            raise Error("a container changes what it holds only while it is empty")
        size, by_pointer, constructor, compare = policy(element, "element")
        is_array = isinstance(self, objects.class_named("ztArray"))
        if constructor and is_array:
            cls = class_made_by(constructor)
            size = cls._size if cls is not None else size
        call(self, 24, None, size, by_pointer)
        if constructor:
            call(self, 26, None, c_void_p(constructor))
        if compare:
            call(self, 21, None, c_void_p(compare))
    elif elements and not settled and sequence_element(self).kind == "none":
        raise TypeError("element=... tells what the container holds")
    for value in elements:
        self.append(value)


# Sequences ------------------------------------------------------------------------------------------------------------


def array_address(self: Any, at: int) -> int:
    element = sequence_element(self)
    data = word_at(self._a + 72)
    if element.kind == "pointer":
        return word_at(data + 8 * at)
    return data + c_int32.from_address(self._a + 48).value * at


def array_len(self: Any) -> int:
    return c_int32.from_address(there(self)._a + 64).value


def array_get(self: Any, at: Any) -> Any:
    if isinstance(at, slice):
        return list(self)[at]
    index = index_in(self, at, array_len(self))
    return stored(array_address(self, index), sequence_element(self))


def array_set(self: Any, at: Any, value: Any) -> None:
    if isinstance(at, slice):
        raise TypeError("elements are set one by one")
    index = index_in(self, at, array_len(self))
    if not with_value(self, 31, value, index):
        engine.failed("the element is not set")


def array_delete(self: Any, at: Any) -> None:
    if isinstance(at, slice):
        for index in sorted(range(*at.indices(array_len(self))), reverse=True):
            call(self, 29, None, index)
        return
    call(self, 29, None, index_in(self, at, array_len(self)))


def array_append(self: Any, value: Any) -> None:
    """Appends an element."""
    add(self, 27, value)


def array_insert(self: Any, at: int, value: Any) -> None:
    """Inserts an element before an index."""
    values = list(self)
    values.insert(at, value)
    array_append(self, value)
    for index, one in enumerate(values):
        if index >= min(max(at + len(values) - 1 if at < 0 else at, 0), len(values) - 1):
            array_set(self, index, one)


def array_iterate(self: Any) -> Iterator[Any]:
    at = 0
    while at < array_len(self):
        yield array_get(self, at)
        at += 1


def array_sort(self: Any) -> None:
    """Sorts numbers, characters, texts and strings."""
    element = sequence_element(there(self))
    if element.kind not in ("int", "float", "char", "str", "text", "bytes"):
        raise UnsafeError("elements of this kind have no order")
    for at, value in enumerate(sorted(self)):
        array_set(self, at, value)


def front(self: Any) -> Any:
    """The first element; None without one."""
    return self[0] if len(self) else None


def back(self: Any) -> Any:
    """The last element; None without one."""
    return self[len(self) - 1] if len(self) else None


def at_index(self: Any, index: int) -> Any:
    """The element at an index."""
    return self[index]


def set_at(self: Any, element: Any, index: int) -> None:
    """Replaces the element at an index."""
    self[index] = element


def find(self: Any, key: Any) -> Any:
    """The first element that equals the key; None without one."""
    return next((value for value in self if value == key), None)


def representation(self: Any) -> str:
    if not self._c:
        return f"<{type(self).__name__} of the past>"
    values = [repr(value) for _, value in zip(range(11), self)]
    return f"<{type(self).__name__} [{', '.join(values[:10])}{', ...' if len(values) > 10 else ''}]>"


def list_items(holder: int) -> list[int]:
    """The items of a ztList. No other code runs meanwhile."""
    items, at = [], word_at(holder + 64)
    while at:
        items.append(at)
        at = word_at(at + 32)
    return items


def list_len(self: Any) -> int:
    return c_uint32.from_address(there(self)._a + 80).value


def list_values(holder: int, element: Element) -> list[Any]:
    return [stored(word_at(item + 16), element) for item in list_items(holder)]


def list_iterate(self: Any) -> Iterator[Any]:
    return iter(list_values(there(self)._a, sequence_element(self)))


def list_item(self: Any, index: int) -> int:
    return call(self, 39, c_void_p, index)


def list_get(self: Any, at: Any) -> Any:
    if isinstance(at, slice):
        return list(self)[at]
    item = list_item(self, index_in(self, at, list_len(self)))
    return stored(word_at(item + 16), sequence_element(self))


def list_append(self: Any, value: Any) -> None:
    """Appends an element."""
    add(self, 27, value)


def list_push_front(self: Any, value: Any) -> None:
    """Puts an element before the others."""
    add(self, 28, value)


def list_insert(self: Any, at: int, value: Any) -> None:
    """Inserts an element before an index."""
    count = list_len(self)
    at = max(at + count, 0) if at < 0 else at
    if at >= count:
        return list_append(self, value)
    if at == 0:
        return list_push_front(self, value)
    passed = Passed(value, sequence_element(self), "element")
    try:
        if not call(self, 29, c_void_p, c_void_p(list_item(self, at)), c_void_p(passed.address)):
            engine.failed("the element is not inserted")
    finally:
        passed.end()


def release_element(address: int, element: Element) -> None:
    """Releases an element that a list handed over."""
    if element.kind in ("str", "object"):
        if address:
            objects.drop(address, word_at(address))
    elif element.kind != "pointer":
        engine.release_memory(address)


def list_delete(self: Any, at: Any) -> None:
    if isinstance(at, slice):
        for index in sorted(range(*at.indices(list_len(self))), reverse=True):
            list_delete(self, index)
        return
    count = list_len(self)
    index = index_in(self, at, count)
    if index == count - 1:
        call(self, 32, c_void_p)
    elif index == 0:
        element, address = sequence_element(self), word_at(word_at(self._a + 64) + 16)
        call(self, 31, c_void_p)
        release_element(address, element)
    else:
        call(self, 33, c_void_p, c_void_p(list_item(self, index)))


def list_set(self: Any, at: Any, value: Any) -> None:
    if isinstance(at, slice):
        raise TypeError("elements are set one by one")
    index = index_in(self, at, list_len(self))
    list_insert(self, index, value)
    list_delete(self, index + 1)


def take(self: Any, at: int = -1) -> Any:
    """Removes an element and returns it."""
    value = self[at]
    del self[at]
    return value


def pop_front(self: Any) -> Any:
    """Removes the first element and returns it."""
    return take(self, 0)


def pop_back(self: Any) -> Any:
    """Removes the last element and returns it."""
    return take(self)


def empty(slot: int) -> Callable[[Any], None]:
    def clear(self: Any) -> None:
        """Removes all elements."""
        call(there(self), slot, None)
    return clear


def is_empty(self: Any) -> bool:
    """Whether there is no element."""
    return len(self) == 0


def size(self: Any) -> int:
    """The number of elements."""
    return len(self)


def truth(self: Any) -> bool:
    return len(self) != 0


def sequence(**own: Any) -> dict[str, Any]:
    """What all sequences have, with what is a sequence's own."""
    return {
        "__init__": init_sequence, "__repr__": representation, "__contains__": abc.Sequence.__contains__,
        "__reversed__": abc.Sequence.__reversed__, "__bool__": truth, "getSize": size, "isEmpty": is_empty,
        "index": abc.Sequence.index, "count": abc.Sequence.count, "extend": abc.MutableSequence.extend,
        "reverse": abc.MutableSequence.reverse, "remove": abc.MutableSequence.remove, "pop": take,
        "getAt": at_index, "getFront": front, "getBack": back, "find": find, **own}


objects.extras["ztArray"] = sequence(
    __len__=array_len, __getitem__=array_get, __setitem__=array_set, __delitem__=array_delete, __iter__=array_iterate,
    append=array_append, pushBack=array_append, insert=array_insert, setAt=set_at, removeAt=array_delete,
    sort=array_sort, empty=empty(32), clear=empty(32))
objects.extras["ztList"] = sequence(
    __len__=list_len, __getitem__=list_get, __setitem__=list_set, __delitem__=list_delete, __iter__=list_iterate,
    append=list_append, pushBack=list_append, pushFront=list_push_front, insert=list_insert, popFront=pop_front,
    popBack=pop_back, empty=empty(37), clear=empty(37))


# Queues, stacks and deques hold a list --------------------------------------------------------------------------------


def inner_list(self: Any) -> int:
    """The list inside; a deque holds it, a queue and a stack hold a deque."""
    inner = word_at(there(self)._a + 64)
    deque = objects.class_named("ztDeque")
    while inner and issubclass(objects.class_at(word_at(inner)), deque):
        inner = word_at(inner + 64)
    return inner


def inner_values(self: Any) -> list[Any]:
    inner = inner_list(self)
    if not inner:
        return []
    element = element_of(word_at(inner + 56), c_uint32.from_address(inner + 44).value,
                         c_int32.from_address(inner + 48).value, word_at(inner + 32), "")
    return list_values(inner, element)


def inner_len(self: Any) -> int:
    inner = inner_list(self)
    return c_uint32.from_address(inner + 80).value if inner else 0


def inner_add(slot: int) -> Callable[[Any, Any], None]:
    def put(self: Any, value: Any) -> None:
        """Adds an element."""
        inner_check(self)
        add(self, slot, value)
    return put


def inner_check(self: Any) -> None:
    inner = inner_list(self)
    if not inner or word_at(inner + 56) != word_at(self._a + 56):
        raise Error(f"the list inside the {type(self).__name__} holds something else")


def inner_take(slot: int, first: bool) -> Callable[[Any], Any]:
    """What removes an element: the last one, which the list releases, or the first one, which it hands over."""
    def get(self: Any) -> Any:
        """Removes an element and returns it."""
        inner = inner_list(self)
        head = word_at(inner + 64) if inner else 0
        if not head:
            raise IndexError("there is no element")
        inner_check(self)
        element = sequence_element(self)
        address = word_at((head if first else word_at(inner + 72)) + 16)
        value = stored(address, element)
        call(self, slot, c_void_p)
        if first:
            release_element(address, element)
        return value
    return get


def inner_first(self: Any) -> Any:
    """The first element; None without one."""
    return next(iter(inner_values(self)), None)


def inner_last(self: Any) -> Any:
    """The last element; None without one."""
    return next(reversed(inner_values(self)), None)


def inner_clear(self: Any) -> None:
    """Removes all elements."""
    while len(self):
        self.pop()


def adaptor(**own: Any) -> dict[str, Any]:
    return {"__init__": init_sequence, "__len__": inner_len, "__iter__": lambda self: iter(inner_values(self)),
            "__bool__": truth, "__repr__": representation, "getSize": size, "isEmpty": is_empty,
            "clear": inner_clear, **own}


objects.extras["ztDeque"] = adaptor(
    append=inner_add(27), pushBack=inner_add(27), pushFront=inner_add(28), popBack=inner_take(29, False),
    pop=inner_take(29, False), popFront=inner_take(30, True),
    getBack=inner_last, getFront=inner_first)
objects.extras["ztQueue"] = adaptor(
    append=inner_add(27), push=inner_add(27), pop=inner_take(28, True), getBack=inner_last, getFront=inner_first)
objects.extras["ztStack"] = adaptor(
    append=inner_add(27), push=inner_add(27), pop=inner_take(28, False), getTop=inner_last)


# Trees of elements ------------------------------------------------------------------------------------------------------


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


def avl_iterate(self: Any) -> Iterator[Any]:
    element = sequence_element(there(self))
    return iter([stored(word_at(item + 16), element) for item in tree_items(word_at(self._a + 64))])


def avl_len(self: Any) -> int:
    return c_uint32.from_address(there(self)._a + 72).value


def comparable(self: Any) -> None:
    if not word_at(there(self)._a + 32):
        raise Error(f"this {type(self).__name__} does not know the order of its elements: give element=... or key=...")


def avl_add(self: Any, value: Any) -> bool:
    """Adds an element. False when the tree has it."""
    comparable(self)
    return bool(with_value(self, 27, value))


def avl_remove(self: Any, value: Any) -> None:
    """Removes an element."""
    comparable(self)
    if not avl_contains(self, value):
        raise KeyError(value)
    with_value(self, 28, value)


def avl_discard(self: Any, value: Any) -> None:
    """Removes an element if the tree has it."""
    if avl_contains(self, value):
        avl_remove(self, value)


def avl_contains(self: Any, value: Any) -> bool:
    comparable(self)
    try:
        return bool(with_value(self, 30, value))
    except (TypeError, ValueError, OverflowError):
        return False


def avl_find(self: Any, key: Any) -> Any:
    """The element that equals the key; None without one."""
    return key if avl_contains(self, key) else None


objects.extras["ztAvlTree"] = {
    "__init__": init_sequence, "__len__": avl_len, "__iter__": avl_iterate, "__contains__": avl_contains,
    "__bool__": truth, "__repr__": representation, "append": avl_add, "add": avl_add, "push": avl_add,
    "remove": avl_remove, "pop": avl_remove, "discard": avl_discard, "find": avl_find, "empty": empty(29),
    "clear": empty(29), "getSize": size}


# Mappings -------------------------------------------------------------------------------------------------------------


def init_mapping(self: Any, pairs: Any = (), *, key: Any = None, value: Any = None, buckets: int = 64) -> None:
    """A map or hash table with these pairs. `key` and `value` are what it holds: see policy()."""
    is_table = isinstance(self, objects.class_named("ztHashTable"))
    if len(self) and (key is not None or value is not None):
        raise Error("a container changes what it holds only while it is empty")
    if key is not None:
        one = policy(key, "key")
        if not one.compare:
            raise TypeError("keys of this kind have no order")
        if is_table and one.constructor:
            raise TypeError("a hash table finds keys by their bytes: use ('text', bytes) for texts")
        call(self, 21, None, c_void_p(one.compare))
        call(self, 24, None, one.size, one.by_pointer)
        if one.constructor:
            call(self, 25, None, c_void_p(one.constructor))
        if is_table and not call(self, 29, c_int32, _members.wrong_number(buckets, "buckets", c_int32)):
            raise ValueError(f"a hash table cannot have {buckets} buckets")
    if value is not None:
        one = policy(value, "value")
        call(self, 26, None, one.size, one.by_pointer)
        if one.constructor:
            call(self, 27, None, c_void_p(one.constructor))
        if one.compare:
            call(self, 28, None, c_void_p(one.compare))
    for name, held in (pairs.items() if hasattr(pairs, "items") else pairs):
        self[name] = held


def map_items(self: Any) -> list[tuple[int, int]]:
    """The addresses of the keys and values."""
    tree = word_at(there(self)._a + 88)
    return [(word_at(item + 16), word_at(item + 48)) for item in tree_items(word_at(tree + 64) if tree else 0)]


def map_len(self: Any) -> int:
    tree = word_at(there(self)._a + 88)
    return c_uint32.from_address(tree + 72).value if tree else 0


def table_items(self: Any) -> list[tuple[int, int]]:
    found: list[tuple[int, int]] = []
    buckets = word_at(there(self)._a + 96)
    if not buckets or not table_len(self):
        return found
    data = word_at(buckets + 72)
    for at in range(c_int32.from_address(buckets + 64).value):
        item = word_at(data + 8 * at)
        while item:
            found.append((word_at(item + 16), word_at(item + 32)))
            item = word_at(item + 24)
    return found


def table_len(self: Any) -> int:
    return c_uint32.from_address(there(self)._a + 88).value


def pairs_of(self: Any) -> list[tuple[int, int]]:
    return table_items(self) if isinstance(self, objects.class_named("ztHashTable")) else map_items(self)


def mapping_iterate(self: Any) -> Iterator[Any]:
    element = key_of(there(self))
    return iter([stored(key, element) for key, _ in pairs_of(self)])


def found_item(self: Any, key: Any) -> int:
    """The item of a key; 0 without one."""
    comparable(self)
    passed = Passed(key, key_of(self), "key")
    try:
        return call(self, 32, c_void_p, c_void_p(passed.address)) or 0
    finally:
        passed.end()


def value_place(self: Any) -> int:
    return 32 if isinstance(self, objects.class_named("ztHashTable")) else 48


def mapping_get(self: Any, key: Any) -> Any:
    item = found_item(self, key)
    if not item:
        raise KeyError(key)
    return stored(word_at(item + value_place(self)), value_of(self))


def mapping_contains(self: Any, key: Any) -> bool:
    try:
        return bool(found_item(self, key))
    except (TypeError, ValueError, OverflowError):
        return False


def insert_pair(self: Any, key: Any, value: Any) -> bool:
    """Adds a pair. False when the key is there and may not be twice."""
    comparable(self)
    one = Passed(key, key_of(self), "key")
    try:
        other = Passed(value, value_of(self), "value")
        try:
            is_table = isinstance(self, objects.class_named("ztHashTable"))
            slot, result = (31, c_int32) if is_table else (29, c_void_p)
            engine.log.mark()
            return bool(call(self, slot, result, c_void_p(one.address), c_void_p(other.address)))
        finally:
            other.end()
    finally:
        one.end()


def mapping_set(self: Any, key: Any, value: Any) -> None:
    item = found_item(self, key)
    element = value_of(self)
    if item and element.kind not in ("str", "object"):
        other = Passed(value, element, "value")
        place = item + value_place(self)
        if element.kind == "pointer":
            c_void_p.from_address(place).value = other.address
        elif element.kind != "none":
            ctypes.memmove(word_at(place), other.address or 0, element.size)
        return
    if item:
        Passed(value, element, "value").end()  # before the old one goes
        mapping_delete(self, key)
    if not insert_pair(self, key, value):
        engine.failed("the pair is not added", "" if word_at(self._a + 32) else "the keys have no order")


def mapping_delete(self: Any, key: Any) -> None:
    if not found_item(self, key):
        raise KeyError(key)
    if not isinstance(self, objects.class_named("ztHashTable")):
        passed = Passed(key, key_of(self), "key")
        try:
            call(self, 30, c_int32, c_void_p(passed.address))
        finally:
            passed.end()
        return
    # A hash table releases all pairs or none.
    pairs = [(name, value) for name, value in self.items() if name != key]
    self.clear()
    for name, value in reversed(pairs):
        insert_pair(self, name, value)


def mapping_items(self: Any) -> list[tuple[Any, Any]]:
    """The pairs, as a list."""
    key, value = key_of(there(self)), value_of(self)
    return [(stored(one, key), stored(other, value)) for one, other in pairs_of(self)]


def mapping_keys(self: Any) -> list[Any]:
    """The keys, as a list."""
    return list(self)


def mapping_values(self: Any) -> list[Any]:
    """The values, as a list."""
    element = value_of(there(self))
    return [stored(value, element) for _, value in pairs_of(self)]


_nothing = object()


def mapping_pop(self: Any, key: Any, default: Any = _nothing) -> Any:
    """Removes a pair and returns its value."""
    if key not in self:
        if default is _nothing:
            raise KeyError(key)
        return default
    value = self[key]
    del self[key]
    return value


def mapping_find(self: Any, key: Any) -> Any:
    """The value of a key; None without one."""
    return self.get(key)


def mapping_representation(self: Any) -> str:
    if not self._c:
        return f"<{type(self).__name__} of the past>"
    return f"<{type(self).__name__} of {len(self)} pairs>"


def mapping(**own: Any) -> dict[str, Any]:
    return {"__init__": init_mapping, "__iter__": mapping_iterate, "__getitem__": mapping_get, "__setitem__": mapping_set,
            "__delitem__": mapping_delete, "__contains__": mapping_contains, "__bool__": truth,
            "__repr__": mapping_representation, "get": abc.Mapping.get, "items": mapping_items, "keys": mapping_keys,
            "values": mapping_values, "pop": mapping_pop, "popitem": abc.MutableMapping.popitem,
            "update": abc.MutableMapping.update, "setdefault": abc.MutableMapping.setdefault, "find": mapping_find,
            "findValue": mapping_find, "insert": insert_pair, "pushBack": insert_pair, "getSize": size, **own}


objects.extras["ztMap"] = mapping(__len__=map_len, empty=empty(31), clear=empty(31))
objects.extras["ztHashTable"] = mapping(__len__=table_len, empty=empty(30), clear=empty(30))


def register() -> None:
    """Tells Python which classes are sequences and mappings."""
    for name in ("ztArray", "ztList"):
        abc.MutableSequence.register(objects.class_named(name))
    for name in ("ztMap", "ztHashTable"):
        abc.MutableMapping.register(objects.class_named(name))
