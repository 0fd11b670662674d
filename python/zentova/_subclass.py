"""Classes of the engine that are written in Python."""

from __future__ import annotations

import collections
import ctypes
import functools
from ctypes import CFUNCTYPE, c_char_p, c_double, c_int32, c_int8, c_void_p
from typing import Any, Callable

from . import _declare as declare
from . import _engine as engine
from . import _members
from . import _objects as objects
from . import _policy as policy
from . import _properties
from . import _tags
from ._engine import ended, known, word_at
from .errors import Error, UnsafeError

#: Functions in C that the tables of classes lead to; they stay.
_functions: list[Any] = []
#: What the tables had before, by the address of the slot: put back before the interpreter ends.
_replaced: dict[int, int] = {}
_names: list[bytes] = []

NOT_OVERRIDDEN = ("Allocator", "classInstanceCreate", "classInstanceDestroy", "ref", "unRef", "getRefCount",
                  "initProperties", "staticProperties", "clone", "destroyed", "release")
STORED = {"ztInt": ("int32_t", 4), "ztBool": ("int32_t", 4), "ztChar": ("signed char", 1), "ztFloat": ("double", 8),
          "ztString": ("ztString *", 8), "ztCharPtr": ("char *", 8), "ztVoidPtr": ("void *", 8)}


class prop(_properties.Declared):
    """A property of a class in Python: a kind, such as "ztInt", and the value in a new object."""

    def __init__(self, kind: str, initial: Any = None) -> None:
        self.kind = _properties.kind_named(kind)
        self.name, self.offset = "", 0
        defaults = {"ztString": "", "ztCharPtr": "", "ztVoidPtr": None, "ztFloat": 0.0}
        self.initial = defaults.get(self.kind.name, 0) if initial is None else initial
        _properties.value_for(self.kind, "the value of a new object", self.initial)

    def __set_name__(self, owner: Any, name: str) -> None:
        self.name = name

    def __repr__(self) -> str:
        return f"<a property of {self.kind.name}: {self.name}>"

    # In Python: through the view of the object's memory that is among its attributes.

    def accessor(self, plain: bool) -> "Accessor":
        """The attribute of the class. Where setting a property is `plain`, as the library's classes do it, and the
        object has no signals that could tell of it, the value is stored at once."""
        kind, name = self.kind, self.name
        names = {"ended": ended, "set_value": _properties.set_value, "kind": kind, "guess": objects.guess,
                 "bytes_to_text": engine.bytes_to_text, "text_to_bytes": engine.text_to_bytes,
                 "note_signals": note_signals, "get": method_in("ztString", 18, c_char_p),
                 "set": method_in("ztString", 16, c_void_p)}
        is_text, is_pointer = kind.ctype is c_char_p, kind.ctype is c_void_p
        lines = ["def read(self):", " if not self._c: ended(self)"]
        if is_text:
            lines += [f" r = get(self.{TEXT}{name})", *(f" {line}" for line in _members.DECODED)]
        elif is_pointer:
            lines += [f" return guess(self.{VIEW}.{name}.value)"]
        else:
            lines += [f" return self.{VIEW}.{name}" + (" != 0" if kind.name == "ztBool" else "")]
        lines += ["def write(self, value):", " if not self._c: ended(self)"]
        if plain and not is_pointer:
            fits, _ = _properties.FITTING[kind.name]
            store = f"if set(self.{TEXT}{name}, data): return" if is_text else f"view.{name} = value; return"
            lines += [f" if {fits}:", f"  view = self.{VIEW}", *(f"  {line}" for line in _members.ENCODED if is_text),
                      f"  if view.{SIGNALS} != self.{SIGNALS}: note_signals(self, view.{SIGNALS})",
                      f"  if not self.{COUNT}.value:", f"   {store}"]
        exec("\n".join(lines + [f" set_value(self, {name!r}, kind, value)"]), names)
        return Accessor(names["read"], names["write"], None, f"{kind.name} {name}")

    # In memory: numbers and pointers as they are, of both kinds of texts a ztString.

    def load_text(self, address: int) -> str:
        return _members.string_text(word_at(address + self.offset)) or ""

    def begin(self, address: int) -> None:
        """The value of a new object."""
        place, kind = address + self.offset, self.kind
        if kind.ctype is c_char_p:
            c_void_p.from_address(place).value = new_string(engine.text_to_bytes(self.initial))
        else:
            value = _properties.value_for(kind, self.name, self.initial)
            size = ctypes.sizeof(kind.ctype)
            held = value if isinstance(value, (c_double, c_void_p)) else kind.ctype(value)
            ctypes.memmove(place, ctypes.byref(held), size)

    def copy(self, target: int) -> None:
        """After the bytes were copied: a string of the copy's own."""
        if self.kind.ctype is c_char_p:
            place = target + self.offset
            c_void_p.from_address(place).value = new_string(engine.text_to_bytes(self.load_text(target)))

    def assign(self, target: int, source: int) -> None:
        if self.kind.ctype is c_char_p:
            set_string(word_at(target + self.offset), engine.text_to_bytes(self.load_text(source)))
        else:
            ctypes.memmove(target + self.offset, source + self.offset, STORED[self.kind.name][1])

    def end(self, address: int) -> None:
        if self.kind.ctype is c_char_p:
            place = address + self.offset
            string = word_at(place)
            c_void_p.from_address(place).value = None
            if string:
                objects.drop(string, word_at(string))

    # Called by the engine.

    def functions(self) -> tuple[Any, Any]:
        """The getter and the setter in C."""
        kind, offset = self.kind, self.offset
        if kind.ctype is c_char_p:
            def get_text(address: int, _: int) -> int:
                string = word_at(address + offset)
                if kind.name == "ztString" or not string:
                    return string
                return _members.string_characters(string)

            def set_text(address: int, text: int) -> int:
                if kind.name == "ztString":
                    other = word_at(text) if text else 0
                    data = engine.text_to_bytes((_members.string_text(other) if other else "") or "")
                else:
                    data = ctypes.string_at(text) if text else b""
                set_string(word_at(address + offset), data)
                return 0
            return (CFUNCTYPE(c_void_p, c_void_p, c_void_p)(guarded(get_text)),
                    CFUNCTYPE(c_void_p, c_void_p, c_void_p)(guarded(set_text)))

        ctype = kind.ctype

        def get(address: int, _: int) -> Any:
            return ctype.from_address(address + offset).value or 0

        def set_(address: int, value: Any) -> None:
            ctype.from_address(address + offset).value = value
        passed = c_int32 if ctype is c_int8 else ctype
        return (CFUNCTYPE(ctype, c_void_p, c_void_p)(guarded(get)),
                CFUNCTYPE(None, c_void_p, passed)(guarded(set_)))


