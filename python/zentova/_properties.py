"""Properties: attributes of objects whose classes declare them, and those that single objects have."""

from __future__ import annotations

import ctypes
from ctypes import c_char_p, c_double, c_int32, c_int8, c_void_p
from typing import Any, NamedTuple

from . import _engine as engine
from . import _members
from . import _objects as objects
from ._elements import map_pairs
from ._engine import ended, known, pending, quick, raise_pending, word_at
from .errors import Error


class PropertyDescription(NamedTuple):
    """A property of a class or of an object."""

    name: str
    kind: str  #: "ztInt"
    declared_by: str  #: the name of the class; for a property of one object, that of its class
    readable: bool
    writable: bool
    dynamic: bool  #: of one object


class Kind(NamedTuple):
    """One of the seven kinds of values."""

    name: str
    ctype: Any  #: of the value
    get: Any
    set: Any
    add: Any


def _functions(suffix: str) -> tuple[Any, Any, Any]:
    # Without the types of arguments: addresses are passed as objects of ctypes, which is faster.
    get, set_, add = quick["ztObject_get" + suffix], quick["ztObject_set" + suffix], quick["ztObject_add" + suffix]
    return get, set_, add


_CharPtr = quick["ztObject_addCharPtr"]
KINDS: dict[str, Kind] = {
    "ztInt": Kind("ztInt", c_int32, *_functions("Int")),
    "ztBool": Kind("ztBool", c_int32, *_functions("Bool")),
    "ztChar": Kind("ztChar", c_int8, *_functions("Char")),
    "ztFloat": Kind("ztFloat", c_double, *_functions("Float")),
    "ztString": Kind("ztString", c_char_p, *_functions("Text")),
    "ztCharPtr": Kind("ztCharPtr", c_char_p, *_functions("Text")[:2], _CharPtr),
    "ztVoidPtr": Kind("ztVoidPtr", c_void_p, *_functions("Pointer")),
}
NAMES = {"ztChar*": "ztCharPtr", "ztVoid*": "ztVoidPtr"}

#: Texts of properties that hold a pointer only, by object and name.
texts: dict[tuple[int, bytes], tuple[bytes, c_void_p]] = {}


def kind_named(name: str) -> Kind:
    kind = KINDS.get(NAMES.get(name, name))
    if kind is None:
        raise ValueError(f"there is no kind {name!r}: there are {', '.join(KINDS)}")
    return kind


def value_for(kind: Kind, name: str, value: Any) -> Any:
    """A value as a function of the kind takes it."""
    if kind.ctype is c_int32:
        if kind.name == "ztBool":
            if type(value) is bool:
                return int(value)
            return int(_members.wrong_number(value, name, c_int32) != 0)
        return _members.wrong_number(value, name, c_int32)
    if kind.ctype is c_double:
        return c_double(_members.number_of(value, name))
    if kind.ctype is c_int8:
        if isinstance(value, str) and len(value) == 1 and ord(value) < 128:
            return ord(value)
        return _members.wrong_number(value, name, c_int8)
    if kind.ctype is c_char_p:
        return engine.text_to_bytes(value)
    return address_for(value, name)


def address_for(value: Any, name: str) -> c_void_p:
    """A pointer that is not followed: that of an object, one that the engine gave, or NULL."""
    if value is None:
        return c_void_p()
    if isinstance(value, objects.Object):
        if not value._c:
            ended(value)
        return c_void_p(value._a)
    if isinstance(value, objects.Pointer):
        return c_void_p(value._address)
    raise TypeError(f"{name} is an object, a Pointer or None, not {type(value).__name__}")


def set_value(wrapper: Any, name: str, kind: Kind, value: Any) -> None:
    """Sets a property, with the reason where that fails."""
    if not wrapper._c:
        ended(wrapper)
    passed = value_for(kind, name, value)
    if not wrapper._c:
        ended(wrapper)  # by what the conversion ran
    data = name.encode()
    before = texts.get((wrapper._a, data))
    if kind.name == "ztCharPtr" and not is_copied(type(wrapper), name):
        keep_text(wrapper, data, passed)
    done = kind.set(wrapper._c, data, passed)
    if not done and before and (wrapper._a, data) in texts:
        texts[(wrapper._a, data)] = (before[0], texts[(wrapper._a, data)][1])
    if pending:
        raise_pending()
    if not done:
        # Nothing was written: the second try tells why.
        engine.log.mark()
        if not kind.set(wrapper._c or ended(wrapper), data, passed) or pending:
            engine.failed(f"{type(wrapper).__name__}.{name} is not set")


def end_all() -> None:
    """Before the interpreter ends: no object writes to the memory of this module any more."""
    for (address, _), (_, cell) in texts.items():
        if cell:
            engine.unwatch(address, ctypes.addressof(cell))


