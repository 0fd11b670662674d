"""Containers: arrays and lists as sequences, queues, stacks, deques and sorted trees as what they are."""

from __future__ import annotations

import collections.abc as abc
from ctypes import c_int32, c_uint32, c_void_p
from typing import Any, Callable, Iterator

from . import _engine as engine
from . import _objects as objects
from ._elements import (Element, Passed, add, call, class_made_by, comparable, element_of, index_in,
                        names_above, policy, sequence_element, stored, there, tree_items, with_value)
from ._engine import word_at
from .errors import Error, UnsafeError

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
    index = index_in(self, at, array_len)
    return stored(array_address(self, index), sequence_element(self))


def array_set(self: Any, at: Any, value: Any) -> None:
    if isinstance(at, slice):
        raise TypeError("elements are set one by one")
    index = index_in(self, at, array_len)
    if not with_value(self, 31, value, index):
        engine.failed("the element is not set")


def array_delete(self: Any, at: Any) -> None:
    if isinstance(at, slice):
        for index in sorted(range(*at.indices(array_len(self))), reverse=True):
            call(self, 29, None, index)
        return
    call(self, 29, None, index_in(self, at, array_len))


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
    while True:
        with engine.whole:
            if at >= array_len(self):
                return
            value = array_get(self, at)
        yield value
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
    item = list_item(self, index_in(self, at, list_len))
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
    passed = Passed(self, value, sequence_element, "element")
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
    index = index_in(self, at, list_len)
    if index == list_len(self) - 1:
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
    index = index_in(self, at, list_len)
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


def avl_iterate(self: Any) -> Iterator[Any]:
    element = sequence_element(there(self))
    return iter([stored(word_at(item + 16), element) for item in tree_items(word_at(self._a + 64))])


def avl_len(self: Any) -> int:
    return c_uint32.from_address(there(self)._a + 72).value


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