class Accessor(property, _properties.Declared):
    """The attribute of a property of a class in Python."""


class Address(c_void_p):
    """A pointer in a view: a field of this class is not made a number."""


#: Attributes of objects: the view; the address of the map of signals, as it was last seen, and the number of signals in
#: its memory; and, with the name of a property that is a text, its string as calls pass it, which lasts as long as the
#: object.
VIEW, SIGNALS, COUNT, TEXT = "_zentova_view", "_zentova_signals", "_zentova_count", "_zentova_text_"


def view_of(props: list[prop]) -> Any:
    """The class of the views of objects with these properties."""
    fields: list[tuple[str, Any]] = [("_zentova_header", ctypes.c_char * 16), (SIGNALS, ctypes.c_size_t)]
    at = 24
    for one in sorted(props, key=lambda one: one.offset):
        if one.offset > at:
            fields.append((f"_zentova_{at}", ctypes.c_char * (one.offset - at)))
        numeric = one.kind.ctype not in (c_char_p, c_void_p)
        fields.append((one.name, one.kind.ctype if numeric else Address))
        at = one.offset + STORED[one.kind.name][1]
    return type("View", (ctypes.Structure,), {"_fields_": fields})


NO_SIGNALS = ctypes.c_uint32(0)


def note_signals(wrapper: Any, signals: int) -> None:
    """Notes where the number of an object's signals is. A map keeps its tree. One that has none yet is looked at again."""
    tree = word_at(signals + 88) if signals else 0
    setattr(wrapper, SIGNALS, signals if tree else 0)
    setattr(wrapper, COUNT, ctypes.c_uint32.from_address(tree + 72) if tree else NO_SIGNALS)


