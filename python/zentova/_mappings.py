"""Maps and hash tables as mappings."""

from __future__ import annotations

import collections.abc as abc
import ctypes
from ctypes import c_int32, c_uint32, c_void_p
from typing import Any, Iterator

from . import _engine as engine
from . import _members
from . import _objects as objects
from ._containers import empty, size, truth
from ._elements import Passed, call, comparable, key_of, map_pairs, policy, stored, there, value_of
from ._engine import word_at
from .errors import Error

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
    return table_items(self) if isinstance(self, objects.class_named("ztHashTable")) else map_pairs(there(self)._a)


def mapping_iterate(self: Any) -> Iterator[Any]:
    element = key_of(there(self))
    return iter([stored(key, element) for key, _ in pairs_of(self)])


def found_item(self: Any, key: Any) -> int:
    """The item of a key; 0 without one."""
    comparable(self)
    passed = Passed(self, key, key_of, "key")
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
    one = Passed(self, key, key_of, "key")
    try:
        other = Passed(self, value, value_of, "value")
        try:
            one.check(self, key_of)
            is_table = isinstance(self, objects.class_named("ztHashTable"))
            slot, result = (31, c_int32) if is_table else (29, c_void_p)
            engine.log.mark()
            return bool(call(self, slot, result, c_void_p(one.address), c_void_p(other.address)))
        finally:
            other.end()
    finally:
        one.end()


def mapping_set(self: Any, key: Any, value: Any) -> None:
    comparable(self)
    element = value_of(self)
    other = None if element.kind in ("str", "object") else Passed(self, value, value_of, "value")
    item = found_item(self, key)
    if item and other is not None:
        other.check(self, value_of)
        place = item + value_place(self)
        if element.kind == "pointer":
            c_void_p.from_address(place).value = other.address
        elif element.kind != "none":
            ctypes.memmove(word_at(place), other.address or 0, element.size)
        return
    if item:
        Passed(self, value, value_of, "value").end()  # before the old one goes
        mapping_delete(self, key)
    if not insert_pair(self, key, value):
        engine.failed("the pair is not added", "" if word_at(self._a + 32) else "the keys have no order")


def mapping_delete(self: Any, key: Any) -> None:
    if not found_item(self, key):
        raise KeyError(key)
    if not isinstance(self, objects.class_named("ztHashTable")):
        passed = Passed(self, key, key_of, "key")
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
