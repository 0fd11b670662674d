"""The Zentova OOP Engine in Python.

Every class that the engine knows is a class of this module: `zentova.ztRoot`, and after load_plugin() those of the
plugin. Their methods, fields and properties are made from the descriptions that the classes carry.
"""

from __future__ import annotations

import ctypes as _ctypes
import os as _os
from typing import Any

from . import _engine, _links, _mappings, _members, _objects, _plugins, _properties, _signals, _subclass, _trees
from ._links import Link, links, resolve_links
from ._members import declare_arguments as declare
from ._objects import Object, Pointer
from ._properties import PropertyDescription, add_property, get_property, properties, set_property
from ._signals import Connection, block, connect, emit, on_change, signals
from ._subclass import prop, subclass
from ._tags import Attributes, Series, series
from ._trees import (Children, Tree, load_tree, open_tree, read_object, save_tree, store_tree, walk, write_object)
from .errors import EndedError, Error, UnsafeError

__all__ = [
    "Attributes", "Children", "Connection", "EndedError", "Error", "Link", "Object", "Pointer", "PropertyDescription",
    "Series", "Tree", "UnsafeError", "add_property", "block", "class_named", "classes", "connect", "declare", "emit",
    "fields", "get_property", "links", "load_plugin", "load_tree", "make", "methods", "on_change", "open_tree", "prop",
    "properties", "read_object", "resolve_links", "save_tree", "series", "set_property", "signals", "store_tree",
    "subclass", "walk", "write_object",
]


def load_plugin(path: Any) -> None:
    """Loads a shared library whose classes register themselves, as with ZT_REGISTER_CLASS in a constructor function.
    It stays loaded."""
    name = _os.fsdecode(path)
    why = _plugins.refusal(name)
    if why:
        raise Error(f"the plugin {name!r} is not loaded: {why}")
    _engine.log.mark()
    try:
        _ctypes.CDLL(name)
    except (OSError, ValueError) as problem:
        raise Error(f"the plugin {name!r} is not loaded: {problem}") from None
    if _engine.pending:
        _engine.raise_pending()


def class_named(name: str) -> Any:
    """The class of a name; raises Error where the engine knows none."""
    found = _objects.class_named(name)
    if found is None:
        raise Error(f"the engine knows no class {name!r}")
    return found


def classes() -> list[Any]:
    """All registered classes, by their names."""
    return [class_named(name) for name in sorted({entry.name.decode() for entry in _objects.entries()})]


def make(name: str) -> Any:
    """Makes an object of the class of a name."""
    return class_named(name)()


def methods(cls: Any) -> list[str]:
    """The declarations of a class's methods, in C, in the order of their slots."""
    return [text for _, text in _described(cls, "methods", "methodCount", "declaration")]


def fields(cls: Any) -> list[tuple[str, str]]:
    """The names and types of a class's fields, in their order."""
    return _described(cls, "fields", "fieldCount", "type")


def _described(cls: Any, what: str, count: str, text: str) -> list[tuple[str, str]]:
    if not isinstance(cls, _objects.EngineClass) or not cls._klass:
        raise TypeError("a class of the engine is needed")
    info = _engine.class_info(cls._klass)
    if not info:
        _engine.failed("the class cannot be described")
    try:
        found = getattr(info.contents, what)[:getattr(info.contents, count)]
        return [(_engine.known(one.name), _engine.known(getattr(one, text))) for one in found]
    finally:
        _engine.free_class_info(info)


def __getattr__(name: str) -> Any:
    if not name.startswith("_"):
        found = _objects.class_named(name)
        if found is not None:
            return found
    raise AttributeError(f"the engine knows no class {name!r}, and this module has no such function")


def __dir__() -> list[str]:
    return sorted({*__all__, *(entry.name.decode() for entry in _objects.entries())})


_properties.remember_types()
_mappings.register()
_engine.at_end.append(_properties.end_all)
_engine.at_end.append(_links.end_all)
_engine.at_end.append(_subclass.end_all)
_engine.at_end.append(_signals.end_all)