def hidden_attributes(address: int, view: Any, props: list[prop]) -> dict[str, Any]:
    """The attributes of an object by which Python reads and writes its properties."""
    found = {VIEW: view(address), SIGNALS: 0, COUNT: NO_SIGNALS}
    for one in props:
        if one.kind.ctype is c_char_p:
            found[TEXT + one.name] = objects.passed(word_at(address + one.offset))
    return found


def method_in(name: str, slot: int, result: Any) -> Any:
    """A method of a class of the library that runs no other code."""
    return ctypes.PYFUNCTYPE(result).from_address(word_at(objects.class_named(name)._klass + 40) + 8 * slot)


def guarded(function: Callable[..., Any]) -> Callable[..., Any]:
    """A function that C calls: what it raises is kept."""
    @functools.wraps(function)
    def called(*args: Any) -> Any:
        try:
            return function(*args)
        except BaseException as problem:
            engine.keep(problem)
            return 0
    return called


def new_string(data: bytes) -> int:
    string = objects.class_named("ztString")()
    string._owned = False
    set_string(string._a, data)
    return string._a


def set_string(string: int, data: bytes) -> None:
    ctypes.CFUNCTYPE(c_void_p).from_address(word_at(word_at(string) + 40) + 8 * 16)(c_void_p(string), data)


# Methods --------------------------------------------------------------------------------------------------------------


def traced(cls: Any, name: str, function: Any) -> Any:
    """A method that notes that it is running, so that up() knows whose it is."""
    @functools.wraps(function)
    def method(self: Any, *args: Any, **named: Any) -> Any:
        objects.calls.running.append((self, name, cls))
        try:
            return function(self, *args, **named)
        finally:
            objects.calls.running.pop()
    method.of_python = True  # type: ignore[attr-defined]
    return method


def above(wrapper: Any, name: str) -> Any:
    """The class whose method up() calls."""
    if not isinstance(name, str):
        raise TypeError("the name of a method is needed")
    own, running = type(wrapper), objects.calls.running
    for running_one, running_name, cls in reversed(running):
        if running_name == name and running_one is wrapper:
            own = cls
            break
    if name in ("create", "destroy"):
        return Lifecycle(own.__mro__[1], bool(running) and running[-1][0] is wrapper and running[-1][1] == name)
    for parent in own.__mro__[1:]:
        if name in parent.__dict__:
            return parent
    raise AttributeError(f"no class above {own.__name__} has {name!r}")


class Lifecycle:
    """`create` and `destroy` of the class above, which only their overrides call."""

    def __init__(self, parent: Any, allowed: bool) -> None:
        self.parent, self.allowed = parent, allowed

    def create(self, wrapper: Any) -> int:
        begun = objects.calls.begun
        if not self.allowed or not begun or begun[-1][0] != wrapper._a or begun[-1][1]:
            raise UnsafeError("up('create') is called by a create only, once, while the engine makes the object")
        return self.call(wrapper)

    def destroy(self, wrapper: Any) -> None:
        raise UnsafeError("destroy of the class above runs by itself, after this one")

    def call(self, wrapper: Any) -> Any:
        override = next((cls for cls in self.parent.__mro__
                         if getattr(cls.__dict__.get("create"), "of_python", False)), None)
        if override is not None:
            return override.__dict__["create"](wrapper)
        parent = next(cls for cls in self.parent.__mro__ if not cls.__dict__.get("_python"))
        objects.calls.begun[-1][1] = True
        create = ctypes.CFUNCTYPE(c_int32).from_address(word_at(parent._klass + 40) + 8 * objects.CREATE)
        done = create(wrapper._c)
        if engine.pending:
            engine.raise_pending()
        if done:
            _tags.add_series(wrapper)
        return done


def wrapper_of(address: int) -> Any:
    """The wrapper of the object whose method C calls."""
    return objects.borrow_briefly(address)


def argument_reader(parameter: declare.Parameter) -> Callable[[Any], Any] | None:
    """What makes of an argument in C one in Python."""
    kind = parameter.type
    if kind.number is not None:
        return None
    if kind.is_text:
        return engine.text_at if kind.const or kind.mark == "ztBorrowedText" else objects.pointer
    if kind.base == "ztClass":
        return lambda address: objects.class_at(address) if address in objects.descriptors() else None
    if kind.stars == 1 and kind.base == "void" and kind.mark != "ztOut":
        return brief_guess
    if kind.stars == 1 and kind.base not in declare.NUMBERS and kind.base != "void":
        return brief_guess
    return objects.pointer