def is_copied(cls: Any, name: str) -> bool:
    """Whether the setter of a text is the library's or Python's, which copy it. One of a host may keep the pointer."""
    native = next(one for one in cls.__mro__ if not one.__dict__.get("_python"))
    return objects.is_library(native._name) and not isinstance(getattr(cls, name, None), Dynamic)


def keep_text(wrapper: Any, name: bytes, text: bytes) -> None:
    """The property may hold the pointer: the text stays until its next one, or until the object has ended."""
    global _next_look
    if len(texts) > _next_look:
        for key in [key for key, (_, cell) in texts.items() if not cell]:
            del texts[key]
        _next_look = 2 * len(texts) + 100
    before = texts.get((wrapper._a, name))
    cell = before[1] if before and before[1] else c_void_p()
    engine.watch(wrapper._a, ctypes.addressof(cell))
    texts[(wrapper._a, name)] = (text, cell)


_next_look = 100


def get_value(wrapper: Any, name: str, kind: Kind) -> Any:
    """Reads a property, with the reason where that fails."""
    if not wrapper._c:
        ended(wrapper)
    out = kind.ctype()
    done = kind.get(wrapper._c, name.encode(), ctypes.byref(out))
    if pending:
        raise_pending()
    if not done:
        # Nothing was read: the second try tells why.
        engine.log.mark()
        if not kind.get(wrapper._c or ended(wrapper), name.encode(), ctypes.byref(out)) or pending:
            engine.failed(f"{type(wrapper).__name__}.{name} is not read")
    return read(kind, out)


def read(kind: Kind, out: Any) -> Any:
    if kind.ctype is c_char_p:
        return engine.bytes_to_text(out.value)
    if kind.ctype is c_void_p:
        return objects.guess(out.value)
    return bool(out.value) if kind.name == "ztBool" else out.value


# Of classes -------------------------------------------------------------------------------------------------------------


class Property:
    """A static property that was not used yet."""

    __slots__ = ("cls", "name", "kind", "readable", "writable")

    def __init__(self, cls: Any, name: str, kind: Kind, readable: bool, writable: bool) -> None:
        self.cls, self.name, self.kind, self.readable, self.writable = cls, name, kind, readable, writable

    def __get__(self, wrapper: Any, owner: Any = None) -> Any:
        if wrapper is None:
            return self
        return self.bind(wrapper).__get__(wrapper, owner)

    def __set__(self, wrapper: Any, value: Any) -> None:
        self.bind(wrapper).__set__(wrapper, value)

    def bind(self, wrapper: Any) -> Any:
        """Puts what works into the place of this one."""
        if not isinstance(wrapper, self.cls):
            _members.wrong_self(wrapper, self.cls)
        if not wrapper._c:
            ended(wrapper)
        bound = property(self.reader(wrapper), self.writer(wrapper), None, f"{self.kind.name} {self.name}")
        if self.cls.__dict__.get(self.name) is self:
            setattr(self.cls, self.name, bound)
        return bound

    def reader(self, wrapper: Any) -> Any:
        name, kind, cls = self.name, self.kind, self.cls
        if not self.readable:
            def unreadable(self: Any) -> Any:
                raise AttributeError(f"{cls.__name__}.{name} is only written")
            return unreadable
        getter = direct_getter(wrapper, name, kind) if type(wrapper) is cls else None
        if getter is None:
            return lambda self: get_value(self, name, kind)
        function, of = getter
        convert = {"ztBool": ["return r != 0"], "ztCharPtr": _members.DECODED}.get(kind.name, ["return r"])
        names = {"f": function, "of": of, "ended": ended, "pending": pending, "raise_pending": raise_pending,
                 "bytes_to_text": engine.bytes_to_text}
        exec(f"def {kind.name}(self):\n"
             " if not self._c: ended(self)\n"
             " r = f(self._p, of)\n"
             " if pending: raise_pending()\n"
             + "".join(f" {line}\n" for line in convert), names)
        return names[kind.name]

    def writer(self, wrapper: Any) -> Any:
        name, kind, cls = self.name, self.kind, self.cls
        if not self.writable:
            def unwritable(self: Any, value: Any) -> None:
                raise AttributeError(f"{cls.__name__}.{name} is only read")
            return unwritable
        fits, passed = FITTING.get(kind.name, ("", ""))
        if not fits or kind.name == "ztCharPtr" and not is_copied(cls, name):
            return lambda self, value: set_value(self, name, kind, value)
        names = {"f": kind.set, "name": name.encode(), "ended": ended, "pending": pending, "type": type,
                 "raise_pending": raise_pending, "set_value": set_value, "kind": kind, "text": name, "int": int,
                 "float": float, "c_double": c_double, "bool": bool, "str": str,
                 "text_to_bytes": engine.text_to_bytes}
        encoded = "".join(f" {line}\n" for line in _members.ENCODED) if passed == "data" else ""
        call = f"f(self._p, name, {passed})"
        setter = direct_setter(wrapper, name, kind) if type(wrapper) is cls else None
        if setter is not None:
            names["f"], names["of"] = setter
            call = "f(of, self._p, value)"
        # Where it fails, nothing was written: the second try tells why.
        exec("def write(self, value):\n"
             f" if not ({fits}): return set_value(self, text, kind, value)\n"
             f"{encoded}"
             " if not self._c: ended(self)\n"
             f" r = {call}\n"
             " if pending: raise_pending()\n"
             " if not r: set_value(self, text, kind, value)\n", names)
        return names["write"]