def brief_guess(address: int | None) -> Any:
    """An object for the time of the call; a Pointer to anything else."""
    if not address:
        return None
    if engine.word_if_readable(address) in objects.descriptors():
        return objects.borrow_briefly(address)
    return objects.pointer(address)


#: Texts that methods in Python gave to C: the last one of each object and method, and the latest of all.
_last_texts: dict[int, dict[str, bytes]] = {}
_late_texts: collections.deque[bytes] = collections.deque(maxlen=4096)


def lend_text(address: int, name: str, data: bytes) -> int:
    """A text whose memory stays as long as the method does not give another one, and for some time then."""
    texts = _last_texts.setdefault(address, {})
    if texts.get(name) != data:
        if name in texts:
            _late_texts.append(texts[name])
        texts[name] = data
    return ctypes.cast(ctypes.c_char_p(texts[name]), c_void_p).value or 0


def result_writer(introduced: str, name: str, kind: declare.Type) -> Callable[[Any, int], Any]:
    """What makes of the result of a method in Python, and of the object's address, one in C."""
    if kind.is_void:
        return lambda value, address: None
    if kind.number is not None and kind.number in declare.FLOATS:
        return lambda value, address: _members.number_of(value, f"the result of {name}")
    if kind.number is not None:
        number = kind.number
        # None is no result: a method that ends without `return` has failed to give one.
        return lambda value, address: _members.wrong_number(value, f"the result of {name}", number)
    if kind.is_text and kind.mark != "ztOwnedText":
        def text(value: Any, address: int) -> Any:
            return None if value is None else lend_text(address, name, engine.text_to_bytes(value))
        return text

    if kind.is_text:
        return lambda value, address: None if value is None else owned_copy(engine.text_to_bytes(value))
    wanted = class_of_result(introduced, name, kind)

    def pointer(value: Any, address: int) -> Any:
        if value is None:
            return None
        if isinstance(value, objects.Pointer) and wanted is None and not objects.is_library(introduced):
            return value._address
        if isinstance(value, objects.Object) and value._c:
            if value._a == address:
                return address
            if wanted is not None and isinstance(value, wanted):
                if kind.mark == "ztOwned":
                    value._owned = False
                # C may use it once the method has returned.
                _lent.setdefault(address, {})[name] = value
                return value._a
        raise TypeError(f"the result of {name} is {'an object' if wanted is None else 'a ' + wanted.__name__} or None")
    return pointer


#: Objects that methods in Python gave to C, by object and method.
_lent: dict[int, dict[str, Any]] = {}
#: What the untyped results of the library's methods lead to.
RESULT_CLASSES = {"ztRoot.getParent": "ztRoot", "ztRoot.findChildById": "ztRoot", "ztRoot.getChildAt": "ztRoot",
                  "ztObject.getSender": "ztObject"}


def class_of_result(introduced: str, name: str, kind: declare.Type) -> Any:
    """The class of the objects that a method in Python may return; None where only the object itself is right."""
    named = RESULT_CLASSES.get(f"{introduced}.{name}")
    if named is None and kind.stars == 1 and kind.base != "void" and not objects.is_library(introduced):
        named = kind.base
    if named is None and kind.base == "void" and not objects.is_library(introduced):
        return objects.class_named("ztBaseClass")
    return objects.class_named(named) if named else None


def owned_copy(data: bytes) -> int:
    """A text that C releases."""
    address = engine.allocate(len(data) + 1)
    if not address:
        raise MemoryError
    ctypes.memmove(address, data + b"\0", len(data) + 1)
    return address


def thunk(introduced: str, name: str, declaration: declare.Declaration, function: Any) -> Any:
    """The function in C for a method in Python."""
    readers = [argument_reader(parameter) for parameter in declaration.parameters[1:]]
    outs = [declare.NUMBERS[parameter.type.base] if is_out(parameter) else None
            for parameter in declaration.parameters[1:]]
    write = result_writer(introduced, name, declaration.result)
    calls = objects.calls
    nothing = None if declaration.result.is_void or declaration.result.stars else 0
    stored = name in ("read", "write")
    tells_series = (introduced, name) == ("ztTag", "attrChanged")
    if tells_series:
        readers = [None]

    def called(address: int, *values: Any) -> Any:
        at = calls.enter(True)
        try:
            passed = [value if read is None else read(value)
                      for value, read, out in zip(values, readers, outs) if out is None]
            wrapper = wrapper_of(address)
            if tells_series:
                passed = [_tags.changed_series(wrapper, passed[0])]
            got = function(wrapper, *passed)
            if stored and engine.pending:
                return nothing  # a method that it called through C raised: no half record passes for a whole one
            places = [(value, out) for value, out in zip(values, outs) if out is not None]
            if places:
                return store_outs(got, places)
            return write(got, address)
        except BaseException as problem:
            engine.keep(problem)
            return nothing
        finally:
            calls.leave(at, True)

    types = [parameter.type.ctype for parameter in declaration.parameters]
    result = declaration.result.ctype
    return CFUNCTYPE(result, *types)(called)


def is_out(parameter: declare.Parameter) -> bool:
    kind = parameter.type
    return (kind.stars == 1 and kind.base in declare.NUMBERS and not kind.const and not kind.mark.endswith("Text")
            and parameter.name.lower().endswith("out"))


def store_outs(got: Any, places: list[tuple[int, Any]]) -> int:
    """Stores what a method in Python gives in place of the arguments that C's caller provides."""
    if got is None:
        return 0
    values = got if len(places) > 1 else (got,)
    if len(values) != len(places):
        raise ValueError(f"{len(places)} results are needed")
    for value, (address, kind) in zip(values, places):
        if address:
            checked = _members.number_of(value, "the result") if kind in declare.FLOATS else \
                _members.wrong_number(value, "the result", kind)
            kind.from_address(address).value = checked
    return 1


# The class ------------------------------------------------------------------------------------------------------------


def subclass(cls: Any) -> Any:
    """Makes a class in Python a class of the engine, which makes its objects by name and loads them from files. Use it
    as a decorator. The methods that it changes are called by C, too."""
    check(cls)
    parent = cls.__mro__[1]
    info = engine.class_info(parent._klass)
    if not info:
        engine.failed(f"{parent.__name__} cannot be described")
    try:
        methods = {known(one.name): (one.slot, known(one.declaration), one.introducedBy)
                   for one in info.contents.methods[:info.contents.methodCount] if one.name}
        slots = info.contents.methodCount
    finally:
        engine.free_class_info(info)
    own = [value for value in cls.__dict__.values() if isinstance(value, prop)]
    own.sort(key=lambda one: list(cls.__dict__).index(one.name))
    series = [value for value in cls.__dict__.values() if isinstance(value, _tags.series)]
    if series and not issubclass(parent, objects.class_named("ztTag")):
        raise TypeError(f"{parent.__name__} has no series: they are those of ztTag")
    if own and not parent._watched:
        raise TypeError(f"{parent.__name__} has no properties: they are those of ztObject")
    for name in [one.name for one in own] + [one.name for one in series]:
        if hasattr(parent, name) and not isinstance(getattr(parent, name), _properties.Dynamic):
            raise TypeError(f"{parent.__name__} has a {name!r}")
    Builder(cls, parent, methods, slots, own, series).build()
    return cls


def check(cls: Any) -> None:
    if not isinstance(cls, objects.EngineClass) or cls is objects.Object:
        raise TypeError("a class that derives from a class of the engine is needed")
    if cls.__dict__.get("_klass"):
        raise TypeError(f"{cls.__name__} is a class of the engine already")
    if len(cls.__bases__) != 1 or not cls.__mro__[1].__dict__.get("_klass"):
        raise TypeError(f"{cls.__name__} derives from one class of the engine")
    parent: Any = cls.__mro__[1]
    if parent._name in objects.NOT_MADE and parent._name != "ztTagAttribute" or parent._name.endswith("PropertyType"):
        raise UnsafeError(f"{parent.__name__} has no subclasses in Python")
    if len(cls.__name__.encode()) > 99:
        raise ValueError("the name of a class has up to 99 bytes")
    if engine.find_class(cls.__name__.encode()):
        raise Error(f"the name {cls.__name__!r} belongs to another class")