#: For each kind: which values the short way takes, and what it passes. Other values go the long way.
FITTING = {
    "ztInt": (f"type(value) is int and {-_members.SMALL} <= value <= {_members.SMALL}", "value"),
    "ztBool": ("type(value) is bool", "value"), "ztChar": ("type(value) is int and -128 <= value <= 127", "value"),
    "ztFloat": ("type(value) is float", "c_double(value)"),
    "ztString": ("type(value) is str and '\\0' not in value", "data"),
    "ztCharPtr": ("type(value) is str and '\\0' not in value", "data"),
}


def own_functions() -> dict[int, int]:
    """The getValue of each property type of the library."""
    found = {}
    for name in KINDS:
        cls = objects.class_named(f"{name}PropertyType")
        found[cls._klass] = word_at(word_at(cls._klass + 40) + 8 * objects.GET_VALUE)
    return found


_types: dict[int, int] = {}
#: The getProperty and the setProperty of ztObject.
_own: tuple[int, ...] = ()


def remember_types() -> None:
    """Notes the functions of the library before a host can replace them."""
    global _own
    engine.register_types()
    _types.update(own_functions())
    root = objects.class_named("ztObject")
    _own = access_of(root._klass)


def own_access() -> tuple[int, ...]:
    """How the library's classes read and set properties."""
    return _own


def access_of(klass: int) -> tuple[int, ...]:
    """The functions of a class by which properties are read and set."""
    table = word_at(klass + 40)
    return word_at(table + 8 * objects.GET_PROPERTY), word_at(table + 8 * objects.SET_PROPERTY)


def direct_setter(wrapper: Any, name: str, kind: Kind) -> tuple[Any, Any] | None:
    """The setValue of properties, which setProperty calls once it has found the property by its name, and the
    property; None where a function of a host stands between."""
    found = engine.find_property(wrapper._a, name.encode())
    if kind.name not in ("ztInt", "ztBool", "ztChar") or not found or access_of(type(wrapper)._klass) != _own:
        return None
    place = word_at(objects.class_named("ztProperty")._klass + 40) + 8 * objects.SET_VALUE
    return ctypes.PYFUNCTYPE(c_int32).from_address(place), c_void_p.from_param(found)


def direct_getter(wrapper: Any, name: str, kind: Kind) -> tuple[Any, Any] | None:
    """The function in C that reads a property, and the property, which it gets as well; None where functions of a
    host stand between, and for kinds whose value is not the result."""
    if kind.name not in ("ztInt", "ztBool", "ztChar", "ztFloat", "ztCharPtr"):
        return None
    klass = type(wrapper)._klass
    found = engine.find_property(wrapper._a, name.encode())
    if not found or access_of(klass) != _own:
        return None
    type_class, getter = word_at(found + 24), word_at(found + 32)
    if not getter or _types.get(type_class) != word_at(word_at(type_class + 40) + 8 * objects.GET_VALUE):
        return None
    return ctypes.PYFUNCTYPE(kind.ctype)(getter), c_void_p.from_param(found)


def described(cls: Any) -> list[PropertyDescription]:
    """The static properties of a class, inherited ones first."""
    info = engine.object_info(cls._klass)
    if not info:
        engine.failed(f"{cls.__name__} cannot be described")
    try:
        found = [info.contents.properties[at] for at in range(info.contents.propertyCount)]
        return [PropertyDescription(known(one.name), NAMES.get(known(one.type), known(one.type)), known(one.declaredBy),
                                    bool(one.isReadable), bool(one.isWritable), False) for one in found]
    finally:
        engine.free_object_info(info)


def add_properties(cls: Any) -> None:
    """Gives a class the attributes of its static properties."""
    for one in described(cls):
        taken = cls.__dict__.get(one.name) or getattr(objects.Object, one.name, None)
        ours = any(isinstance(above.__dict__.get(one.name), Declared) for above in cls.__mro__)
        if one.kind in KINDS and not ours and (taken is None or isinstance(taken, _members.Field)):
            setattr(cls, one.name, Property(cls, one.name, KINDS[one.kind], one.readable, one.writable))


class Declared:
    """A property of a class in Python; see zt.prop()."""