class Builder:
    """Makes the descriptor of a class, its tables and the functions in them. Their memory stays."""

    def __init__(self, cls: Any, parent: Any, methods: dict[str, tuple[int, str, int]], slots: int,
                 own: list[prop], series: list[_tags.series]) -> None:
        self.cls, self.parent, self.methods, self.slots = cls, parent, methods, slots
        self.own, self.series = own, series
        self.name = cls.__name__
        self.overrides: dict[int, Any] = {}

    def build(self) -> None:
        record = engine.ClassRecord.from_address(self.parent._klass)
        self.size = self.place_fields(record.instanceSize)
        self.klass = engine.lasting_memory(ctypes.sizeof(engine.ClassRecord))
        descriptor = engine.ClassRecord.from_address(self.klass)
        descriptor.classTable = engine.lasting_memory(80)
        descriptor.methodTable = engine.lasting_memory(8 * max(self.slots, 16))
        type.__setattr__(self.cls, "_klass", self.klass)
        type.__setattr__(self.cls, "_name", self.name)
        type.__setattr__(self.cls, "_python", True)
        type.__setattr__(self.cls, "_size", self.size)
        type.__setattr__(self.cls, "_props", self.own)
        type.__setattr__(self.cls, "_series", [*getattr(self.parent, "_series", ()), *self.series])
        plain = _properties.access_of(self.parent._klass) == _properties.own_access()
        for one in self.own:
            type.__setattr__(self.cls, one.name, one.accessor(plain))
        self.find_overrides()
        self.description = self.describe()
        objects.by_address[self.klass] = self.cls
        self.register()
        self.add_members()

    def place_fields(self, size: int) -> int:
        for one in self.own:
            width = STORED[one.kind.name][1]
            size = (size + width - 1) // width * width
            one.offset = size
            size += width
        return (size + 7) // 8 * 8

    def keep(self, function: Any) -> int:
        """The address of a function in C, which stays."""
        _functions.append(function)
        return ctypes.cast(function, c_void_p).value or 0

    def find_overrides(self) -> None:
        cls = self.cls
        for name, value in list(cls.__dict__.items()):
            if name not in self.methods or name.startswith("_") or not callable(value):
                continue
            if name in NOT_OVERRIDDEN:
                raise UnsafeError(f"{self.name}.{name}: the engine's own is needed")
            slot, text, introducer = self.methods[name]
            introduced = objects.class_at(introducer)._name
            if name in ("create", "destroy", "assign"):
                type.__setattr__(cls, name, traced(cls, name, value))
                continue
            why = policy.refusal(introduced, name) if objects.is_library(introduced) else None
            if why and (introduced, name) not in policy.CHANGED_ONLY:
                raise UnsafeError(f"{self.name}.{name} is not changed in Python: {why}")
            declaration = declare.parse(text)
            if declaration is None or not declaration.is_passable or declaration.parameters[0].type.base == "ztClass":
                raise UnsafeError(f"{self.name}.{name}: its declaration cannot be served: {text}")
            method = traced(cls, name, value)
            type.__setattr__(cls, name, method)
            self.overrides[slot] = thunk(introduced, name, declaration, method)
        self.add_lifecycle()

    def add_lifecycle(self) -> None:
        cls, parent = self.cls, self.parent

        all_props: list[prop] = [one for above_it in parent.__mro__ for one in above_it.__dict__.get("_props", ())]
        all_props = self.own + all_props
        view = view_of(all_props).from_address

        native = next(one for one in parent.__mro__ if not one.__dict__.get("_python"))

        def native_slot(slot: int, result: Any) -> Any:
            return ctypes.CFUNCTYPE(result).from_address(word_at(native._klass + 40) + 8 * slot)

        def method_named(name: str) -> Any:
            return next((one.__dict__[name] for one in cls.__mro__
                         if getattr(one.__dict__.get(name), "of_python", False)), None)

        size = self.size

        def create(address: int) -> int:
            objects.attributes[address] = {}
            ctypes.memset(address + 16, 0, size - 16)
            objects.calls.begun.append([address, False])
            try:
                for one in all_props:
                    one.begin(address)
                objects.attributes[address].update(hidden_attributes(address, view, all_props))
                override = method_named("create")
                if override is not None:
                    return int(bool(override(early(address))))
            finally:
                # An object whose create raised is destroyed like any other.
                if objects.calls.begun.pop()[1] is False:
                    created = native_slot(objects.CREATE, c_int32)(c_void_p(address))
                    if created and cls._series:
                        _tags.add_series(early(address))
            return created

        def early(address: int) -> Any:
            """The object before its parent's `create` has run cannot be watched."""
            wrapper = objects._new(cls)
            wrapper._a, wrapper._c, wrapper._owned, wrapper._keep = address, c_void_p(address), False, None
            wrapper._p = objects.passed(address)
            wrapper.__dict__ = objects.attributes[address]
            objects.calls.passing.append(wrapper._c)
            return wrapper

        def destroy(address: int) -> None:
            override = method_named("destroy")
            try:
                if override is not None:
                    override(wrapper_of(address))
            finally:
                native_slot(objects.DESTROY, None)(c_void_p(address))
                for one in all_props:
                    one.end(address)
                objects.attributes.pop(address, None)
                _late_texts.extend(_last_texts.pop(address, {}).values())
                _lent.pop(address, None)
                kept = objects.made.pop(address, None)
                wrapper = kept() if kept else None
                if wrapper is not None:
                    wrapper._c.value = None

        def clone(source: int, target: int) -> int:
            copied = native_slot(objects.CLONE, c_void_p)(c_void_p(source), c_void_p(target))
            if copied:
                for one in all_props:
                    ctypes.memmove(target + one.offset, source + one.offset, STORED[one.kind.name][1])
                    one.copy(target)
                objects.attributes[target] = {**objects.attributes.get(source, {}),
                                              **hidden_attributes(target, view, all_props)}
            return copied or 0

        def assign(target: int, source: int) -> int:
            override = method_named("assign")
            if override is not None:
                return int(bool(override(wrapper_of(target), wrapper_of(source))))
            done = native_slot(objects.ASSIGN, c_int32)(c_void_p(target), c_void_p(source))
            if done and word_at(source) == word_at(target):
                for one in all_props:
                    one.assign(target, source)
            return done

        def write(address: int, file: int) -> int:
            done = native_slot(objects.WRITE, c_int32)(c_void_p(address), c_void_p(file))
            return 0 if engine.pending else done

        def read(address: int, file: int) -> int:
            done = native_slot(objects.READ, c_int32)(c_void_p(address), c_void_p(file))
            return 0 if engine.pending else done

        # Where the class in C calls what Python changed, an exception must not leave half a record.
        for slot, name, stored in ((objects.WRITE, "write", write), (objects.READ, "read", read)):
            if self.overrides and slot not in self.overrides and method_named(name) is None:
                self.overrides[slot] = CFUNCTYPE(c_int32, c_void_p, c_void_p)(counted(stored))
        lifecycle: tuple[tuple[int, Any, Callable[..., Any]], ...] = (
            (objects.CREATE, (c_int32, c_void_p), create), (objects.CLONE, (c_void_p, c_void_p, c_void_p), clone),
            (objects.ASSIGN, (c_int32, c_void_p, c_void_p), assign), (objects.DESTROY, (None, c_void_p), destroy))
        for slot, types, function in lifecycle:
            self.overrides[slot] = CFUNCTYPE(*types)(counted(function))
        if self.own or cls.__dict__.get("signals"):
            self.overrides[25] = CFUNCTYPE(c_int32, c_void_p)(guarded(self.init_properties))

    def init_properties(self, klass: int) -> int:
        """Declares the signals and properties of the class, after those of the classes above."""
        engine_parent = self.parent._klass
        parents = ctypes.CFUNCTYPE(c_int32).from_address(word_at(engine_parent + 40) + 8 * 25)
        done = parents(c_void_p(klass))
        for text in self.cls.__dict__.get("signals", ()):
            done = engine.declare_signal(klass, engine.text_to_bytes(text))
            if not done:
                raise ValueError(f"the signal {text!r} is not declared: {engine.log.reason()}")
        add = ctypes.CFUNCTYPE(c_int32).from_address(word_at(engine_parent + 40) + 8 * 24)
        for one in self.own:
            getter, setter = one.functions()
            done = add(c_void_p(klass), one.name.encode(), one.kind.name.encode(), c_void_p(self.keep(getter)),
                       c_void_p(self.keep(setter)), None, None)
        return done

    def describe(self) -> int:
        """The ztClassDescription."""
        parent_functions = word_at(self.parent._klass + 32)
        address = engine.lasting_memory(ctypes.sizeof(engine.ClassDescription))
        one = engine.ClassDescription.from_address(address)
        one.klass = self.klass
        one.state = engine.lasting_memory(16)
        parent_klass = self.parent._klass
        one.parent = self.keep(CFUNCTYPE(c_void_p)(lambda: parent_klass))
        one.parentInitTable = word_at(parent_functions + 16)
        name = engine.lasting_memory(8)
        c_void_p.from_address(name).value = engine.lasting_text(self.name)
        one.name = name
        version = engine.lasting_memory(8)
        number = self.cls.__dict__.get("version", 1)
        ctypes.c_uint32.from_address(version).value = _members.wrong_number(number, "version", ctypes.c_uint32)
        one.version = version
        one.instanceSize, one.slotCount, one.form = self.size, self.slots, 1
        one.fillMethods = self.keep(CFUNCTYPE(None, c_void_p)(guarded(self.fill)))
        one.fillFunctions = self.keep(CFUNCTYPE(None, c_void_p)(lambda functions: None))
        make = engine.construct
        one.functions[0] = self.keep(CFUNCTYPE(c_void_p)(lambda: make(address, None, 0)))
        one.functions[1] = self.keep(CFUNCTYPE(c_void_p, c_void_p, c_int32)(
            lambda memory, create: make(address, memory, create)))
        init_table = engine.init_table
        one.functions[2] = self.keep(CFUNCTYPE(None, c_void_p)(lambda made: init_table(address, made)))
        for slot in (4, 5, 6, 7):
            one.functions[slot] = word_at(parent_functions + 8 * slot)
        fields = " ".join(f"{STORED[p.kind.name][0]}{'' if STORED[p.kind.name][0].endswith('*') else ' '}{p.name};"
                          for p in self.own)
        one.fieldsText = engine.lasting_text(fields)
        one.methodsText = engine.lasting_text("")
        one.functionsText = engine.lasting_text(f"{self.name}_FUNCTIONS")
        return address

    def fill(self, table: int) -> None:
        """Writes the functions of the class into a table."""
        for slot, function in self.overrides.items():
            place = table + 8 * slot
            # A subclass that is being filled passes here with its own table.
            _replaced.setdefault(place, word_at(place))
            c_void_p.from_address(place).value = self.keep(function)

    def register(self) -> None:
        engine.log.mark()
        ctor = engine.ClassDescription.from_address(self.description).functions[1]
        done = engine.register_class_of(ctor)
        if not done or engine.pending:
            objects.by_address.pop(self.klass, None)
            type.__setattr__(self.cls, "_klass", 0)
            engine.free_class(self.name.encode())
            engine.failed(f"the class {self.name} is not registered")
        _names.append(self.name.encode())

    def add_members(self) -> None:
        """The methods of the class's own table, where no method in Python stands in the way."""
        info = engine.class_info(self.klass)
        if not info:
            engine.failed(f"{self.name} cannot be described")
        try:
            for one in info.contents.methods[:info.contents.methodCount]:
                name = known(one.name)
                found = next((above_it.__dict__[name] for above_it in self.cls.__mro__ if name in above_it.__dict__), None)
                if name not in self.cls.__dict__ and _members.is_made(found) and one.state != _members.DATA:
                    setattr(self.cls, name, _members.Method(self.cls, name, one.slot, known(one.declaration),
                                                            one.introducedBy, one.definedBy or 0))
        finally:
            engine.free_class_info(info)
        if self.cls._watched:
            _properties.add_properties(self.cls)


def counted(function: Callable[..., Any]) -> Callable[..., Any]:
    """A function of every class in Python that C calls."""
    calls = objects.calls

    def called(*args: Any) -> Any:
        at = calls.enter(True)
        try:
            return function(*args)
        except BaseException as problem:
            engine.keep(problem)
            return 0
        finally:
            calls.leave(at, True)
    return called


def end_all() -> None:
    """Before the interpreter ends: C calls no function of Python any more."""
    for kept in list(objects.made.values()):
        wrapper = kept()
        if wrapper is not None and wrapper._owned and wrapper._c:
            objects.release(wrapper)
    for place, before in reversed(list(_replaced.items())):
        c_void_p.from_address(place).value = before
    for name in reversed(_names):
        engine.free_class(name)