# Of objects -------------------------------------------------------------------------------------------------------------


class Dynamic:
    """The attribute of properties that single objects of a class have."""

    __slots__ = ("name",)

    def __init__(self, name: str) -> None:
        self.name = name

    def __get__(self, wrapper: Any, owner: Any = None) -> Any:
        if wrapper is None:
            return self
        return get_value(wrapper, self.name, self.kind(wrapper))

    def __set__(self, wrapper: Any, value: Any) -> None:
        set_value(wrapper, self.name, self.kind(wrapper), value)

    def kind(self, wrapper: Any) -> Kind:
        return kind_of(wrapper, self.name)


def kind_of(wrapper: Any, name: str) -> Kind:
    """The kind of a property of an object."""
    if not isinstance(wrapper, objects.Object) or not wrapper._watched:
        raise AttributeError(f"a {type(wrapper).__name__} has no properties")
    if not wrapper._c:
        ended(wrapper)
    found = engine.find_property(wrapper._a, engine.text_to_bytes(name))
    if not found:
        raise AttributeError(f"this {type(wrapper).__name__} has no {name!r}")
    klass = word_at(found + 24)
    while klass:
        kind = KINDS.get(objects.class_at(klass)._name.removesuffix("PropertyType"))
        if kind is not None:
            return kind
        klass = engine.ClassRecord.from_address(klass).parent or 0
    raise Error(f"the property {name} is of a host's own kind")


def learn(cls: Any, properties: int) -> None:
    """Makes attributes of the dynamic properties in a map."""
    for _, address in map_pairs(properties):
        make_attribute(cls, engine.text_at(_members.string_characters(word_at(address + 16))) or "")


def make_attribute(cls: Any, name: str) -> None:
    """Makes an attribute of a dynamic property that an object of a class has; what the class has of that name stays."""
    if name.isidentifier() and not name.startswith("_") and not hasattr(cls, name):
        setattr(objects.class_named("ztObject"), name, Dynamic(name))


def add_property(wrapper: Any, name: str, kind: str, initial: Any = None) -> None:
    """Gives one object a property of its own; it is an attribute from then on."""
    if not isinstance(wrapper, objects.Object) or not wrapper._watched:
        raise TypeError("an object of ztObject is needed")
    if not wrapper._c:
        ended(wrapper)
    one = kind_named(kind)
    if not isinstance(name, str) or not name.isidentifier() or name.startswith("_"):
        raise ValueError("the name of a property is an identifier")
    if getattr(type(wrapper), name, None) is not None and not isinstance(getattr(type(wrapper), name), Dynamic):
        raise ValueError(f"a {type(wrapper).__name__} has a {name!r}")
    defaults = {"ztString": "", "ztCharPtr": "", "ztVoidPtr": None}
    passed = value_for(one, name, defaults.get(one.name, 0) if initial is None else initial)
    if not wrapper._c:
        ended(wrapper)
    if one.name == "ztCharPtr":
        keep_text(wrapper, name.encode(), passed)
    engine.log.mark()
    if not one.add(wrapper._c, name.encode(), passed):
        engine.failed(f"{name} is not made")
    make_attribute(type(wrapper), name)


def set_property(wrapper: Any, name: str, value: Any) -> None:
    """Sets a property, static or dynamic, by its name."""
    kind = kind_of(wrapper, name)
    make_attribute(type(wrapper), name)
    set_value(wrapper, name, kind, value)


def get_property(wrapper: Any, name: str) -> Any:
    """Reads a property, static or dynamic, by its name."""
    kind = kind_of(wrapper, name)
    make_attribute(type(wrapper), name)
    return get_value(wrapper, name, kind)


def properties(of: Any) -> list[PropertyDescription]:
    """The properties of a class, or of an object with its own ones."""
    if isinstance(of, objects.EngineClass):
        if not of._klass or not of._watched:
            raise TypeError("a class of ztObject is needed")
        return described(of)
    if not isinstance(of, objects.Object) or not of._watched:
        raise TypeError("an object or a class of ztObject is needed")
    if not of._c:
        ended(of)
    static = described(type(of))
    objects.learn_names(type(of), of._a)
    array = objects.class_named("ztPtrArray")()
    klass = word_at(of._a)
    listed = ctypes.CFUNCTYPE(c_int32).from_address(word_at(klass + 40) + 8 * 30)(of._c, array._c)
    if not listed:
        return static
    count, data = c_int32.from_address(array._a + 64).value, word_at(array._a + 72)
    own = []
    for at in range(count):
        address = word_at(data + 8 * at)
        name = _members.string_text(word_at(address + 16)) or ""
        try:
            kind = kind_of(of, name).name
        except Error:
            continue
        own.append(PropertyDescription(name, kind, type(of).__name__, True, True, True))
    return static + own
